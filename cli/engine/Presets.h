#pragma once

#include "cli/engine/HostedEffect.h"
#include "presets/ProgramFile.h"

#include <filesystem>
#include <optional>
#include <string>

// What the command line chooses as the parameter values. Later members overrule earlier ones.
struct ProgramChoice {
    std::optional<std::string> bank;    // .fxb
    std::optional<VstInt32> number;     // in the bank, or of the plug-in's own programs, from 1
    std::optional<std::string> preset;  // .fxp, or the name of a shipped preset
    ParameterSettings parameters;
};

// The chosen program. Throws Error, UsageError if the bank has no such program.
ProgramFile chooseProgram(const ProgramChoice& choice, HostedEffect& effect);

// The preset in a file or, if there is none, the shipped one of that name, such as "slow-tide". Throws Error.
ProgramFile readPreset(const std::string& fileOrName, const HostedEffect& effect);

// Throws Error.
BankFile readBank(const std::filesystem::path& file, const HostedEffect& effect);

// The content of a file of settings; a pipe will do. Throws Error.
std::string readSettingsFile(const std::filesystem::path& file);
