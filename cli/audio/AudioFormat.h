#pragma once

#include <sndfile.h>

#include <filesystem>
#include <string>

// Containers and sample types as libsndfile numbers them, with the names that the command line uses. Inputs
// may have any that libsndfile reads; outputs are lossless.

struct AudioFormat {
    int container = 0;  // SF_FORMAT_WAV and the like; 0: not chosen
    int type = 0;       // SF_FORMAT_PCM_16 and the like; 0: not chosen
};

// Parses "flac", "pcm24" or "wav/float". Throws UsageError with the list of formats.
AudioFormat parseAudioFormat(const std::string& text);

// Throws UsageError if the file's extension stands for no output format, or not for the chosen one.
void checkOutputName(const std::filesystem::path& file, const AudioFormat& chosen);

// The extension, with its dot, of an output that is named after its input: the input's own if it fits.
std::string outputExtension(const std::filesystem::path& input, int inputFormat, const AudioFormat& chosen);

// The format of an output. input: with the output's length as its frames, 0 if unknown. hasLayout: true if its
// channels have named places. The container is the chosen one, else that of the name, else the input's; the
// sample type is the chosen one, else the input's, else 24 bits if the input is lossy or the container lacks
// its type. Throws Error.
SF_INFO outputFormat(const AudioFormat& chosen, const std::filesystem::path& file, const SF_INFO& input,
                     bool hasLayout);

int containerOf(int format);  // SF_FORMAT_WAV and the like
int bitsOf(int format);       // of an integer sample; 0 for other types
bool isFloatingPoint(int format);

// Bytes in the audio of this format and length; of compressed audio the number of its samples.
double audioBytes(const SF_INFO& info);

// True if a decoder of the type stops where the data end; block codecs such as ADPCM invent what is missing.
bool stopsAtEnd(int format);

// The reason that libsndfile gives for its last failure; sound: null for a failed opening.
std::string reasonOf(SNDFILE* sound);
