#pragma once

#include <CLI/CLI.hpp>

#include <string>

// What the command line's own definitions give besides its help.

// The manual page, in the man macros of troff.
std::string manualPage(const CLI::App& app);

// The completion of commands, options and preset names, for bash.
std::string bashCompletion(const CLI::App& app);
