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

    // Turns all times into samples, for one input; call once, before at(). sampleRate: Hz. inputFrames: its
    // length, which "%" needs. Throws Error.
    void prepare(double sampleRate, std::optional<std::int64_t> inputFrames);

    // All values at a time, in samples from the beginning of the input.
    ParameterSettings at(std::int64_t frame) const;

private:
    struct Keyframe {
        double time;
        char unit;     // of the time: s, %, or 0 for samples
        double value;  // 0 .. 1
    };
    struct Curve {
        VstInt32 index;                   // of the parameter
        std::vector<Keyframe> keyframes;  // one or more, once prepared each later than the one before
        float at(double time) const;
    };

    std::filesystem::path file;
    std::vector<Curve> curves;
};
