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

// The level of the output.
struct Gain {
    double decibels = 0.0;
    bool automatic = false;  // to be found: as low as it takes to clip nothing, and not above 0
};

struct RenderSettings {
    SoundSettings sound;
    Tail tail;
    Gain gain;

    int passes() const { return gain.automatic ? 2 : 1; }  // over the input
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

// Runs the input through the sound, in constant memory. settings: those that the sound was made with, an
// automatic gain already found. Throws Error.
RenderResult render(AudioInput& input, Sound& sound, const RenderSettings& settings, const RenderTaps& taps);

// The gain in dB, a whole number of tenths, that just takes a peak below full scale in every format.
double gainBelowFullScale(double peak);

// Gives an automatic gain its number, for which it renders the file once more; tap gets that input. Throws
// Error, also where the input cannot be read twice.
RenderSettings withGainFound(RenderSettings settings, const std::filesystem::path& file, const Bundle& bundle,
                             const std::function<void(std::span<const double>)>& tap);
