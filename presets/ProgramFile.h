#pragma once

// Program files (.fxp) and bank files (.fxb) of the VST 2.4 interface, in their regular kind: the parameter
// values of one program, or of a bank's programs, with their names. All numbers are big-endian.
//
//     program: 'CcnK' size 'FxCk' format id version numParams name[28] value[numParams]
//     bank:    'CcnK' size 'FxBk' format id version numPrograms reserved[128] program[numPrograms]
//
// size counts the bytes behind itself; values are 32-bit floats, normalised to 0 .. 1. Whatever is read is
// written again to the byte.

#include <array>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

// What is wrong with a file's bytes, without the file's name, such as "it is for another plug-in".
class ProgramFileError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

// A bank where a program was expected, or the other way round.
class WrongKindOfFile : public ProgramFileError
{
public:
    using ProgramFileError::ProgramFileError;
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
    std::array<char, kNameBytes> nameBytes = {};  // zero-terminated; what stands behind the zero is kept
    std::vector<float> values;                    // by parameter index
};

struct BankFile {
    std::int32_t format = 1;
    std::int32_t uniqueID = 0;
    std::int32_t version = 0;  // of the plug-in
    std::array<char, 128> reserved = {};
    std::vector<ProgramFile> programs;

    // Format 2 keeps the index of the program in use in the reserved bytes; 0 where there is none such.
    std::size_t currentProgram() const;
};

// Throw ProgramFileError where the bytes are no such file, are of the opaque "chunk" kind, are for another
// plug-in, are cut off or too many, or hold counts or values that the plug-in cannot take.
ProgramFile parseProgramFile(std::span<const char> bytes, const ProgramFileOwner& owner);
BankFile parseBankFile(std::span<const char> bytes, const ProgramFileOwner& owner);

std::vector<char> bytesOf(const ProgramFile& program);
std::vector<char> bytesOf(const BankFile& bank);
