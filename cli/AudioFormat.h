#pragma once

#include <sndfile.h>

#include <filesystem>
#include <string>

// Containers and sample types as libsndfile numbers them, with the names that the command line uses.

struct AudioFormat {
    int container = 0;  // SF_FORMAT_WAV and the like; 0: not chosen
    int type = 0;       // SF_FORMAT_PCM_16 and the like; 0: not chosen
};

// "flac", "pcm24" or "wav/float". Throws Error, with the nearest name where one is near.
AudioFormat parseAudioFormat(const std::string& text);

// The container's extension with its dot; empty for one that has no name here.
std::string extensionOf(int container);

// The format of an output in this place: what was chosen, then what the place's extension says, then the
// input's; a sample type that the container lacks gives way to its best one, unless it was chosen. source:
// the input's rate, channels, format and frames. A WAV file that would outgrow its container becomes RF64.
// Throws Error.
SF_INFO outputFormat(const AudioFormat& chosen, const std::filesystem::path& place,
                     const std::filesystem::path& input, const SF_INFO& source);

// Why libsndfile's last work on the sound, or on opening one where it is null, has failed.
std::string reasonOf(SNDFILE* sound);

// Whether a container can be written where no byte can be changed afterwards.
bool streams(int format);

// Bits of an integer sample; 0 for floating-point and lossy types.
int bitsOf(int format);

// Bytes of an integer or floating-point sample; 0 for lossy types.
int sampleBytesOf(int format);

// Whether samples beyond full scale are kept as they are.
bool keepsOverloads(int format);

// Whether the container counts its bytes in 32 bits.
bool countsIn32Bits(int format);
