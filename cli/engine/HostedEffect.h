#pragma once

#include "cli/engine/Parameters.h"
#include "host/AEffect.h"
#include "host/Opcodes.h"
#include "presets/ProgramFile.h"

#include <filesystem>
#include <string>

// The file of the plug-in's bundle: the one that the environment variable WAIL_BUNDLE names, or else the one
// beside this program or where it is installed. Throws Error.
std::filesystem::path bundleFile();

// One instance of the effect, for one channel, driven only through its record.
class HostedEffect
{
public:
    // The first instance loads the bundle as the vendor's host does, until the program ends. Throws Error.
    HostedEffect();
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
