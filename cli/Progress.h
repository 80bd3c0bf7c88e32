#pragma once

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <mutex>
#include <string>

// A bar with the time left, on the last line of a terminal, and the messages above it. Where the output goes
// elsewhere there is no bar. Any thread may call.
class Progress
{
public:
    // totalFrames: the work to do; 0 where it is not known, which shows no bar.
    Progress(bool wanted, std::int64_t totalFrames);
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    ~Progress();

    void advance(std::int64_t frames);

    // Prints the line above the bar.
    void say(std::FILE* stream, const std::string& line);

private:
    using Clock = std::chrono::steady_clock;

    void draw(Clock::time_point now);
    void erase();

    std::mutex mutex;
    const bool shown;
    const std::int64_t total;
    std::int64_t done = 0;
    bool drawn = false;
    const Clock::time_point start = Clock::now();
    Clock::time_point lastDrawn = start;
};
