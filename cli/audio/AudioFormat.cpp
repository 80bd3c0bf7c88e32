#include "cli/audio/AudioFormat.h"

#include "cli/Error.h"
#include "cli/Text.h"
#include "cli/audio/OutputFile.h"

#include <algorithm>
#include <array>
#include <span>
#include <vector>

namespace
{

namespace fs = std::filesystem;

struct Name {
    const char* name;
    int format;
};

// The first name of a container is its extension.
constexpr Name kContainers[] = {
    {"wav", SF_FORMAT_WAV}, {"flac", SF_FORMAT_FLAC}, {"aiff", SF_FORMAT_AIFF}, {"aif", SF_FORMAT_AIFF},
    {"caf", SF_FORMAT_CAF}, {"w64", SF_FORMAT_W64},   {"au", SF_FORMAT_AU},
};

constexpr Name kTypes[] = {
    {"pcm8", SF_FORMAT_PCM_S8},  {"pcm16", SF_FORMAT_PCM_16}, {"pcm24", SF_FORMAT_PCM_24},
    {"pcm32", SF_FORMAT_PCM_32}, {"float", SF_FORMAT_FLOAT},  {"double", SF_FORMAT_DOUBLE},
};

constexpr std::array kLossyNames{"mp3", "ogg", "oga", "opus", "m4a", "aac", "wma"};

constexpr double kMaxBytesIn32Bits = 4294900000.0;  // 2^32 with some room for headers

int find(std::span<const Name> names, const std::string& name)
{
    const auto found = std::ranges::find(names, name, &Name::name);
    return found == names.end() ? 0 : found->format;
}

// The extension in lower case, without its dot.
std::string extensionOf(const fs::path& file)
{
    const std::string extension = lowerCase(file.extension().string());
    return extension.empty() ? extension : extension.substr(1);
}

std::string nameOf(int container)
{
    return std::ranges::find(kContainers, container, &Name::format)->name;
}

int containerOf(int format)
{
    return format & SF_FORMAT_TYPEMASK;
}

int typeOf(int format)
{
    return format & SF_FORMAT_SUBMASK;
}

// An input's container as it is named here; 0 if there is no output of that kind.
int ownContainer(int format)
{
    const int container = containerOf(format);
    if (container == SF_FORMAT_WAVEX || container == SF_FORMAT_RF64)
        return SF_FORMAT_WAV;
    return std::ranges::find(kContainers, container, &Name::format) == std::end(kContainers) ? 0 : container;
}

bool isLossy(int format)
{
    return bitsOf(format) == 0 && !isFloatingPoint(format);
}

void checkLossless(const std::string& name, const std::string& file)
{
    if (std::ranges::find(kLossyNames, name) != kLossyNames.end())
        throw UsageError("{} is a lossy format, which wail does not write; pipe into an encoder: wail render "
                         "IN -o - | ffmpeg -i - {}",
                         name, file);
}

void choose(AudioFormat& format, const std::string& name)
{
    checkLossless(name, "OUT." + name);
    if (const int container = find(kContainers, name))
        format.container = container;
    else if (const int type = find(kTypes, name))
        format.type = type;
    else
        throw UsageError(
            "no format '{}'; the containers are wav, flac, aiff, caf, w64 and au, the sample types "
            "pcm8, pcm16, pcm24, pcm32, float and double",
            name);
}

int chooseContainer(const AudioFormat& chosen, const fs::path& file, int input)
{
    if (chosen.container != 0)
        return chosen.container;
    if (const int named = containerNamedBy(file))
        return named;
    const int own = ownContainer(input);
    return own == SF_FORMAT_AU || own == SF_FORMAT_FLAC ? own : SF_FORMAT_WAV;
}

// The sample types to try, the best first.
std::vector<int> typesFor(int chosen, int input)
{
    if (chosen == SF_FORMAT_PCM_S8)
        return {SF_FORMAT_PCM_S8, SF_FORMAT_PCM_U8};  // containers have one or the other
    if (chosen != 0)
        return {chosen};
    switch (isLossy(input) ? 24 : bitsOf(input)) {
    case 8: return {typeOf(input), SF_FORMAT_PCM_S8, SF_FORMAT_PCM_U8};
    case 16: return {SF_FORMAT_PCM_16};
    case 24: return {SF_FORMAT_PCM_24};
    case 32: return {SF_FORMAT_PCM_32, SF_FORMAT_PCM_24};
    default: return {typeOf(input), SF_FORMAT_PCM_24};
    }
}

// WAV has kinds that share its extension.
int wavContainer(const SF_INFO& info, const OutputSource& source)
{
    const double bytes = static_cast<double>(info.frames) * info.channels * sampleBytesOf(info.format);
    if (source.seekable && (info.frames == 0 || bytes > kMaxBytesIn32Bits))
        return SF_FORMAT_RF64;
    return source.hasLayout || containerOf(source.info.format) == SF_FORMAT_WAVEX ? SF_FORMAT_WAVEX
                                                                                  : SF_FORMAT_WAV;
}

}  // namespace

