#include "cli/AudioOutput.h"

#include "cli/Error.h"
#include "cli/Peak.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <string_view>

namespace
{

constexpr off_t kMaxBytesIn32Bits = 0xfffff000;

// A header that streams has no way to be completed, so it says that the length is not known.
void markLengthUnknown(std::span<char> header)
{
    const std::string_view text(header.data(), header.size());
    const auto mark = [&](std::size_t at) {
        if (at + 4 <= header.size())
            std::ranges::fill(header.subspan(at, 4), '\xff');
    };
    if (text.starts_with("RIFF")) {
        mark(4);
        const std::size_t data = text.find("data", 12);
        mark(data == std::string_view::npos ? data - 4 : data + 4);
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
    const auto size = static_cast<std::size_t>(count);
    if (!fileOf(file).streams() || fileOf(file).size() > 0)
        return fileOf(file).write(bytes, size) ? count : 0;
    std::vector<char> header(size);
    std::memcpy(header.data(), bytes, size);
    markLengthUnknown(header);
    return fileOf(file).write(header.data(), size) ? count : 0;
}

// libsndfile writes through the file, which remembers why a write failed; libsndfile does not.
SF_VIRTUAL_IO virtualFile = {
    .get_filelen = [](void* file) { return static_cast<sf_count_t>(fileOf(file).size()); },
    .seek = seekIn,
    .read =
        [](void* bytes, sf_count_t count, void* file) {
            return static_cast<sf_count_t>(fileOf(file).read(bytes, static_cast<std::size_t>(count)));
        },
    .write = writeTo,
    .tell = [](void* file) { return static_cast<sf_count_t>(fileOf(file).tell()); },
};

// Rounds to the nearest value of a type with scale steps to full scale, so that what came from this type and
// was not changed returns to the bit; libsndfile's own conversion rounds down. unit: a step as the upper bits
// of an int, which is where libsndfile takes it from.
void toIntegers(std::span<const double> samples, double scale, int unit, int* integers)
{
    constexpr double kRound = 0x1.8p52;  // a double of this size has no fraction
    const double* const from = samples.data();
    for (std::size_t i = 0, length = samples.size(); i < length; ++i) {
        const double value = (from[i] * scale + kRound) - kRound;
        const double notTooLow = value < -scale ? -scale : value;
        const double inside = notTooLow > scale - 1.0 ? scale - 1.0 : notTooLow;
        integers[i] = static_cast<int>(inside) * unit;
    }
}

void copyTexts(SNDFILE* from, SNDFILE* to)
{
    for (int text = SF_STR_FIRST; text <= SF_STR_LAST; ++text)
        if (const char* const content = sf_get_string(from, text);
            content != nullptr && text != SF_STR_SOFTWARE)
            sf_set_string(to, text, content);
}

}  // namespace

AudioOutput::AudioOutput(const std::filesystem::path& place, const AudioFormat& chosen,
                         const AudioInput& input)
    : info(outputFormat(chosen, place, input.path(), input.format())), file(place), sound(nullptr, sf_close)
{
    sound.reset(sf_open_virtual(&virtualFile, SFM_WRITE, &info, &file));
    file.check();
    if (sound == nullptr)
        throw Error("cannot write " + file.name() + ": " + reasonOf(nullptr));
    sf_command(sound.get(), SFC_SET_CLIPPING, nullptr, SF_TRUE);
    // Its time stamp would make every run a different file.
    sf_command(sound.get(), SFC_SET_ADD_PEAK_CHUNK, nullptr, SF_FALSE);
    copyTexts(input.handle(), sound.get());
}

void AudioOutput::write(std::span<const double> samples)
{
    const auto count = static_cast<sf_count_t>(samples.size());
    if (keepsOverloads(info.format))
        check(sf_write_double(sound.get(), samples.data(), count) == count);
    else if (bitsOf(info.format) > 0)
        writeIntegers(samples);
    else
        writeLimited(samples);
    if (countsIn32Bits(info.format) && !file.streams() && file.size() > kMaxBytesIn32Bits)
        throw Error("cannot write " + file.name() +
                    ": the format ends at 4 GB; use --format rf64, w64 or flac");
}

void AudioOutput::writeIntegers(std::span<const double> samples)
{
    const int bits = bitsOf(info.format);
    const double scale = std::exp2(bits - 1);
    integers.resize(samples.size());
    toIntegers(samples, scale, 1 << (32 - bits), integers.data());
    // Rounding stays within the type's values half a step beyond the last of them.
    countClipped(samples, -(scale + 0.5) / scale, (scale - 0.5) / scale);
    const auto count = static_cast<sf_count_t>(samples.size());
    check(sf_write_int(sound.get(), integers.data(), count) == count);
}

void AudioOutput::writeLimited(std::span<const double> samples)
{
    limited.resize(samples.size());
    std::ranges::transform(samples, limited.begin(),
                           [](double sample) { return std::clamp(sample, -1.0, 1.0); });
    countClipped(samples, -1.0, 1.0);
    const auto count = static_cast<sf_count_t>(samples.size());
    check(sf_write_double(sound.get(), limited.data(), count) == count);
}

void AudioOutput::countClipped(std::span<const double> samples, double low, double high)
{
    if (peakOf(samples) > high)
        clipped += std::ranges::count_if(samples, [=](double x) { return x > high || x < low; });
}

void AudioOutput::check(bool done) const
{
    file.check();
    if (!done)
        throw Error("cannot write " + file.name() + ": " + reasonOf(sound.get()));
}

void AudioOutput::keep()
{
    const int error = sf_close(sound.release());
    file.check();
    if (error != SF_ERR_NO_ERROR)
        throw Error("cannot finish " + file.name() + ": " + sf_error_number(error));
    file.keep();
}
