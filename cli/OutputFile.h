#pragma once

#include <sys/types.h>

#include <cstddef>
#include <filesystem>

// A file that the program writes. It grows under another name beside its place and takes the place with
// keep(); without that nothing of it remains, and a file that was there before stays as it was. "-", standard
// output, and a pipe or device that is there already are written directly: they stream.
class OutputFile
{
public:
    // Throws Error where the place cannot be written.
    explicit OutputFile(std::filesystem::path place);
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;
    ~OutputFile();

    // Whether the bytes pass on as they come, so that none can be changed afterwards.
    bool streams() const { return growing.empty(); }

    // Writes at the position, which moves behind what was written; answers false at the first error, which
    // check() then tells. In a stream, what was passed on already stays as it is.
    bool write(const void* bytes, std::size_t count) noexcept;
    void seek(off_t newPosition) noexcept { position = newPosition; }
    off_t tell() const { return position; }  // bytes from the beginning
    off_t size() const { return end; }       // bytes

    // Reads back from the position; answers how many bytes there were. A stream gives none.
    std::size_t read(void* bytes, std::size_t count) noexcept;

    // Throws Error when a write has failed.
    void check() const;

    // Ends the file and puts it in its place. Throws Error.
    void keep();

    // For messages: the place, or "standard output".
    std::string name() const;

private:
    std::filesystem::path place;
    std::filesystem::path growing;  // empty for a stream
    int descriptor = -1;
    off_t position = 0;
    off_t end = 0;
    int error = 0;  // errno of the first write that failed
};

// Whether the place is "-" or something that is there and is no regular file.
bool isStream(const std::filesystem::path& place);