AudioFormat parseAudioFormat(const std::string& text)
{
    AudioFormat format;
    const std::string name = lowerCase(text);
    const std::size_t slash = name.find('/');
    choose(format, name.substr(0, slash));
    if (slash != std::string::npos)
        choose(format, name.substr(slash + 1));
    return format;
}

int containerNamedBy(const fs::path& file)
{
    const std::string extension = extensionOf(file);
    checkLossless(extension, file.string());
    return find(kContainers, extension);
}

void checkOutputName(const fs::path& file, const AudioFormat& chosen)
{
    if (isStream(file))
        return;
    const int named = containerNamedBy(file);
    if (named == 0 && chosen.container == 0)
        throw UsageError(
            "cannot tell the format of {}; end its name in .wav, .flac, .aiff, .caf, .w64 or .au, or "
            "use --format",
            file.string());
    if (named != 0 && chosen.container != 0 && named != chosen.container)
        throw UsageError("cannot write {} as {}; leave out --format or end the name in .{}", file.string(),
                         nameOf(chosen.container), nameOf(chosen.container));
}

std::string outputExtension(const fs::path& input, int inputFormat, const AudioFormat& chosen)
{
    int container = chosen.container;
    if (container == 0)
        container = isLossy(inputFormat) ? SF_FORMAT_FLAC : ownContainer(inputFormat);
    if (container == 0)
        container = SF_FORMAT_WAV;
    const bool fits = find(kContainers, extensionOf(input)) == container;
    return fits ? input.extension().string() : "." + nameOf(container);
}

SF_INFO outputFormat(const AudioFormat& chosen, const fs::path& file, const OutputSource& source)
{
    SF_INFO info = source.info;
    const int container = chooseContainer(chosen, file, info.format);
    if (!source.seekable && container != SF_FORMAT_WAV && container != SF_FORMAT_AU &&
        container != SF_FORMAT_FLAC)
        throw Error("cannot stream {}; use --format wav, au or flac", nameOf(container));
    const bool sameContainer = container == ownContainer(source.info.format);
    for (const int type : typesFor(chosen.type, source.info.format)) {
        for (const int endian : {sameContainer ? source.info.format & SF_FORMAT_ENDMASK : 0, 0}) {
            info.format = container | type | endian;
            if (sf_format_check(&info) == 0)
                continue;
            if (container == SF_FORMAT_WAV)
                info.format = wavContainer(info, source) | type | endian;
            return info;
        }
    }
    throw Error("{} cannot hold {} channels at {} Hz in this sample type; use another --format, such as wav",
                nameOf(container), info.channels, info.samplerate);
}

std::string reasonOf(SNDFILE* sound)
{
    std::string reason = sf_strerror(sound);
    if (reason.starts_with("Error : "))
        reason.erase(0, std::string("Error : ").size());
    if (reason.ends_with('.'))
        reason.pop_back();
    return reason;
}

int bitsOf(int format)
{
    switch (typeOf(format)) {
    case SF_FORMAT_PCM_S8:
    case SF_FORMAT_PCM_U8: return 8;
    case SF_FORMAT_PCM_16:
    case SF_FORMAT_ALAC_16: return 16;
    case SF_FORMAT_PCM_24:
    case SF_FORMAT_ALAC_20:
    case SF_FORMAT_ALAC_24: return 24;
    case SF_FORMAT_PCM_32:
    case SF_FORMAT_ALAC_32: return 32;
    default: return 0;
    }
}

int sampleBytesOf(int format)
{
    switch (typeOf(format)) {
    case SF_FORMAT_FLOAT: return 4;
    case SF_FORMAT_DOUBLE: return 8;
    default: return bitsOf(format) / 8;
    }
}

bool stopsAtEnd(int format)
{
    const int type = typeOf(format);
    return containerOf(format) == SF_FORMAT_FLAC || type == SF_FORMAT_ULAW || type == SF_FORMAT_ALAW ||
           (sampleBytesOf(format) > 0 && type < SF_FORMAT_ALAC_16);
}

bool isFloatingPoint(int format)
{
    return typeOf(format) == SF_FORMAT_FLOAT || typeOf(format) == SF_FORMAT_DOUBLE;
}

bool hasOutputContainer(int format)
{
    return ownContainer(format) != 0;
}

bool isLimitedTo4Gigabytes(int format)
{
    const int container = containerOf(format);
    return container == SF_FORMAT_WAV || container == SF_FORMAT_WAVEX || container == SF_FORMAT_AIFF ||
           container == SF_FORMAT_AU;
}
