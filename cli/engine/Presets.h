#pragma once

#include "cli/engine/HostedEffect.h"
#include "presets/ProgramFile.h"

#include <filesystem>
#include <optional>
#include <string>

// Program and bank files. Throw Error with the file's name and what is wrong with it.
ProgramFile readProgramFile(const std::filesystem::path& file, const ProgramFileOwner& owner);
BankFile readBankFile(const std::filesystem::path& file, const ProgramFileOwner& owner);

// What the command line chooses as the parameter values. Later members overrule earlier ones.
struct ProgramChoice {
    std::optional<std::string> bank;    // .fxb
    std::optional<VstInt32> number;     // in the bank, or of the plug-in's own programs, from 1
    std::optional<std::string> preset;  // .fxp, or the name of a preset that comes with the program
    ParameterValues parameters;
};

// The chosen program. Throws Error, UsageError if the bank has no such program.
ProgramFile chooseProgram(const ProgramChoice& choice, HostedEffect& effect);
