#pragma once

#include <sndfile.h>

#include <filesystem>
#include <memory>
#include <span>

using SoundFile = std::unique_ptr<SNDFILE, decltype(&sf_close)>;

// An audio file to read, front to back, in any format that libsndfile knows.
class AudioInput
{
public:
    // Throws Error when there is no such file or it holds no audio.
    explicit AudioInput(std::filesystem::path file);

    // Reads up to frames frames of channels() interleaved samples, full scale at 1.0. Answers how many
    // frames there were: 0 at the end. Throws Error where the file is damaged.
    sf_count_t read(std::span<double> samples, sf_count_t frames);

    int channels() const { return info.channels; }
    int sampleRate() const { return info.samplerate; }  // Hz
    int format() const { return info.format; }          // libsndfile's container and sample type
    const std::filesystem::path& path() const { return name; }

private:
    std::filesystem::path name;
    SF_INFO info{};
    SoundFile sound;
};

// An audio file to write. It grows under another name beside its place and takes the place with keep();
// without that nothing of it remains, and a file that was there before stays as it was.
class AudioOutput
{
public:
    // The container follows the file's extension; rate, channels and, where the container has it, the
    // sample type are the input's. Throws Error where the file cannot be written, or is the input.
    AudioOutput(std::filesystem::path file, const AudioInput& input);
    AudioOutput(const AudioOutput&) = delete;
    AudioOutput& operator=(const AudioOutput&) = delete;
    ~AudioOutput();

    // Writes interleaved samples; integer formats limit them to full scale, 1.0. Throws Error.
    void write(std::span<const double> samples);

    // Ends the file and puts it in its place. Throws Error.
    void keep();

    // Whether samples beyond full scale are limited.
    bool limits() const;

private:
    std::filesystem::path name;
    std::filesystem::path growing;  // empty once kept
    SF_INFO info{};
    SoundFile sound;
};
