#pragma once

#include "host/AEffect.h"

#include <filesystem>

// The plug-in's bundle, loaded as the vendor's host loads it. It stays loaded until the program ends.
class Bundle
{
public:
    // Throws Error when the file cannot be loaded or is no such bundle.
    explicit Bundle(const std::filesystem::path& file);

    // The bundle beside this program.
    static std::filesystem::path standardFile();

private:
    friend class Effect;
    using EntryPoint = class K_TypeIF* (*)(audioMasterCallback);

    EntryPoint getinterface;
};

// One instance of the effect, which is one channel, driven through its record alone.
class Effect
{
public:
    // sampleRate: Hz. blockSize: frames of the longest block to come. Throws Error when it cannot be made.
    Effect(const Bundle& bundle, double sampleRate, VstInt32 blockSize);
    Effect(const Effect&) = delete;
    Effect& operator=(const Effect&) = delete;
    ~Effect();

    // value: normalised, 0 .. 1; the next block hears it.
    void setParameter(VstInt32 index, float value) { record->setParameter(record, index, value); }

    // Processes frames samples in place.
    void process(double* samples, VstInt32 frames)
    {
        record->processDoubleReplacing(record, &samples, &samples, frames);
    }

private:
    AEffect* record;
};
