#pragma once

#include <array>
#include <bit>
#include <cstdint>
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
        for (std::size_t i = 0; i < 4 * preset.values.size(); i += 4) {
            std::uint32_t bigEndian = 0;
            for (const char byte : bytes.substr(56 + i, 4))
                bigEndian = bigEndian << 8 | static_cast<unsigned char>(byte);
            preset.values[i / 4] = std::bit_cast<float>(bigEndian);
        }
    }
    return presets;
}
