#include "cli/AudioFile.h"

#include "cli/Error.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstring>

namespace
{

namespace fs = std::filesystem;

struct Container {
    const char* extension;
    int format;
};

constexpr Container kContainers[] = {
    {".wav", SF_FORMAT_WAV},   {".flac", SF_FORMAT_FLAC}, {".aif", SF_FORMAT_AIFF},
    {".aiff", SF_FORMAT_AIFF}, {".ogg", SF_FORMAT_OGG},   {".mp3", SF_FORMAT_MPEG},
    {".w64", SF_FORMAT_W64},   {".caf", SF_FORMAT_CAF},   {".au", SF_FORMAT_AU},
};

int containerOf(const fs::path& file)
{
    std::string extension = file.extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    std::string known;
    for (const Container& container : kContainers) {
        if (extension == container.extension)
            return container.format;
        known += std::string(known.empty() ? "" : ", ") + container.extension;
    }
    throw Error("cannot tell the format of " + file.string() + "; end its name in one of " + known);
}

// The output's container with the input's sample type, or else the best one that the container has.
SF_INFO outputInfo(const fs::path& file, const AudioInput& input)
{
    SF_INFO info{};
    info.samplerate = input.sampleRate();
    info.channels = input.channels();
    const int container = containerOf(file);
    for (const int type : {input.format() & SF_FORMAT_SUBMASK, SF_FORMAT_PCM_24 + 0, SF_FORMAT_VORBIS + 0,
                           SF_FORMAT_MPEG_LAYER_III + 0, SF_FORMAT_PCM_16 + 0}) {
        info.format = container | type;
        if (sf_format_check(&info) != 0)
            return info;
    }
    throw Error("cannot write " + std::to_string(info.channels) + " channels at " +
                std::to_string(info.samplerate) + " Hz to " + file.string() +
                "; use another format, such as .wav");
}

// Only a file may be replaced, and not the one that is being read.
void checkPlace(const fs::path& file, const fs::path& input)
{
    std::error_code error;
    if (!fs::exists(file, error))
        return;
    if (!fs::is_regular_file(file, error))
        throw Error("cannot write " + file.string() + ": it is there and is no file; choose another name");
    if (fs::equivalent(file, input, error))
        throw Error("cannot write " + file.string() + ": it is the input; choose another name");
}

}  // namespace

AudioInput::AudioInput(fs::path file) : name(std::move(file)), sound(nullptr, sf_close)
{
    std::error_code error;
    if (!fs::exists(name, error))
        throw Error("cannot open " + name.string() + ": no such file");
    sound.reset(sf_open(name.c_str(), SFM_READ, &info));
    if (sound == nullptr)
        throw Error("cannot read " + name.string() + " as audio: " + sf_strerror(nullptr));
}

sf_count_t AudioInput::read(std::span<double> samples, sf_count_t frames)
{
    const sf_count_t got = sf_readf_double(sound.get(), samples.data(), frames);
    if (sf_error(sound.get()) != SF_ERR_NO_ERROR)
        throw Error("cannot read all of " + name.string() + ": " + sf_strerror(sound.get()));
    return got;
}

AudioOutput::AudioOutput(fs::path file, const AudioInput& input)
    : name(std::move(file)), info(outputInfo(name, input)), sound(nullptr, sf_close)
{
    checkPlace(name, input.path());
    std::string pattern = (name.parent_path() / ("." + name.filename().string() + ".XXXXXX")).string();
    const int descriptor = mkstemp(pattern.data());
    if (descriptor < 0)
        throw Error("cannot write " + name.string() + ": " + std::strerror(errno));
    growing = pattern;
    const mode_t mask = umask(0);
    umask(mask);
    fchmod(descriptor, 0666 & ~mask);  // as any new file, and not as mkstemp's, which are private

    sound.reset(sf_open_fd(descriptor, SFM_WRITE, &info, SF_TRUE));
    if (sound == nullptr) {
        fs::remove(growing);
        throw Error("cannot write " + name.string() + ": " + sf_strerror(nullptr));
    }
    sf_command(sound.get(), SFC_SET_CLIPPING, nullptr, SF_TRUE);
}

AudioOutput::~AudioOutput()
{
    std::error_code ignored;
    if (!growing.empty())
        fs::remove(growing, ignored);
}

void AudioOutput::write(std::span<const double> samples)
{
    const auto count = static_cast<sf_count_t>(samples.size());
    if (sf_write_double(sound.get(), samples.data(), count) != count)
        throw Error("cannot write " + name.string() + ": " + sf_strerror(sound.get()));
}

void AudioOutput::keep()
{
    if (sf_close(sound.release()) != SF_ERR_NO_ERROR)
        throw Error("cannot finish " + name.string() + "; is the disk full?");
    std::error_code error;
    fs::rename(growing, name, error);
    if (error)
        throw Error("cannot write " + name.string() + ": " + error.message());
    growing.clear();
}

bool AudioOutput::limits() const
{
    const int type = info.format & SF_FORMAT_SUBMASK;
    return type != SF_FORMAT_FLOAT && type != SF_FORMAT_DOUBLE && type != SF_FORMAT_VORBIS;
}
