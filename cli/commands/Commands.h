#pragma once

#include <CLI/CLI.hpp>

// The program's commands. Each function adds one with its options and examples; the command runs after the
// command line is parsed, and throws Error if it fails.
void addRenderCommand(CLI::App& app);
void addPlotCommand(CLI::App& app);
void addPresetCommand(CLI::App& app);
void addInfoCommand(CLI::App& app);
