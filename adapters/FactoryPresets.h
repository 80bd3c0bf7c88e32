#pragma once

#include "presets/ProgramFile.h"

#include <string>
#include <vector>

struct FactoryPreset {
    std::string id;  // the name of its file in presets/, without the extension
    ProgramFile program;
};

// Returns the presets of presets/*.fxp, which the build embeds: at most kNumPrograms. May throw std::bad_alloc.
std::vector<FactoryPreset> factoryPresets();
