#pragma once

#include "cli/audio/ByteStream.h"

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

using SoundFile = std::unique_ptr<SNDFILE, decltype(&sf_close)>;

// Audio to read, front to back: a file of any format that libsndfile reads, or "-" for standard input. A pipe
// is read as it arrives, which WAV, AU, FLAC and some others allow.
//
// A file that ends before the length in its header is an error. A pipe that does is read as far as it goes.
class AudioInput
{
public:
    // Throws Error if the file does not exist or holds no audio that can be read.
    explicit AudioInput(std::filesystem::path file);

    // From now on only this channel is read, counted from 1. Throws Error if there is none.
    void selectChannel(int channel);

    // Reads up to count frames of channels() interleaved samples, full scale at 1.0. Returns the number of
    // frames, fewer than count only at the end. Throws Error if the audio is damaged or a file too short.
    std::size_t read(std::span<double> samples, std::size_t count);

    int channels() const { return static_cast<int>(order.size()); }
    int sampleRate() const { return info.samplerate; }                  // Hz
    std::optional<std::int64_t> frames() const { return knownFrames; }  // none if the header does not tell
    const SF_INFO& format() const { return info; }  // as libsndfile reports it, all channels
    const std::filesystem::path& path() const { return file; }
    SNDFILE* handle() const { return sound.get(); }

    bool wasCutOff() const { return cutOff; }                          // so far
    std::int64_t nonFiniteSamples() const { return numberNonFinite; }  // NaN or infinite, so far

    // For messages: the path, or "standard input".
    std::string name() const { return file == "-" ? "standard input" : file.string(); }

private:
    void openFile();
    void checkLength(std::int64_t found, std::int64_t promised);

    std::filesystem::path file;
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> bytes;
    ByteStream stream;
    bool isFile = false;  // and no pipe
    SF_INFO info{};
    SoundFile sound{nullptr, sf_close};
    std::optional<std::int64_t> knownFrames;
    bool cutOff = false;
    std::vector<std::size_t> order;  // the channels to pass on, from 0
    std::vector<double> unordered;
    std::int64_t framesRead = 0;
    std::int64_t numberNonFinite = 0;
};
