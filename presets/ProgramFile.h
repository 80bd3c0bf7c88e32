#pragma once

// Program files (.fxp) and bank files (.fxb) of the VST 2.4 interface, with parameter values: those of one
// program, or of a bank's programs, with their names. All numbers are big-endian.
//
//     program: 'CcnK' size 'FxCk' format id version numParams name[28] value[numParams]
//     bank:    'CcnK' size 'FxBk' format id version numPrograms reserved[128] program[numPrograms]
//
// size counts the bytes that follow it; values are 32-bit floats, normalised to 0 .. 1. A program that is
// read and written again keeps every byte.

#include <array>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

// What is wrong with a file's content, without the file's name, such as "it is for another plug-in".
class ProgramFileError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

// The plug-in that a file must be for.
struct ProgramFileOwner {
    std::int32_t uniqueID;
    std::int32_t numParams;
    std::int32_t numPrograms;  // the most that a bank may hold
};

struct ProgramFile {
    static constexpr std::size_t kNameBytes = 28;

    // The name as text, and a text as the name, cut to 27 characters.
    std::string name() const;
    void setName(const std::string& text);

    std::int32_t format = 1;
    std::int32_t uniqueID = 0;
    std::int32_t version = 0;                     // of the plug-in
    std::array<char, kNameBytes> nameBytes = {};  // zero-terminated; bytes after the zero are kept
    std::vector<float> values;                    // by parameter index
};

struct BankFile {
    std::int32_t format = 1;
    std::int32_t uniqueID = 0;
    std::int32_t version = 0;  // of the plug-in
    std::array<char, 128> reserved = {};
    std::vector<ProgramFile> programs;

    // The index of the program in use, which format 2 keeps in the reserved bytes; 0 if there is no such
    // program.
    std::size_t currentProgram() const;
};

// Throw ProgramFileError if the bytes are not such a file, hold an opaque chunk, are for another plug-in, are
// too few or too many, or contain counts or values that the plug-in cannot take.
ProgramFile parseProgramFile(std::span<const char> bytes, const ProgramFileOwner& owner);
BankFile parseBankFile(std::span<const char> bytes, const ProgramFileOwner& owner);

std::vector<char> bytesOf(const ProgramFile& program);
