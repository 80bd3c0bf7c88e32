#pragma once

#include <filesystem>
#include <string>
#include <vector>

// Where the program finds what belongs to it: beside itself in a build folder, or where it is installed.

// The plug-in's bundle. Throws Error if there is none.
std::filesystem::path findBundle();

// A preset: the file of that name, or else the preset of that name that comes with the program, such as
// "slow-tide". Throws Error.
std::filesystem::path findPreset(const std::string& nameOrFile);

// The names of the presets that come with the program, sorted.
std::vector<std::string> presetNames();

// The content of a file of settings; a pipe will do. Throws Error.
std::string readSettingsFile(const std::filesystem::path& file);
