#pragma once

#include "cli/engine/Presets.h"
#include "cli/engine/Renderer.h"

#include <CLI/CLI.hpp>

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>

// The options that commands share. Values are not empty, numbers are decimal, and of a repeated option the
// last one counts.

// An option whose value parse() stores; its Errors become those of the command line.
CLI::Option* addOption(CLI::App& command, const std::string& name, const std::string& type,
                       const std::string& help, std::function<void(const std::string&)> parse);

// A number from low to high. kind: what it should be, for the message, such as "a time in seconds". Throw
// Error.
int parseInteger(const std::string& text, int low, int high);
double parseReal(const std::string& text, double low, double high, const std::string& kind);

// The parameters, presets and programs.
void addProgramOptions(CLI::App& command, ProgramChoice& choice);

// The sound over time.
struct RenderOptions {
    ProgramChoice choice;
    std::optional<std::filesystem::path> automation;
    RenderSettings settings;

    // The settings with the chosen program and automation, whose files are read once, here. Throws Error.
    RenderSettings load(const Bundle& bundle) const;
};
void addRenderOptions(CLI::App& command, RenderOptions& options);
void addGainOption(CLI::App& command, RenderOptions& options);

// "peak -0.1 dBFS", or "silent". peak: full scale at 1.0.
std::string describePeak(double peak);

// Compact help: one line for each option, examples at the end.
std::shared_ptr<CLI::Formatter> helpFormatter();
