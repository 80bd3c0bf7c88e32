#pragma once

#include "cli/AudioFormat.h"
#include "cli/Rendering.h"

#include <CLI/CLI.hpp>

#include <filesystem>

// The options that commands share.

// Refuses what is not a whole number in the range, ends included.
CLI::Validator between(int low, int high);

// Where the effect comes from.
void addBundleOption(CLI::App& command, std::filesystem::path& bundle);

// The parameters, programs and presets.
void addSoundOptions(CLI::App& command, SoundSettings& settings);

// The sound over time: automation, blocks, tail and gain.
void addRenderOptions(CLI::App& command, RenderSettings& settings);

// The output's format.
void addFormatOption(CLI::App& command, AudioFormat& format);

// What an option's value is, as help shows it, such as "0..1".
std::string typeOf(const CLI::Option& option);

// Compact help: a line an option, examples at the end.
std::shared_ptr<CLI::Formatter> helpFormatter();
