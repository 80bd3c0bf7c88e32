#pragma once

#include "cli/audio/AudioOutput.h"
#include "cli/engine/Presets.h"
#include "cli/engine/Renderer.h"

#include <CLI/CLI.hpp>

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>

// The options that commands share. A value is never empty, numbers are decimal, and of a repeated option the last
// one counts.

// An option whose value parse() stores; its Errors become those of the command line.
CLI::Option* addOption(CLI::App& command, const std::string& name, const std::string& type,
                       const std::string& help, std::function<void(const std::string&)> parse);

// A whole number or a number between low and high, ends included. Throw Error.
int parseInteger(const std::string& text, int low, int high);
double parseReal(const std::string& text, double low, double high, const std::string& unit);

// Likewise; none for "auto".
std::optional<double> parseRealOrAuto(const std::string& text, double low, double high,
                                      const std::string& unit);

// The parameters, presets and programs.
void addProgramOptions(CLI::App& command, ProgramChoice& choice);

// The sound over time: automation, blocks, start, duration and tail. The automation file is read when the command
// runs.
struct RenderOptions {
    ProgramChoice choice;
    std::optional<std::filesystem::path> automation;
    RenderSettings settings;

    // The settings with the chosen program and automation; reads their files. Throws Error.
    RenderSettings load(const Bundle& bundle) const;
};
void addRenderOptions(CLI::App& command, RenderOptions& options);

// Compact help: one line for each option, examples at the end.
std::shared_ptr<CLI::Formatter> helpFormatter();
