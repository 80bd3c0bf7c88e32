#pragma once

#include <array>
#include <span>

// The presets of this folder, built into what links them.
struct ShippedPreset {
    const char* id;  // the file's name without its extension
    const char* name;
    const char* description;          // what it sounds like, a sentence
    std::array<const char*, 3> tags;  // what to look for, null after the last
    std::array<float, 7> values;      // by parameter index, 0 .. 1
};

// In the order of README.md.
std::span<const ShippedPreset> shippedPresets() noexcept;
