#pragma once

#include "cli/audio/AudioInput.h"
#include "cli/engine/Automation.h"
#include "cli/engine/HostedEffect.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <span>

struct RenderSettings {
    ProgramFile program;  // the values at the start
    std::optional<Automation> automation;

    // Frames, 1 or more. A change of Invert moves the sweep at the start of the next block, which in long
    // blocks falls into the audible part of the fade-in.
    VstInt32 blockSize = 64;

    double startSeconds = 0.0;              // of the input, left out; automation keeps the input's times
    std::optional<double> durationSeconds;  // of the input, rendered; none: to its end
    double tailSeconds = 0.0;               // of silence after it
    double gainDecibels = 0.0;              // of the output

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

// The length of a rendering in frames; none if the input does not tell its own. Throws Error if it starts
// behind the input's end.
std::optional<std::int64_t> renderedFrames(const AudioInput& input, const RenderSettings& settings);

// Renders the input, each channel with an instance of its own, in constant memory. Throws Error.
RenderResult render(AudioInput& input, const RenderSettings& settings, const RenderTaps& taps);
