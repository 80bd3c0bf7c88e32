#include "cli/TemporaryFiles.h"

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

// The ending signals that the program's caller has not switched off, as nohup does.
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

void endAtSignal(sigset_t signals)
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

mode_t permissionsFor(const fs::path& place)
{
    struct stat there {
    };
    if (stat(place.c_str(), &there) == 0)
        return there.st_mode & 0777;
    const mode_t mask = umask(0);
    umask(mask);
    return 0666 & ~mask;
}

}  // namespace

// A thread of its own takes the signals, where it may do what a signal handler must not.
void guardTemporaryFiles()
{
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    const sigset_t signals = endingSignals();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    std::thread(endAtSignal, signals).detach();
}

int makeTemporaryFile(const fs::path& place, fs::path* file)
{
    const std::lock_guard lock(mutex);
    const fs::path folder = place.parent_path();
    std::string pattern = (folder / ("." + place.filename().string() + ".XXXXXX")).string();
    const int descriptor = mkstemp(pattern.data());
    if (descriptor < 0 && errno == ENOENT)
        throw Error("cannot write " + place.string() + ": there is no folder " + folder.string() +
                    "; make it first");
    if (descriptor < 0)
        throw Error("cannot write " + place.string() + ": " + std::strerror(errno));
    *file = pattern;
    guarded.insert(*file);
    fchmod(descriptor, permissionsFor(place));
    return descriptor;
}

void keepTemporaryFile(const fs::path& file, const fs::path& place)
{
    const std::lock_guard lock(mutex);
    std::error_code error;
    fs::rename(file, place, error);
    if (error)
        throw Error("cannot write " + place.string() + ": " + error.message());
    guarded.erase(file);
}

void removeTemporaryFile(const fs::path& file) noexcept
{
    const std::lock_guard lock(mutex);
    unlink(file.c_str());
    guarded.erase(file);
}
