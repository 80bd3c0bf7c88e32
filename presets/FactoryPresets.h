#pragma once

#include "effect/Parameters.h"

#include <array>
#include <span>

// A preset of presets/, embedded by the build.
struct FactoryPreset {
    const char* id;  // the name of its file, without the extension
    const char* name;
    const char* description;               // a sentence
    std::array<const char*, 3> tags;       // words to find it by; null after the last
    std::array<float, kNumParams> values;  // by parameter index, 0 .. 1
};

// Returns all of them: at most kNumPrograms.
std::span<const FactoryPreset> factoryPresets() noexcept;
