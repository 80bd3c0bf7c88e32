#include "cli/OutputFile.h"

#include "cli/Error.h"
#include "cli/TemporaryFiles.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

namespace
{

namespace fs = std::filesystem;

// Follows links, so that a link to a file stays one; and refuses what may be replaced but not written.
fs::path placeToReplace(const fs::path& place)
{
    std::error_code error;
    if (!fs::exists(place, error))
        return place;
    if (access(place.c_str(), W_OK) != 0)
        throw Error("cannot write " + place.string() + ": " + std::strerror(errno));
    return fs::is_symlink(place, error) ? fs::canonical(place) : place;
}

}  // namespace

bool isStream(const fs::path& place)
{
    std::error_code error;
    return place == "-" || (fs::exists(place, error) && !fs::is_regular_file(place, error));
}

OutputFile::OutputFile(fs::path where) : place(std::move(where))
{
    std::error_code ignored;
    if (fs::is_directory(place, ignored))
        throw Error("cannot write " + place.string() + ": it is a folder; choose another name");
    if (!isStream(place)) {
        place = placeToReplace(place);
        descriptor = makeTemporaryFile(place, &growing);
    } else {
        descriptor = place == "-" ? dup(STDOUT_FILENO) : open(place.c_str(), O_WRONLY);
        if (descriptor < 0)
            throw Error("cannot write " + name() + ": " + std::strerror(errno));
    }
}

OutputFile::~OutputFile()
{
    if (descriptor >= 0)
        close(descriptor);
    if (!growing.empty())
        removeTemporaryFile(growing);
}

bool OutputFile::write(const void* bytes, std::size_t count) noexcept
{
    const char* next = static_cast<const char*>(bytes);
    if (streams() && position < end) {  // an afterthought, such as a length in the header
        const std::size_t passed = std::min(count, static_cast<std::size_t>(end - position));
        next += passed;
        count -= passed;
        position += static_cast<off_t>(passed);
    }
    while (count > 0 && error == 0) {
        const ssize_t written =
            streams() ? ::write(descriptor, next, count) : pwrite(descriptor, next, count, position);
        if (written < 0) {
            error = errno == EINTR ? 0 : errno;
            continue;
        }
        next += written;
        count -= static_cast<std::size_t>(written);
        position += written;
        end = std::max(end, position);
    }
    return error == 0;
}

std::size_t OutputFile::read(void* bytes, std::size_t count) noexcept
{
    const ssize_t got = streams() ? 0 : pread(descriptor, bytes, count, position);
    position += std::max<ssize_t>(got, 0);
    return static_cast<std::size_t>(std::max<ssize_t>(got, 0));
}

void OutputFile::check() const
{
    if (error != 0)
        throw Error("cannot write " + name() + ": " + std::strerror(error));
}

void OutputFile::keep()
{
    check();
    if (close(std::exchange(descriptor, -1)) != 0)
        throw Error("cannot write " + name() + ": " + std::strerror(errno));
    if (!streams())
        keepTemporaryFile(growing, place);
    growing.clear();
}

std::string OutputFile::name() const
{
    return place == "-" ? "standard output" : place.string();
}
