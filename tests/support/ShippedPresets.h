#pragma once

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>

// A shipped preset as its file in presets/ has it, read here without the project's own code.
struct ShippedPreset {
    std::string name;
    std::array<float, 7> values;  // by parameter index
};

// By the names of their files, without the extension.
inline std::map<std::string, ShippedPreset> shippedPresets()
{
    std::map<std::string, ShippedPreset> presets;
    for (const auto& entry : std::filesystem::directory_iterator(WAIL_PRESETS)) {
        if (entry.path().extension() != ".fxp")
            continue;
        std::ifstream stream(entry.path(), std::ios::binary);
        const std::string bytes{std::istreambuf_iterator<char>(stream), {}};
        ShippedPreset& preset = presets[entry.path().stem().string()];
        preset.name = bytes.substr(28, bytes.find('\0', 28) - 28);
        for (std::size_t i = 0; i < preset.values.size(); ++i) {
            const auto bigEndian = bytes.begin() + 56 + 4 * i;
            std::reverse_copy(bigEndian, bigEndian + 4, reinterpret_cast<char*>(&preset.values[i]));
        }
    }
    return presets;
}
