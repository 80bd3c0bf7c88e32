#pragma once

#include <sys/types.h>

#include <exception>
#include <filesystem>
#include <span>
#include <vector>

// The reader of standard output has closed it because it needs no more, which is not an error.
class ClosedPipe : public std::exception
{
};

// A file to write, at most one at a time. The bytes go to a temporary file in the same folder; commit()
// renames it. Without commit(), also if a signal ends the program, nothing of it remains, and a file that
// existed before is unchanged. "-" is standard output, which like an existing pipe or device is written
// directly.
class OutputFile
{
public:
    // Links are followed. Throws Error if the file cannot be written.
    explicit OutputFile(std::filesystem::path file);
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;
    ~OutputFile();

    // True if bytes once written cannot be changed.
    bool isStream() const { return !seekable; }

    // Writes at the position and advances it. Returns false after the first error, which check() reports.
    // What goes to a stream waits for flush(), which is the last moment to change it.
    bool write(std::span<const char> bytes);
    void flush() noexcept;
    void seek(off_t newPosition) noexcept { position = newPosition; }
    off_t tell() const { return position; }  // bytes from the beginning
    off_t size() const { return end; }       // bytes

    // Throws Error if a write has failed, ClosedPipe if standard output was closed by its reader.
    void check() const;

    // Completes the file. Throws Error.
    void commit();

    // For messages: the path, or "standard output".
    std::string name() const { return path == "-" ? "standard output" : path.string(); }

private:
    [[noreturn]] void fail(int errorNumber) const;
    void writeNow(std::span<const char> bytes, off_t place) noexcept;
    void openTemporary();

    std::filesystem::path path;
    bool isTemporary = false;  // else it is written directly
    bool seekable = false;
    int descriptor = -1;
    off_t origin = 0;  // of the first byte, in the descriptor
    off_t position = 0;
    off_t end = 0;
    int error = 0;              // errno of the first write that failed
    std::vector<char> waiting;  // of a stream: its last bytes, up to end
};

// True for "-" and for anything that exists and is not a regular file, such as a pipe.
bool isStream(const std::filesystem::path& file);

// Call once, early: signals that end the program (interrupt, terminate, hang up, quit) then remove a
// temporary file first, unless the caller has them ignored, as nohup does. SIGPIPE and SIGXFSZ become
// ordinary write errors.
void guardOutputFiles();
