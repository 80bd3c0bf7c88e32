#include "cli/Progress.h"

#include <unistd.h>

#include <algorithm>
#include <cmath>

namespace
{

using namespace std::chrono_literals;

constexpr auto kInterval = 100ms;  // between two drawings; what ends sooner shows no bar
constexpr int kBarWidth = 40;

}  // namespace

Progress::Progress(bool wanted, std::int64_t totalFrames)
    : shown(wanted && totalFrames > 0 && isatty(STDOUT_FILENO) == 1 && isatty(STDERR_FILENO) == 1),
      total(totalFrames)
{
}

Progress::~Progress()
{
    erase();
}

void Progress::advance(std::int64_t frames)
{
    if (!shown)
        return;
    const std::lock_guard lock(mutex);
    done += frames;
    const Clock::time_point now = Clock::now();
    if (now - lastDrawn >= kInterval)
        draw(now);
}

void Progress::say(std::FILE* stream, const std::string& line)
{
    const std::lock_guard lock(mutex);
    erase();
    std::fprintf(stream, "%s\n", line.c_str());
    std::fflush(stream);
}

void Progress::draw(Clock::time_point now)
{
    const double share = std::min(1.0, static_cast<double>(done) / static_cast<double>(total));
    const double elapsed = std::chrono::duration<double>(now - start).count();
    const long left = std::lround(elapsed / share - elapsed);
    const auto filled = static_cast<std::size_t>(share * kBarWidth);
    const std::string bar = std::string(filled, '#') + std::string(kBarWidth - filled, '.');
    std::fprintf(stderr, "\r[%s] %3.0f %%, %ld:%02ld left ", bar.c_str(), 100.0 * share, left / 60,
                 left % 60);
    lastDrawn = now;
    drawn = true;
}

void Progress::erase()
{
    if (drawn)
        std::fputs("\r\033[K", stderr);
    drawn = false;
}
