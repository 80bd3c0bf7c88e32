#pragma once

#include "cli/engine/Parameters.h"
#include "host/AEffect.h"
#include "host/Opcodes.h"
#include "presets/ProgramFile.h"

#include <filesystem>
#include <string>

// The plug-in's bundle, loaded as the vendor's host loads it. It stays loaded until the program ends.
class Bundle
{
public:
    // Loads the file that the environment variable WAIL_BUNDLE names, or else the bundle beside this program
    // or where it is installed. Throws Error.
    Bundle();

    const std::filesystem::path& file() const { return path; }

private:
    friend class HostedEffect;

    std::filesystem::path path;
    class K_TypeIF* (*getinterface)(audioMasterCallback);
};

// One instance of the effect, for one channel, driven only through its record.
class HostedEffect
{
public:
    // Throws Error if the effect cannot be made.
    explicit HostedEffect(const Bundle& bundle);
    HostedEffect(const HostedEffect&) = delete;
    HostedEffect& operator=(const HostedEffect&) = delete;
    ~HostedEffect();

    // Makes the effect ready to process, at the parameter values set so far: the first block does not glide
    // to them. sampleRate: Hz. blockSize: frames of the longest block to come. Throws Error if the effect
    // does not take the rate.
    void start(double sampleRate, VstInt32 blockSize);

    // Processes samples in place.
    void process(double* samples, VstInt32 frames)
    {
        record->processDoubleReplacing(record, &samples, &samples, frames);
    }

    // Values are normalised to 0 .. 1; the next block glides to them.
    void setParameters(const ParameterSettings& values);
    float parameter(VstInt32 index) const { return record->getParameter(record, index); }

    // The current program, with the values that its parameters have now.
    ProgramFile program() const;

    VstIntPtr dispatch(VstInt32 opcode, VstInt32 index = 0, VstIntPtr value = 0, void* ptr = nullptr,
                       float opt = 0.0f) const
    {
        return record->dispatcher(record, opcode, index, value, ptr, opt);
    }
    std::string text(VstInt32 opcode, VstInt32 index = 0) const;  // that the opcode writes

    const AEffect& properties() const { return *record; }

private:
    AEffect* record;
};
