#pragma once

#include "cli/audio/AudioFormat.h"
#include "cli/audio/AudioInput.h"
#include "cli/audio/OutputFile.h"

#include <cstdint>
#include <random>
#include <span>
#include <string>
#include <vector>

struct OutputSettings {
    AudioFormat format;                          // as far as it was chosen
    bool dither = false;                         // in integer samples of 16 bits or fewer
    std::optional<std::int64_t> expectedFrames;  // if the output's length is known
    std::int64_t firstFrame = 0;                 // of the input in the output
    bool isExcerpt = false;                      // if the output has only a part of the input
};

// Audio to write, complete or not at all (see OutputFile), with the metadata of the input.
class AudioOutput
{
public:
    // Throws Error if it cannot be written.
    AudioOutput(const std::filesystem::path& path, const AudioInput& input, const OutputSettings& settings);

    // Writes interleaved samples, full scale at 1.0. Integer types round to nearest and saturate. Throws
    // Error.
    void write(std::span<const double> samples);

    // Completes the file. Throws Error.
    void commit();

    std::int64_t clippedSamples() const { return numberClipped; }  // beyond the range of the type
    const std::vector<std::string>& lostMetadata() const { return lost; }
    std::string name() const { return file.name(); }

private:
    sf_count_t writeIntegers(std::span<const double> samples);
    void addDither(std::span<double> samples, double step);

    OutputFile file;
    SF_INFO info;
    bool dither;
    SoundFile sound;
    std::vector<std::string> lost;
    std::mt19937 random;
    std::vector<double> dithered;
    std::vector<int> integers;
    std::int64_t numberClipped = 0;
};
