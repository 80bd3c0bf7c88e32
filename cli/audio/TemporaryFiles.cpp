#include "cli/audio/TemporaryFiles.h"

#include "cli/Error.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <set>
#include <thread>

namespace
{

namespace fs = std::filesystem;

std::mutex mutex;
std::set<fs::path> guarded;

// The ending signals, without those that the caller has switched off, as nohup does.
sigset_t endingSignals()
{
    sigset_t signals;
    sigemptyset(&signals);
    for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
        struct sigaction current {
        };
        if (sigaction(number, nullptr, &current) == 0 && current.sa_handler != SIG_IGN)
            sigaddset(&signals, number);
    }
    return signals;
}

void endOnSignal(sigset_t signals)
{
    int number = 0;
    sigwait(&signals, &number);
    const std::lock_guard lock(mutex);
    for (const fs::path& file : guarded)
        unlink(file.c_str());
    std::signal(number, SIG_DFL);
    pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
    std::raise(number);
}

mode_t permissionsFor(const fs::path& file)
{
    struct stat status {
    };
    if (stat(file.c_str(), &status) == 0)
        return status.st_mode & 0777;
    const mode_t mask = umask(0);
    umask(mask);
    return 0666 & ~mask;
}

}  // namespace

// The signals go to a thread of its own, which may do what a signal handler must not.
void guardTemporaryFiles()
{
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    const sigset_t signals = endingSignals();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    std::thread(endOnSignal, signals).detach();
}

int makeTemporaryFile(const fs::path& file, fs::path* temporary)
{
    const std::lock_guard lock(mutex);
    const fs::path folder = file.parent_path();
    std::string pattern = (folder / ".wail-XXXXXX").string();
    const int descriptor = mkstemp(pattern.data());
    if (descriptor < 0 && errno == ENOENT)
        throw Error("cannot write {}: there is no folder {}; make it first", file.string(), folder.string());
    if (descriptor < 0)
        throw Error("cannot write {}: {}", file.string(), std::strerror(errno));
    *temporary = pattern;
    guarded.insert(*temporary);
    fchmod(descriptor, permissionsFor(file));
    return descriptor;
}

void commitTemporaryFile(const fs::path& temporary, const fs::path& file)
{
    const std::lock_guard lock(mutex);
    std::error_code error;
    fs::rename(temporary, file, error);
    if (error)
        throw Error("cannot write {}: {}", file.string(), error.message());
    guarded.erase(temporary);
}

void removeTemporaryFile(const fs::path& temporary) noexcept
{
    const std::lock_guard lock(mutex);
    unlink(temporary.c_str());
    guarded.erase(temporary);
}
