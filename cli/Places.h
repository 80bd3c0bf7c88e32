#pragma once

#include <filesystem>
#include <string>
#include <vector>

// Where the program finds what belongs to it: beside itself, as it is built, or where it was installed.

// The plug-in's bundle. Throws Error where there is none.
std::filesystem::path findBundle();

// A preset file: the path itself, or the name of a preset that comes with the program, such as
// "slow-tide". Throws Error, with the nearest name where one is near and else with where the names are.
std::filesystem::path findPreset(const std::string& nameOrFile);

// The names of the presets that come with the program, sorted.
std::vector<std::string> presetNames();
