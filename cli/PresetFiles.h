#pragma once

#include "presets/ProgramFile.h"

#include <filesystem>

// Program and bank files on disk. Throw Error with the file's name and what is wrong with it.
ProgramFile readProgramFile(const std::filesystem::path& file, const ProgramFileOwner& owner);
BankFile readBankFile(const std::filesystem::path& file, const ProgramFileOwner& owner);

// Writes the bytes as a whole or not at all (see OutputFile). Throws Error.
void writeFile(const std::filesystem::path& file, std::span<const char> bytes);
