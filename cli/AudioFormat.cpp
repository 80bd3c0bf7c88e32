#include "cli/AudioFormat.h"

#include "cli/Error.h"
#include "cli/OutputFile.h"
#include "cli/Suggestion.h"

#include <algorithm>
#include <cctype>
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
    {"wav", SF_FORMAT_WAV},   {"flac", SF_FORMAT_FLAC}, {"aiff", SF_FORMAT_AIFF}, {"aif", SF_FORMAT_AIFF},
    {"ogg", SF_FORMAT_OGG},   {"oga", SF_FORMAT_OGG},   {"mp3", SF_FORMAT_MPEG},  {"caf", SF_FORMAT_CAF},
    {"rf64", SF_FORMAT_RF64}, {"w64", SF_FORMAT_W64},   {"au", SF_FORMAT_AU},     {"wav", SF_FORMAT_WAVEX},
};

constexpr Name kTypes[] = {
    {"pcm8", SF_FORMAT_PCM_S8},  {"pcm16", SF_FORMAT_PCM_16}, {"pcm24", SF_FORMAT_PCM_24},
    {"pcm32", SF_FORMAT_PCM_32}, {"float", SF_FORMAT_FLOAT},  {"double", SF_FORMAT_DOUBLE},
};

constexpr const char* kOpus = "opus";  // a sample type that has an extension: its container is Ogg

constexpr int kFallbackTypes[] = {SF_FORMAT_PCM_24, SF_FORMAT_VORBIS, SF_FORMAT_MPEG_LAYER_III,
                                  SF_FORMAT_PCM_16};

constexpr double kMaxBytesIn32Bits = 4294900000.0;  // 2^32 with some room for headers

std::string lowerCase(std::string text)
{
    std::ranges::transform(text, text.begin(), [](unsigned char c) { return std::tolower(c); });
    return text;
}

int find(std::span<const Name> names, const std::string& name)
{
    const auto found = std::ranges::find_if(names, [&](const Name& entry) { return name == entry.name; });
    return found == names.end() ? 0 : found->format;
}

std::vector<std::string> allNames()
{
    std::vector<std::string> names;
    for (const Name& container : kContainers)
        if (std::ranges::find(names, container.name) == names.end())
            names.emplace_back(container.name);
    names.emplace_back(kOpus);
    for (const Name& type : kTypes)
        names.emplace_back(type.name);
    return names;
}

void choose(AudioFormat& format, const std::string& name)
{
    if (const int container = find(kContainers, name))
        format.container = container;
    else if (const int type = find(kTypes, name))
        format.type = type;
    else if (name == kOpus)
        format = {SF_FORMAT_OGG, SF_FORMAT_OPUS};
    else
        throw Error("no format '" + name + "'" + didYouMean(name, allNames()));
}

// The place's extension in lower case, without its dot.
std::string nameIn(const fs::path& place)
{
    const std::string extension = lowerCase(place.extension().string());
    return extension.empty() ? extension : extension.substr(1);
}

// The container that the place's extension names; 0 where it names none.
int containerIn(const fs::path& place)
{
    const std::string name = nameIn(place);
    return name == kOpus ? SF_FORMAT_OGG : find(kContainers, name);
}

// The container of an output for which none was chosen; 0 where the place does not tell.
int containerFor(const fs::path& place, const fs::path& input, const SF_INFO& source)
{
    const int own = source.format & SF_FORMAT_TYPEMASK;
    if (isStream(place))
        return streams(own) ? own : SF_FORMAT_WAV;
    const std::string name = nameIn(place);
    const bool isInputs = name == nameIn(input) || "." + name == extensionOf(own);
    return !name.empty() && isInputs ? own : containerIn(place);
}

// WAV comes in kinds that share its extension.
int familyOf(int container)
{
    return container == SF_FORMAT_WAVEX || container == SF_FORMAT_RF64 ? SF_FORMAT_WAV : container;
}

// Refuses a chosen container that is not the one that the place's extension names.
void checkExtension(int chosen, const fs::path& place)
{
    const int named = containerIn(place);
    if (chosen != 0 && named != 0 && familyOf(chosen) != familyOf(named))
        throw Error("cannot write " + place.string() + " as " + extensionOf(chosen).substr(1) +
                    "; leave out --format or end the name in " + extensionOf(chosen));
}

