#pragma once

#include "cli/audio/ByteStream.h"

#include <sndfile.h>

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

using SoundFile = std::unique_ptr<SNDFILE, decltype(&sf_close)>;

// Audio to read, front to back, in any format that libsndfile reads: a file, or "-" for standard input. WAV,
// AU and FLAC are read from a pipe as they arrive; what cannot be is first stored in an unnamed file.
//
// A file that ends before the length in its header is an error. A pipe that does is read as far as it goes.
class AudioInput
{
public:
    // Throws Error if the file does not exist or holds no audio.
    explicit AudioInput(std::filesystem::path file);

    // From now on only this channel is read, counted from 1. Throws Error if there is none.
    void selectChannel(int channel);

    // Reads up to count frames of channels() interleaved samples, full scale at 1.0. Returns the number of
    // frames, fewer than count only at the end. Throws Error if the audio is damaged or a file too short.
    std::size_t read(std::span<double> samples, std::size_t count);

    int channels() const;
    int sampleRate() const { return info.samplerate; }  // Hz
    std::optional<std::int64_t> frames() const;         // none if the header does not tell
    const SF_INFO& format() const { return info; }      // as libsndfile reports it, all channels
    const std::filesystem::path& path() const { return file; }
    SNDFILE* handle() const { return sound.get(); }

    bool wasCutOff() const { return cutOff; }                          // so far
    std::int64_t nonFiniteSamples() const { return numberNonFinite; }  // NaN or infinite, so far

    // For messages: the path, or "standard input".
    std::string name() const;

private:
    using Stdio = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

    void open();
    bool openStream();
    void openFile();
    void store();
    void reportCut();
    int descriptor() const { return fileno(stdio.get()); }

    std::filesystem::path file;
    Stdio stdio;  // owns the descriptor
    std::unique_ptr<ByteStream> stream;
    SF_INFO info{};
    SoundFile sound;
    bool isFile;  // and no pipe
    bool cutOff = false;
    std::optional<std::int64_t> knownFrames;
    std::vector<std::size_t> order;  // channels to pass on; empty: all as they come
    std::vector<double> unordered;
    std::int64_t framesRead = 0;
    std::int64_t numberNonFinite = 0;
};
