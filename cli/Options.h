#pragma once

#include "cli/AudioFormat.h"
#include "cli/Rendering.h"

#include <CLI/CLI.hpp>

#include <filesystem>

// The options that commands share.

// Where the effect comes from.
void addBundleOption(CLI::App& command, std::filesystem::path& bundle);

// The parameters, programs and presets.
void addSoundOptions(CLI::App& command, SoundSettings& settings);

// The sound over time: automation, blocks, tail and gain.
void addRenderOptions(CLI::App& command, RenderSettings& settings);

// The output's format.
void addFormatOption(CLI::App& command, AudioFormat& format);

// Compact help: a line an option, examples at the end.
std::shared_ptr<CLI::Formatter> helpFormatter();
