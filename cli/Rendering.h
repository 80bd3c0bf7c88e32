#pragma once

#include "cli/AudioInput.h"
#include "cli/Sound.h"

#include <cstdint>
#include <functional>
#include <span>

// What follows the end of the input: silence, in which the comb rings out.
struct Tail {
    double seconds = 0.0;
    bool automatic = false;  // until the output stays below -90 dBFS, instead of a time
};

struct RenderSettings {
    SoundSettings sound;
    Tail tail;
    double gainDb = 0.0;  // of the output
};

// What a rendering passes on, chunk by chunk; each may be empty. Samples are interleaved.
struct RenderTaps {
    std::function<void(std::span<const double>)> input;
    std::function<void(std::span<const double>)> output;
};

struct RenderResult {
    std::int64_t frames = 0;  // of the output
    double peak = 0.0;        // largest magnitude of the output, full scale at 1.0
};

// Runs the input through the sound, in constant memory. settings: those that the sound was made with. Throws
// Error.
RenderResult render(AudioInput& input, Sound& sound, const RenderSettings& settings, const RenderTaps& taps);
