#pragma once

#include "cli/engine/Parameters.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

// Parameters over time, from a JSON file such as
//
//     {"reso": 0.9, "range": {"0s": 0.2, "50%": 1, "96000": 0}, "invert": {"0s": "off", "1.5s": "on"}}
//
// Each name has a value, or keyframes: values by their times, in seconds ("1.5s"), in percent of the input's
// length ("50%") or in samples ("96000"). Before the first keyframe its value holds, after the last one the
// last one's; between two, values are interpolated linearly, but switches keep theirs until the next
// keyframe.
class Automation
{
public:
    // Throws Error with what is wrong and where.
    explicit Automation(std::filesystem::path file);

    const std::filesystem::path& path() const { return file; }

private:
    friend class Schedule;
    enum class Unit { kSamples, kSeconds, kPercent };  // percent of the input's length
    struct Time {
        double number;
        Unit unit;
    };
    struct Keyframe {
        Time time;
        double value;  // 0 .. 1
    };
    struct Lane {
        VstInt32 index;  // of the parameter
        std::vector<Keyframe> keyframes;
    };

    static Time parseTime(const std::string& text);

    std::filesystem::path file;
    std::vector<Lane> lanes;
};

// An automation for one input.
class Schedule
{
public:
    // sampleRate: Hz. inputFrames: the input's length, which "%" needs. Throws Error.
    Schedule(const Automation& automation, double sampleRate, std::optional<std::int64_t> inputFrames);

    // All values at a time, in samples from the beginning of the input.
    ParameterValues at(std::int64_t frame) const;

private:
    struct Point {
        double time;   // samples
        double value;  // 0 .. 1
    };
    struct Curve {
        VstInt32 index;
        std::vector<Point> points;  // one or more, each later than the one before
    };
    static float valueAt(const Curve& curve, double time);

    std::vector<Curve> curves;
};
