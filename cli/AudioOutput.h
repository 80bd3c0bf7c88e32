#pragma once

#include "cli/AudioFormat.h"
#include "cli/AudioInput.h"
#include "cli/OutputFile.h"

#include <cstdint>
#include <span>
#include <vector>

// Audio to write, as a whole or not at all (see OutputFile), with the input's titles and other texts.
class AudioOutput
{
public:
    // Throws Error where it cannot be written.
    AudioOutput(const std::filesystem::path& place, const AudioFormat& chosen, const AudioInput& input);

    // Writes interleaved samples, full scale at 1.0. Integer and lossy types saturate there. Throws Error.
    void write(std::span<const double> samples);

    // Ends the audio and puts it in its place. Throws Error.
    void keep();

    std::int64_t clippedSamples() const { return clipped; }  // how many did not fit into the type

private:
    void writeIntegers(std::span<const double> samples);
    void writeLimited(std::span<const double> samples);
    void countClipped(std::span<const double> samples, double low, double high);
    void check(bool done) const;

    SF_INFO info;
    OutputFile file;
    SoundFile sound;
    std::vector<int> integers;
    std::vector<double> limited;
    std::int64_t clipped = 0;
};
