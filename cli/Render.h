#pragma once

#include "host/AEffect.h"

#include <cstdint>
#include <filesystem>
#include <map>

struct RenderSettings {
    std::filesystem::path input;
    std::filesystem::path output;
    std::map<VstInt32, float> parameters;  // by index; those left out stay at the plug-in's defaults
    VstInt32 blockSize = 512;              // frames, 1 or more
};

struct RenderResult {
    std::int64_t frames = 0;
    int channels = 0;
    int sampleRate = 0;        // Hz
    double peak = 0.0;         // largest magnitude of the output, full scale at 1.0
    std::int64_t limited = 0;  // samples that the output's format could not hold
};

// Renders the input through the effect, each channel through an instance of its own, block by block. Throws
// Error; then no output is left behind.
RenderResult render(const RenderSettings& settings);
