#pragma once

#include <sndfile.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <string>

using SoundFile = std::unique_ptr<SNDFILE, decltype(&sf_close)>;

// Audio to read, front to back, in any format that libsndfile knows: a file, or "-" for standard input. A
// pipe is read as it comes where its format allows that, and else stored in an unnamed file first.
class AudioInput
{
public:
    // Throws Error when there is no such file, it holds no audio, or less than its header promises.
    explicit AudioInput(std::filesystem::path file);

    // Reads up to frames frames of channels() interleaved samples, full scale at 1.0. Answers how many
    // frames there were: 0 at the end. Throws Error where the audio is damaged or ends too early.
    sf_count_t read(std::span<double> samples, sf_count_t frames);

    int channels() const { return info.channels; }
    int sampleRate() const { return info.samplerate; }  // Hz
    std::optional<std::int64_t> frames() const;         // none where a pipe does not tell
    const SF_INFO& format() const { return info; }      // frames: 0 where they are not known
    const std::filesystem::path& path() const { return file; }
    SNDFILE* handle() const { return sound.get(); }

    // For messages: the path, or "standard input".
    std::string name() const;

private:
    std::filesystem::path file;
    SF_INFO info{};
    SoundFile sound;
    std::int64_t framesRead = 0;
};
