#pragma once

#include "cli/audio/AudioInput.h"
#include "cli/engine/Automation.h"
#include "cli/engine/HostedEffect.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <span>

inline constexpr double kLongestAutomaticTail = 60.0;  // s

struct RenderSettings {
    ProgramFile program;  // the values at the start
    std::optional<Automation> automation;

    // Frames, 1 or more. A change of Invert moves the sweep at the start of the next block, which in long
    // blocks falls into the audible part of the fade-in.
    VstInt32 blockSize = 64;

    double startSeconds = 0.0;                // of the input, left out; automation keeps the input's times
    std::optional<double> durationSeconds;    // of the input, rendered; none: to its end
    std::optional<double> tailSeconds{0.0};   // silence after it; none: until the output stays below -90 dBFS
    std::optional<double> gainDecibels{0.0};  // of the output; none: the highest up to 0 that clips nothing

    bool isExcerpt() const { return startSeconds > 0.0 || durationSeconds; }
};

// Receives a rendering, chunk by chunk: interleaved samples. Either may be empty.
struct RenderTaps {
    std::function<void(std::span<const double>)> input;
    std::function<void(std::span<const double>)> output;
};

struct RenderResult {
    std::int64_t frames = 0;  // of the output
    double peak = 0.0;        // largest magnitude of the output, full scale at 1.0
};

// Frames in a time, to the nearest.
std::int64_t framesIn(double seconds, double sampleRate);

// Renders the input, each channel with an instance of its own, in constant memory. settings: with a gain.
// Throws Error.
RenderResult render(AudioInput& input, const Bundle& bundle, const RenderSettings& settings,
                    const RenderTaps& taps);

// The settings with their gain, if no gain is set, renders the file once to find it. Throws Error, also if the
// input is a pipe.
RenderSettings withGain(RenderSettings settings, const std::filesystem::path& file, const Bundle& bundle);

// The highest gain in dB, in tenths, at which this peak clips in no format.
double gainBelowFullScale(double peak);
