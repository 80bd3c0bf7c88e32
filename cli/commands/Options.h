#pragma once

#include "cli/Error.h"
#include "cli/Text.h"
#include "cli/engine/Presets.h"
#include "cli/engine/Renderer.h"

#include <CLI/CLI.hpp>

#include <filesystem>
#include <functional>
#include <optional>
#include <string>

// The options that commands share. Values are not empty, numbers are decimal, and of a repeated option the
// last one counts.

// An option whose value parse() stores; its Errors become those of the command line.
CLI::Option* addOption(CLI::App& command, const std::string& name, const std::string& type,
                       const std::string& help, std::function<void(const std::string&)> parse);

// An option whose value is a text.
template <typename Text>
CLI::Option* addText(CLI::App& command, const std::string& name, const std::string& type,
                     const std::string& help, Text& value)
{
    return addOption(command, name, type, help, [&value](const std::string& text) { value = text; });
}

// An option whose value is a number from low to high, a whole one if they are.
template <typename Number>
CLI::Option* addNumber(CLI::App& command, const std::string& name, const std::string& type,
                       const std::string& help, auto& value, Number low, Number high)
{
    return addOption(command, name, type, help, [&value, low, high](const std::string& text) {
        const auto number = parseNumber<Number>(text);
        if (!number || !(*number >= low && *number <= high))
            throw Error("'{}' is not a {}number from {} to {}", text,
                        std::is_integral_v<Number> ? "whole " : "", low, high);
        value = *number;
    });
}

// The parameters, presets and programs. These and the following are called last: options added later would be
// listed among them.
void addProgramOptions(CLI::App& command, ProgramChoice& choice);

// The sound over time.
struct RenderOptions {
    ProgramChoice choice;
    std::optional<std::filesystem::path> automation;
    RenderSettings settings;

    // The settings with the chosen program and automation, whose files are read once, here. Throws Error.
    RenderSettings load() const;
};
void addRenderOptions(CLI::App& command, RenderOptions& options);

// "1 sample", "2 samples".
std::string plural(std::int64_t number, const std::string& noun);

// Prints what was wrong with an input that has been read.
void printWarnings(const AudioInput& input);

// "peak -0.1 dBFS", or "silent". peak: full scale at 1.0.
std::string describePeak(double peak);
