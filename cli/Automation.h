#pragma once

#include "cli/Parameters.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <vector>

struct Keyframe {
    double time;   // samples from the beginning
    double value;  // 0 .. 1
};

// Parameters over time, from a JSON file such as
//
//     {"reso": 0.9, "range": {"0s": 0.2, "50%": 1, "96000": 0}, "invert": {"0s": "off", "1.5s": "on"}}
//
// Each name has a value, or keyframes: values by their times, in seconds ("1.5s"), in share of the input
// ("50%") or in samples ("96000"). Before the first keyframe its value holds, after the last one the last
// one's; between two, values run in a straight line, but switches stay until the next keyframe.
class Automation
{
public:
    // inputFrames: the input's length, which "%" needs. Throws Error with what is wrong and where.
    Automation(const std::filesystem::path& file, double sampleRate, std::optional<std::int64_t> inputFrames);

    // All values at a time, in samples from the beginning.
    ParameterValues at(std::int64_t frame) const;

private:
    struct Lane {
        VstInt32 index;
        std::vector<Keyframe> keyframes;  // one or more, each later than the one before
    };
    static float valueAt(const Lane& lane, double time);

    std::vector<Lane> lanes;
};
