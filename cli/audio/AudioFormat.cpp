#include "cli/audio/AudioFormat.h"

#include "cli/Error.h"
#include "cli/Text.h"
#include "cli/audio/OutputFile.h"

#include <algorithm>
#include <array>
#include <sstream>
#include <vector>

namespace
{

namespace fs = std::filesystem;

struct Name {
    std::string_view name;
    int format;
};

// The first name of a container is its extension.
constexpr std::array<Name, 7> kContainers{{{"wav", SF_FORMAT_WAV},
                                           {"flac", SF_FORMAT_FLAC},
                                           {"aiff", SF_FORMAT_AIFF},
                                           {"aif", SF_FORMAT_AIFF},
                                           {"caf", SF_FORMAT_CAF},
                                           {"w64", SF_FORMAT_W64},
                                           {"au", SF_FORMAT_AU}}};
constexpr std::array<Name, 6> kTypes{{{"pcm8", SF_FORMAT_PCM_S8},
                                      {"pcm16", SF_FORMAT_PCM_16},
                                      {"pcm24", SF_FORMAT_PCM_24},
                                      {"pcm32", SF_FORMAT_PCM_32},
                                      {"float", SF_FORMAT_FLOAT},
                                      {"double", SF_FORMAT_DOUBLE}}};
constexpr std::array<std::string_view, 7> kLossyNames{"mp3", "ogg", "oga", "opus", "m4a", "aac", "wma"};

constexpr double kMaxBytesIn32Bits = 4294900000.0;  // 2^32 with some room for headers

// 0 if the table lacks the name.
int formatNamed(const auto& table, std::string_view name)
{
    const auto row = std::ranges::find(table, name, &Name::name);
    return row == table.end() ? 0 : row->format;
}

std::string nameOf(int container)
{
    return std::string(std::ranges::find(kContainers, container, &Name::format)->name);
}

int containerNamedBy(const fs::path& file)
{
    const std::string extension = lowerCase(file.extension());
    return extension.empty() ? 0 : formatNamed(kContainers, extension.substr(1));
}

int typeOf(int format)
{
    return format & SF_FORMAT_SUBMASK;
}

bool isLossless(int format)
{
    return bitsOf(format) > 0 || isFloatingPoint(format);
}

void checkLossless(std::string_view name)
{
    if (std::ranges::count(kLossyNames, name) > 0)
        throw UsageError("wail does not write {}, which is lossy; pipe into an encoder: "
                         "wail render IN -o - | ffmpeg -i - OUT.{}",
                         name, name);
}

int chooseContainer(const AudioFormat& chosen, const fs::path& file, int inputFormat)
{
    if (chosen.container != 0)
        return chosen.container;
    if (const int named = containerNamedBy(file))
        return named;
    const bool isWav =
        containerOf(inputFormat) == SF_FORMAT_WAVEX || containerOf(inputFormat) == SF_FORMAT_RF64;
    const int own = isWav ? SF_FORMAT_WAV : containerOf(inputFormat);
    if (isStream(file))
        return own == SF_FORMAT_AU || own == SF_FORMAT_FLAC ? own : SF_FORMAT_WAV;
    if (!isLossless(inputFormat))
        return SF_FORMAT_FLAC;
    return std::ranges::count(kContainers, own, &Name::format) > 0 ? own : SF_FORMAT_WAV;
}

// The sample types to try, the best first. Containers have signed or unsigned bytes.
std::vector<int> chooseTypes(int chosen, int inputFormat)
{
    const int best = chosen != 0 ? chosen : typeOf(inputFormat);
    if (bitsOf(best) == 8)
        return {SF_FORMAT_PCM_S8, SF_FORMAT_PCM_U8};
    if (chosen != 0)
        return {chosen};
    return {isLossless(best) ? best : SF_FORMAT_PCM_24, SF_FORMAT_PCM_24};
}

// WAV has kinds that share its extension: one for more than 4 GB, one for channels with named places.
int kindOfWav(const SF_INFO& info, const fs::path& file, bool hasLayout)
{
    if (!isStream(file) && (info.frames == 0 || audioBytes(info) > kMaxBytesIn32Bits))
        return SF_FORMAT_RF64;
    return hasLayout ? SF_FORMAT_WAVEX : SF_FORMAT_WAV;
}

}  // namespace

AudioFormat parseAudioFormat(const std::string& text)
{
    AudioFormat format;
    std::istringstream names(lowerCase(text));
    for (std::string name; std::getline(names, name, '/');) {
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
    return format;
}

void checkOutputName(const fs::path& file, const AudioFormat& chosen)
{
    const std::string extension = lowerCase(file.extension());
    checkLossless(extension.substr(extension.empty() ? 0 : 1));
    const int named = containerNamedBy(file);
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
    const int container = chooseContainer(chosen, {}, inputFormat);
    return containerNamedBy(input) == container ? input.extension().string() : "." + nameOf(container);
}

SF_INFO outputFormat(const AudioFormat& chosen, const fs::path& file, const SF_INFO& input, bool hasLayout)
{
    const int container = chooseContainer(chosen, file, input.format);
    const bool streams =
        container == SF_FORMAT_WAV || container == SF_FORMAT_AU || container == SF_FORMAT_FLAC;
    if (isStream(file) && !streams)
        throw Error("cannot stream {}; use --format wav, au or flac", nameOf(container));
    SF_INFO info = input;
    for (const int type : chooseTypes(chosen.type, input.format)) {
        info.format = container | type;
        if (sf_format_check(&info) == 0)
            continue;
        if (container == SF_FORMAT_WAV)
            info.format = kindOfWav(info, file, hasLayout) | type;
        return info;
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
    constexpr std::array<int, 6> kBits{0, 8, 16, 24, 32, 8};  // SF_FORMAT_PCM_S8 is 1, SF_FORMAT_PCM_U8 is 5
    const auto type = static_cast<std::size_t>(typeOf(format));
    return type < kBits.size() ? kBits[type] : 0;
}

bool isFloatingPoint(int format)
{
    return typeOf(format) == SF_FORMAT_FLOAT || typeOf(format) == SF_FORMAT_DOUBLE;
}

double audioBytes(const SF_INFO& info)
{
    const int type = typeOf(info.format);
    const int floatBytes = type == SF_FORMAT_DOUBLE ? 8 : type == SF_FORMAT_FLOAT ? 4 : 1;
    const int bytes = std::max(floatBytes, bitsOf(type) / 8);
    return static_cast<double>(info.frames) * info.channels * bytes;
}

bool stopsAtEnd(int format)
{
    const int container = containerOf(format);
    return container == SF_FORMAT_FLAC || container == SF_FORMAT_OGG || typeOf(format) <= SF_FORMAT_ALAW;
}

std::string reasonOf(SNDFILE* sound)
{
    const std::string reason = sf_strerror(sound);
    const std::size_t begin = reason.starts_with("Error : ") ? 8 : 0;
    return reason.substr(begin, reason.find_last_not_of('.') + 1 - begin);
}
