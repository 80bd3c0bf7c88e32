#pragma once

#include "host/AEffect.h"

#include <array>
#include <map>
#include <string>
#include <vector>

// The plug-in's parameters as the command line and automation files name them.

struct ParameterOption {
    const char* name;  // without its dashes
    bool isSwitch;
    const char* help;
};

// In the order of the plug-in's parameter indices.
inline constexpr std::array<ParameterOption, 7> kParameterOptions{{
    {"on-off", true, "on: the effect; off: the unchanged input"},
    {"sense", false, "how far a loud input drives the sweep"},
    {"reso", false, "feedback: how sharp the teeth of the comb are"},
    {"range", false, "how far the sweep goes"},
    {"balance", false, "from the dry input, 0, to the effect, 1"},
    {"invert", true, "on: louder lengthens the delay; off: shortens it"},
    {"envelope", false, "how slowly the sweep falls back"},
}};

// Values by parameter index, normalised to 0 .. 1.
using ParameterSettings = std::map<VstInt32, float>;

// The index of a parameter. Only letters and digits of the name count: "On/Off", "on-off" and "onoff" are the same.
// Throws Error with the names.
VstInt32 parameterIndex(const std::string& name);

// Parses a number from 0 to 1, or for a switch on, off, true, false, 1 or 0. index: 0 .. 6. Throws Error.
float parameterValue(VstInt32 index, const std::string& text);

// All parameters as options: "--on-off on --sense 0.84 ...". values: by index.
std::string describeValues(const std::vector<float>& values);
