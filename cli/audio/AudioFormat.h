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

// What an output is made from and goes to.
struct OutputSource {
    SF_INFO info;    // of the input; frames: of the output, 0 if unknown
    bool hasLayout;  // true if the channels have named places
    bool seekable;   // false if the output is a pipe
};

// The format of an output: container and type as chosen, else as its name says, else as the input's. If the
// container lacks the input's type, the best one it has; 24 bits if the input is lossy. WAV becomes WAVEX for
// channels with named places and RF64 if it might exceed 4 GB. Throws Error.
SF_INFO outputFormat(const AudioFormat& chosen, const std::filesystem::path& file,
                     const OutputSource& source);

int containerOf(int format);    // SF_FORMAT_WAV and the like
int bitsOf(int format);         // of an integer sample; 0 for other types
int sampleBytesOf(int format);  // of an integer or floating-point sample; 0 for other types
bool isFloatingPoint(int format);
bool hasOutputContainer(int format);  // true if an output can have the format's container

// True if a decoder of the type stops where the data end; block codecs such as ADPCM invent what is missing.
bool stopsAtEnd(int format);

// The reason that libsndfile gives for its last failure; sound: null for a failed opening.
std::string reasonOf(SNDFILE* sound);
