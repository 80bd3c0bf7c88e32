#include "cli/audio/OutputFile.h"

#include "cli/Error.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <utility>

namespace
{

namespace fs = std::filesystem;

// The path of the temporary file, where the signal handler finds it; empty if there is none.
char temporary[PATH_MAX];

// The file that the links lead to, whether it exists or not.
fs::path followLinks(fs::path file)
{
    constexpr int kMaxLinks = 40;  // as in Linux
    std::error_code ignored;
    for (int links = 0; links < kMaxLinks && fs::is_symlink(file, ignored); ++links)
        file = file.parent_path() / fs::read_symlink(file, ignored);
    return file;
}

// Those of the file if it exists, else those of any new file.
mode_t permissionsOf(const fs::path& file)
{
    struct stat status {
    };
    if (stat(file.c_str(), &status) == 0)
        return status.st_mode & 0777;
    const mode_t mask = umask(0);
    umask(mask);
    return 0666 & ~mask;
}

void endOnSignal(int number)
{
    unlink(temporary);
    raise(number);  // its default action, which SA_RESETHAND has restored
}

}  // namespace

bool isStream(const fs::path& file)
{
    std::error_code ignored;
    return file == "-" || (fs::exists(file, ignored) && !fs::is_regular_file(file, ignored));
}

void guardOutputFiles()
{
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
        struct sigaction action {
        };
        sigaction(number, nullptr, &action);
        if (action.sa_handler == SIG_IGN)
            continue;
        action.sa_handler = endOnSignal;
        action.sa_flags = static_cast<int>(SA_RESETHAND);
        sigaction(number, &action, nullptr);
    }
}

OutputFile::OutputFile(fs::path file) : path(std::move(file))
{
    std::error_code ignored;
    if (fs::is_directory(path, ignored))
        throw Error("cannot write {}: it is a folder; choose another name", name());
    if (path == "-") {
        descriptor = dup(STDOUT_FILENO);
        seekable =
            fs::is_regular_file("/dev/stdout", ignored) && (fcntl(descriptor, F_GETFL) & O_APPEND) == 0;
        origin = seekable ? lseek(descriptor, 0, SEEK_CUR) : 0;
    } else if (::isStream(path)) {
        descriptor = open(path.c_str(), O_WRONLY | O_CLOEXEC);
    } else {
        openTemporary();
    }
    if (descriptor < 0)
        fail(errno);
}

void OutputFile::openTemporary()
{
    path = followLinks(path);
    std::error_code ignored;
    if (fs::is_symlink(path, ignored))
        fail(ELOOP);
    if (fs::exists(path, ignored) && access(path.c_str(), W_OK) != 0)
        return;
    const fs::path folder = path.parent_path();
    const std::string pattern = (folder / ".wail-XXXXXX").string();
    if (pattern.size() >= sizeof temporary)
        fail(ENAMETOOLONG);
    temporary[pattern.copy(temporary, pattern.size())] = '\0';
    descriptor = mkstemp(temporary);
    if (descriptor < 0 && !fs::exists(folder.empty() ? "." : folder, ignored))
        throw Error("cannot write {}: there is no folder {}; make it first", name(), folder.string());
    if (descriptor < 0)
        return;
    isTemporary = seekable = true;
    fchmod(descriptor, permissionsOf(path));
}

OutputFile::~OutputFile()
{
    if (isTemporary)
        unlink(temporary);
    if (descriptor < 0)
        return;
    if (seekable)
        (void)!ftruncate(descriptor, origin);  // standard output: nothing half-written there either
    close(descriptor);
}

bool OutputFile::write(std::span<const char> bytes)
{
    if (isStream()) {
        const off_t flushed = end - std::ssize(waiting);
        const auto tooLate =
            static_cast<std::size_t>(std::clamp<off_t>(flushed - position, 0, std::ssize(bytes)));
        const auto place = static_cast<std::size_t>(std::max(position, flushed) - flushed);
        waiting.resize(std::max(waiting.size(), place + bytes.size() - tooLate));
        std::ranges::copy(bytes.subspan(tooLate), waiting.begin() + static_cast<std::ptrdiff_t>(place));
        end = flushed + std::ssize(waiting);
    } else {
        writeNow(bytes, origin + position);
        end = std::max(end, position + std::ssize(bytes));
    }
    position += std::ssize(bytes);
    return error == 0;
}

void OutputFile::flush() noexcept
{
    constexpr std::size_t kFirstBytes = 512;  // go together: programs guess the format from them
    if (end == std::ssize(waiting) && waiting.size() < kFirstBytes)
        return;
    writeNow(waiting, 0);
    waiting.clear();
}

// place: ignored by streams.
void OutputFile::writeNow(std::span<const char> bytes, off_t place) noexcept
{
    while (!bytes.empty() && error == 0) {
        const ssize_t written = isStream() ? ::write(descriptor, bytes.data(), bytes.size())
                                           : pwrite(descriptor, bytes.data(), bytes.size(), place);
        if (written < 0) {
            error = errno == EINTR ? 0 : errno;
            continue;
        }
        bytes = bytes.subspan(static_cast<std::size_t>(written));
        place += written;
    }
}

void OutputFile::check() const
{
    if (error == EPIPE && path == "-")
        throw ClosedPipe();
    if (error != 0)
        fail(error);
}

void OutputFile::commit()
{
    writeNow(waiting, 0);
    check();
    if (seekable)
        lseek(descriptor, origin + end, SEEK_SET);  // later writers to standard output append
    if (close(std::exchange(descriptor, -1)) != 0)
        fail(errno);
    if (isTemporary && std::rename(temporary, path.c_str()) != 0)
        fail(errno);
    isTemporary = false;
}

void OutputFile::fail(int errorNumber) const
{
    throw Error("cannot write {}: {}", name(), std::strerror(errorNumber));
}
