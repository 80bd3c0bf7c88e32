#include "cli/audio/AudioFormat.h"

#include "cli/Error.h"
#include "cli/Text.h"
#include "cli/audio/OutputFile.h"

#include <algorithm>
#include <array>
#include <vector>

namespace
{

namespace fs = std::filesystem;

struct Container {
    std::string_view name;
    int format;
};

// The first name of a container is its extension.
constexpr std::array<Container, 7> kContainers{{{"wav", SF_FORMAT_WAV},
                                                {"flac", SF_FORMAT_FLAC},
                                                {"aiff", SF_FORMAT_AIFF},
                                                {"aif", SF_FORMAT_AIFF},
                                                {"caf", SF_FORMAT_CAF},
                                                {"w64", SF_FORMAT_W64},
                                                {"au", SF_FORMAT_AU}}};

struct SampleType {
    std::string_view name;  // empty for types that only inputs have
    int format;
    int bits;
};

constexpr std::array<SampleType, 11> kTypes{{{"pcm8", SF_FORMAT_PCM_S8, 8},
                                             {"", SF_FORMAT_PCM_U8, 8},
                                             {"pcm16", SF_FORMAT_PCM_16, 16},
                                             {"pcm24", SF_FORMAT_PCM_24, 24},
                                             {"pcm32", SF_FORMAT_PCM_32, 32},
                                             {"float", SF_FORMAT_FLOAT, 0},
                                             {"double", SF_FORMAT_DOUBLE, 0},
                                             {"", SF_FORMAT_ALAC_16, 16},
                                             {"", SF_FORMAT_ALAC_20, 24},
                                             {"", SF_FORMAT_ALAC_24, 24},
                                             {"", SF_FORMAT_ALAC_32, 32}}};

constexpr std::array<std::string_view, 7> kLossyNames{"mp3", "ogg", "oga", "opus", "m4a", "aac", "wma"};

constexpr double kMaxBytesIn32Bits = 4294900000.0;  // 2^32 with some room for headers

template <typename Table>
int formatNamed(const Table& table, std::string_view name)
{
    const auto row = std::ranges::find(table, name, [](const auto& entry) { return entry.name; });
    return name.empty() || row == table.end() ? 0 : row->format;
}

std::string nameOf(int container)
{
    return std::string(std::ranges::find(kContainers, container, &Container::format)->name);
}

std::string extensionOf(const fs::path& file)
{
    const std::string extension = lowerCase(file.extension().string());
    return extension.empty() ? extension : extension.substr(1);
}

int typeOf(int format)
{
    return format & SF_FORMAT_SUBMASK;
}

// The container that an output with the same name has; 0 if there is none.
int outputContainer(int format)
{
    const int container = containerOf(format);
    if (container == SF_FORMAT_WAVEX || container == SF_FORMAT_RF64)
        return SF_FORMAT_WAV;
    return std::ranges::count(kContainers, container, &Container::format) > 0 ? container : 0;
}

bool isLossy(int format)
{
    return std::ranges::count(kTypes, typeOf(format), &SampleType::format) == 0;
}

void checkLossless(std::string_view name)
{
    if (std::ranges::count(kLossyNames, name) > 0)
        throw UsageError("wail does not write {}, which is lossy; pipe into an encoder: "
                         "wail render IN -o - | ffmpeg -i - OUT.{}",
                         name, name);
}

void choose(AudioFormat& format, const std::string& name)
{
    checkLossless(name);
    if (const int container = formatNamed(kContainers, name))
        format.container = container;
    else if (const int type = formatNamed(kTypes, name))
        format.type = type;
    else
        throw UsageError(
            "no format '{}'; containers are wav, flac, aiff, caf, w64 and au, sample types pcm8, "
            "pcm16, pcm24, pcm32, float and double",
            name);
}

int chooseContainer(const AudioFormat& chosen, const fs::path& file, int input)
{
    if (chosen.container != 0)
        return chosen.container;
    if (const int named = formatNamed(kContainers, extensionOf(file)))
        return named;
    const int own = outputContainer(input);
    return own == SF_FORMAT_AU || own == SF_FORMAT_FLAC ? own : SF_FORMAT_WAV;
}

// The sample types to try, the best first.
std::vector<int> typesFor(int chosen, int input)
{
    const int own = chosen != 0 ? chosen : typeOf(input);
    switch (isLossy(own) ? 24 : bitsOf(own)) {
    case 8: return {own, SF_FORMAT_PCM_S8, SF_FORMAT_PCM_U8};  // containers have one or the other
    case 16: return {SF_FORMAT_PCM_16};
    case 24: return {SF_FORMAT_PCM_24};
    default: break;
    }
    if (chosen != 0)
        return {chosen};
    return {bitsOf(own) == 32 ? SF_FORMAT_PCM_32 : own, SF_FORMAT_PCM_24};
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

void checkOutputName(const fs::path& file, const AudioFormat& chosen)
{
    const std::string extension = extensionOf(file);
    checkLossless(extension);
    const int named = formatNamed(kContainers, extension);
    if (named == 0 && chosen.container == 0 && !isStream(file))
        throw UsageError(
            "cannot tell the format of {}; end its name in .wav, .flac, .aiff, .caf, .w64 or .au, or "
            "use --format",
            file.string());
    if (named != 0 && chosen.container != 0 && named != chosen.container)
        throw UsageError("cannot write {} as {}; leave out --format or change the name", file.string(),
                         nameOf(chosen.container));
}

std::string outputExtension(const fs::path& input, int inputFormat, const AudioFormat& chosen)
{
    int container = chosen.container;
    if (container == 0)
        container = isLossy(inputFormat) ? SF_FORMAT_FLAC : outputContainer(inputFormat);
    if (container == 0)
        container = SF_FORMAT_WAV;
    const bool fits = formatNamed(kContainers, extensionOf(input)) == container;
    return fits ? input.extension().string() : "." + nameOf(container);
}

SF_INFO outputFormat(const AudioFormat& chosen, const fs::path& file, const OutputSource& source)
{
    SF_INFO info = source.info;
    const int container = chooseContainer(chosen, file, info.format);
    if (!source.seekable && container != SF_FORMAT_WAV && container != SF_FORMAT_AU &&
        container != SF_FORMAT_FLAC)
        throw Error("cannot stream {}; use --format wav, au or flac", nameOf(container));
    const int ownEndian = container == outputContainer(info.format) ? info.format & SF_FORMAT_ENDMASK : 0;
    for (const int type : typesFor(chosen.type, source.info.format)) {
        for (const int endian : {ownEndian, 0}) {
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

int containerOf(int format)
{
    return format & SF_FORMAT_TYPEMASK;
}

int bitsOf(int format)
{
    const auto row = std::ranges::find(kTypes, typeOf(format), &SampleType::format);
    return row == kTypes.end() ? 0 : row->bits;
}

int sampleBytesOf(int format)
{
    const int type = typeOf(format);
    return type == SF_FORMAT_FLOAT ? 4 : type == SF_FORMAT_DOUBLE ? 8 : bitsOf(format) / 8;
}

bool isFloatingPoint(int format)
{
    return typeOf(format) == SF_FORMAT_FLOAT || typeOf(format) == SF_FORMAT_DOUBLE;
}

bool hasOutputContainer(int format)
{
    return outputContainer(format) != 0;
}

bool stopsAtEnd(int format)
{
    const int type = typeOf(format);
    return containerOf(format) == SF_FORMAT_FLAC || (type >= SF_FORMAT_PCM_S8 && type <= SF_FORMAT_ALAW);
}

std::string reasonOf(SNDFILE* sound)
{
    std::string reason = sf_strerror(sound);
    if (reason.starts_with("Error : "))
        reason.erase(0, std::string("Error : ").size());
    return reason.substr(0, reason.find_last_not_of('.') + 1);
}
