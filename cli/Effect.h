#pragma once

#include "cli/Parameters.h"
#include "host/AEffect.h"
#include "host/Opcodes.h"
#include "presets/ProgramFile.h"

#include <filesystem>
#include <string>

// The plug-in's bundle, loaded as the vendor's host loads it. It stays loaded until the program ends.
class Bundle
{
public:
    // file: empty for the standard one. Throws Error when it cannot be loaded or is no such bundle.
    explicit Bundle(const std::filesystem::path& file);

    const std::filesystem::path& file() const { return path; }

private:
    friend class Effect;
    using EntryPoint = class K_TypeIF* (*)(audioMasterCallback);

    std::filesystem::path path;
    EntryPoint getinterface;
};

// One instance of the effect, which is one channel, driven through its record and its table of virtual
// operations alone.
class Effect
{
public:
    // Throws Error when it cannot be made.
    explicit Effect(const Bundle& bundle);
    Effect(const Effect&) = delete;
    Effect& operator=(const Effect&) = delete;
    ~Effect();

    // Makes it ready to process. sampleRate: Hz. blockSize: frames of the longest block to come. Throws
    // Error when the effect does not take the rate.
    void start(double sampleRate, VstInt32 blockSize);

    // Processes frames samples in place.
    void process(double* samples, VstInt32 frames)
    {
        record->processDoubleReplacing(record, &samples, &samples, frames);
    }

    // Values are normalised, 0 .. 1; the next block hears them.
    void setParameters(const ParameterValues& values);
    float parameter(VstInt32 index) const { return record->getParameter(record, index); }

    // All parameters with their values as the effect shows them: "On/Off on, Sense 8.42, ...".
    std::string settings() const;

    // Programs are counted from 0. A program file's values and name go to the current program, a bank's to as
    // many programs as it has, of which the one in use when it was saved becomes the current one.
    void setProgram(VstInt32 index) { dispatch(effSetProgram, 0, index); }
    void load(const ProgramFile& program);
    void load(const BankFile& bank);
    ProgramFile program(VstInt32 index);
    BankFile bank();
    ProgramFileOwner fileOwner() const;

    VstIntPtr dispatch(VstInt32 opcode, VstInt32 index = 0, VstIntPtr value = 0, void* ptr = nullptr,
                       float opt = 0.0f) const
    {
        return record->dispatcher(record, opcode, index, value, ptr, opt);
    }
    std::string text(VstInt32 opcode, VstInt32 index = 0) const;  // what an opcode writes

    // Calls the operation in one slot of the effect object's table, counted from 0.
    template <typename Result, typename... Arguments>
    Result call(int slot, Arguments... arguments) const
    {
        using Operation = Result (*)(void*, Arguments...);
        return (*static_cast<Operation* const*>(record->object))[slot](record->object, arguments...);
    }

    const AEffect& properties() const { return *record; }

private:
    AEffect* record;
};
