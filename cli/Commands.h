#pragma once

#include <CLI/CLI.hpp>

// The program's commands. Each adds itself with its options and examples; what it does runs after the
// command line is parsed, and throws Error where it fails.
void addRenderCommand(CLI::App& app);
void addPlotCommand(CLI::App& app);
void addPresetCommand(CLI::App& app);
void addInfoCommand(CLI::App& app);
