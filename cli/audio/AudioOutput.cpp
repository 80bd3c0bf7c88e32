#include "cli/audio/AudioOutput.h"

#include "cli/Error.h"
#include "cli/audio/Metadata.h"
#include "cli/audio/Peak.h"

#include <algorithm>
#include <cmath>
#include <string_view>

namespace
{

constexpr off_t kMaxBytesIn32Bits = 0xfffff000;
constexpr int kMostDitheredBits = 16;

// The header of a stream cannot be completed, so it says that the length is unknown.
void markLengthUnknown(std::span<char> header)
{
    const std::string_view text(header.data(), header.size());
    const auto mark = [&](std::size_t at) {
        if (at + 4 <= header.size())
            std::ranges::fill(header.subspan(at, 4), '\xff');
    };
    if (text.starts_with("RIFF")) {
        mark(4);
        const std::size_t data = text.rfind("data");
        mark(data == std::string_view::npos ? header.size() : data + 4);
    } else if (text.starts_with(".snd")) {
        mark(8);
    }
}

OutputFile& fileOf(void* file)
{
    return *static_cast<OutputFile*>(file);
}

sf_count_t seekIn(sf_count_t offset, int whence, void* file)
{
    const off_t origin = whence == SEEK_SET   ? 0
                         : whence == SEEK_CUR ? fileOf(file).tell()
                                              : fileOf(file).size();
    fileOf(file).seek(origin + offset);
    return fileOf(file).tell();
}

sf_count_t writeTo(const void* bytes, sf_count_t count, void* file)
{
    const std::span data(static_cast<const char*>(bytes), static_cast<std::size_t>(count));
    if (!fileOf(file).isStream() || fileOf(file).tell() > 0)
        return fileOf(file).write(data) ? count : 0;
    std::vector<char> header(data.begin(), data.end());
    markLengthUnknown(header);
    return fileOf(file).write(header) ? count : 0;
}

// libsndfile writes through OutputFile, which remembers the reason of a failure; libsndfile does not.
SF_VIRTUAL_IO virtualOutput = {
    .get_filelen = [](void* file) { return static_cast<sf_count_t>(fileOf(file).size()); },
    .seek = seekIn,
    .read = [](void*, sf_count_t, void*) -> sf_count_t { return 0; },
    .write = writeTo,
    .tell = [](void* file) { return static_cast<sf_count_t>(fileOf(file).tell()); },
};

// Rounds to the nearest value of a type with scale steps to full scale, so that unchanged samples keep their
// bits; libsndfile's own conversion rounds down. unit: one step in the upper bits of an int, where libsndfile
// takes the sample from.
int toInteger(double sample, double scale, int unit)
{
    constexpr double kRound = 0x1.8p52;  // a double of this size has no fraction
    const double value = (sample * scale + kRound) - kRound;
    const double notTooLow = value < -scale ? -scale : value;
    return static_cast<int>(notTooLow > scale - 1.0 ? scale - 1.0 : notTooLow) * unit;
}

SF_INFO chooseFormat(const std::filesystem::path& path, const AudioInput& input,
                     const OutputSettings& settings)
{
    SF_INFO info = input.format();
    info.frames = settings.expectedFrames.value_or(0);
    return outputFormat(settings.format, path, info, !channelLayout(input.handle()).empty());
}

}  // namespace

AudioOutput::AudioOutput(const std::filesystem::path& path, const AudioInput& input,
                         const OutputSettings& settings)
    : file(path), info(chooseFormat(path, input, settings)), dither(settings.dither),
      sound(sf_open_virtual(&virtualOutput, SFM_WRITE, &info, &file), sf_close)
{
    file.check();
    if (sound == nullptr)
        throw Error("cannot write {}: {}", file.name(), reasonOf(nullptr));
    // A file that stays below 4 GB becomes WAV after all.
    sf_command(sound.get(), SFC_RF64_AUTO_DOWNGRADE, nullptr, SF_TRUE);
    // Its time stamp would make every run a different file.
    sf_command(sound.get(), SFC_SET_ADD_PEAK_CHUNK, nullptr, SF_FALSE);
    lost = copyMetadata(input.handle(), {.sound = sound.get(),
                                         .info = info,
                                         .firstFrame = settings.firstFrame,
                                         .isExcerpt = settings.isExcerpt});
}

void AudioOutput::write(std::span<const double> samples)
{
    const auto count = static_cast<sf_count_t>(samples.size());
    const sf_count_t written = isFloatingPoint(info.format)
                                   ? sf_write_double(sound.get(), samples.data(), count)
                                   : writeIntegers(samples);
    file.flush();
    file.check();
    if (written != count)
        throw Error("cannot write {}: {}", file.name(), reasonOf(sound.get()));
    const bool hasNoLimit =
        containerOf(info.format) == SF_FORMAT_RF64 || containerOf(info.format) == SF_FORMAT_W64 ||
        containerOf(info.format) == SF_FORMAT_CAF || containerOf(info.format) == SF_FORMAT_FLAC;
    if (!hasNoLimit && !file.isStream() && file.size() > kMaxBytesIn32Bits)
        throw Error("cannot write {}: the format ends at 4 GB; use --format w64, caf or flac", file.name());
}

sf_count_t AudioOutput::writeIntegers(std::span<const double> samples)
{
    const int bits = bitsOf(info.format);
    const double scale = std::exp2(bits - 1);
    // Values up to half a step beyond the type's range round to its ends.
    const double low = -(scale + 0.5) / scale;
    const double high = (scale - 0.5) / scale;
    if (peakOf(samples) > high)
        numberClipped += std::ranges::count_if(samples, [=](double x) { return x > high || x < low; });
    if (dither && bits <= kMostDitheredBits) {
        dithered.assign(samples.begin(), samples.end());
        addDither(dithered, 1.0 / scale);
        samples = dithered;
    }
    integers.resize(samples.size());
    std::ranges::transform(samples, integers.begin(),
                           [=](double x) { return toInteger(x, scale, 1 << (32 - bits)); });
    return sf_write_int(sound.get(), integers.data(), static_cast<sf_count_t>(samples.size()));
}

// Triangular noise between -1 and 1 steps makes the error of the rounding independent of the signal.
// Source: S. P. Lipshitz, R. A. Wannamaker, J. Vanderkooy, "Quantization and Dither: A Theoretical Survey"
// (1992).
void AudioOutput::addDither(std::span<double> samples, double step)
{
    const auto uniform = [this] { return static_cast<double>(random()) * 0x1p-32; };
    for (double& sample : samples)
        sample += (uniform() - uniform()) * step;
}

void AudioOutput::commit()
{
    const int error = sf_close(sound.release());
    file.check();
    if (error != SF_ERR_NO_ERROR)
        throw Error("cannot complete {}: {}", file.name(), sf_error_number(error));
    file.commit();
}