// The sample types to try, in this order.
std::vector<int> typesFor(const AudioFormat& chosen, const fs::path& place, const SF_INFO& source)
{
    if (chosen.type == SF_FORMAT_PCM_S8)
        return {SF_FORMAT_PCM_S8, SF_FORMAT_PCM_U8};  // a container has one of the two
    if (chosen.type != 0)
        return {chosen.type};
    std::vector<int> types(std::begin(kFallbackTypes), std::end(kFallbackTypes));
    types.insert(types.begin(), source.format & SF_FORMAT_SUBMASK);
    if (chosen.container == 0 && nameIn(place) == kOpus)
        types.insert(types.begin(), SF_FORMAT_OPUS);
    return types;
}

// WAV counts its bytes in 32 bits, RF64 in 64.
int containerWithRoom(int format, const SF_INFO& source)
{
    const double bytes = static_cast<double>(source.frames) * source.channels * sampleBytesOf(format);
    const int container = format & SF_FORMAT_TYPEMASK;
    const bool isWav = container == SF_FORMAT_WAV || container == SF_FORMAT_WAVEX;
    return isWav && bytes > kMaxBytesIn32Bits ? SF_FORMAT_RF64 | (format & SF_FORMAT_SUBMASK) : format;
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

std::string extensionOf(int container)
{
    for (const Name& entry : kContainers)
        if (entry.format == container)
            return std::string(".") + entry.name;
    return "";
}

SF_INFO outputFormat(const AudioFormat& chosen, const fs::path& place, const fs::path& input,
                     const SF_INFO& source)
{
    checkExtension(chosen.container, place);
    SF_INFO info{};
    info.samplerate = source.samplerate;
    info.channels = source.channels;
    const int container = chosen.container != 0 ? chosen.container : containerFor(place, input, source);
    if (container == 0)
        throw Error("cannot tell the format of " + place.string() +
                    "; give it an extension such as .wav, or --format");
    const bool sameContainer = container == (source.format & SF_FORMAT_TYPEMASK);
    for (const int type : typesFor(chosen, place, source)) {
        for (const int endian : {sameContainer ? source.format & SF_FORMAT_ENDMASK : 0, 0}) {
            info.format = container | type | endian;
            if (sf_format_check(&info) == 0)
                continue;
            if (!isStream(place))
                info.format = containerWithRoom(info.format, source);
            else if (!streams(info.format))
                throw Error("cannot stream " + extensionOf(container).substr(1) +
                            "; use --format wav, au or flac");
            return info;
        }
    }
    throw Error("cannot write " + std::to_string(info.channels) + " channels at " +
                std::to_string(info.samplerate) + " Hz to " + place.string() +
                " in this format; use another --format, such as wav");
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

bool streams(int format)
{
    switch (format & SF_FORMAT_TYPEMASK) {
    case SF_FORMAT_WAV:
    case SF_FORMAT_WAVEX:
    case SF_FORMAT_AU:
    case SF_FORMAT_FLAC:
    case SF_FORMAT_OGG:
    case SF_FORMAT_MPEG: return true;
    default: return false;
    }
}

int bitsOf(int format)
{
    switch (format & SF_FORMAT_SUBMASK) {
    case SF_FORMAT_PCM_S8:
    case SF_FORMAT_PCM_U8: return 8;
    case SF_FORMAT_PCM_16:
    case SF_FORMAT_ALAC_16: return 16;
    case SF_FORMAT_ALAC_20: return 20;
    case SF_FORMAT_PCM_24:
    case SF_FORMAT_ALAC_24: return 24;
    case SF_FORMAT_PCM_32:
    case SF_FORMAT_ALAC_32: return 32;
    default: return 0;
    }
}

int sampleBytesOf(int format)
{
    switch (format & SF_FORMAT_SUBMASK) {
    case SF_FORMAT_FLOAT: return 4;
    case SF_FORMAT_DOUBLE: return 8;
    default: return bitsOf(format) / 8;
    }
}

bool keepsOverloads(int format)
{
    const int type = format & SF_FORMAT_SUBMASK;
    return type == SF_FORMAT_FLOAT || type == SF_FORMAT_DOUBLE || type == SF_FORMAT_VORBIS;
}

bool countsIn32Bits(int format)
{
    const int container = format & SF_FORMAT_TYPEMASK;
    return container == SF_FORMAT_WAV || container == SF_FORMAT_WAVEX || container == SF_FORMAT_AIFF ||
           container == SF_FORMAT_AU;
}
