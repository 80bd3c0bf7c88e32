#include "cli/audio/AudioInput.h"

#include "cli/Error.h"
#include "cli/audio/AudioFormat.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <numeric>

namespace
{

namespace fs = std::filesystem;

// Ogg codecs keep surround channels in an order of their own; these restore that of WAV and FLAC.
// Source: Vorbis I, section 4.3.9; RFC 7845, section 5.1.1.2; RFC 9639, section 9.1.3.
const std::array<std::vector<std::size_t>, 5> kOggOrders{
    {{0, 2, 1}, {0, 2, 1, 3, 4}, {0, 2, 1, 5, 3, 4}, {0, 2, 1, 6, 5, 3, 4}, {0, 2, 1, 7, 5, 6, 3, 4}}};

std::vector<std::size_t> channelOrder(const SF_INFO& info)
{
    std::vector<std::size_t> order(static_cast<std::size_t>(info.channels));
    std::iota(order.begin(), order.end(), 0);
    const auto ogg = std::ranges::find(kOggOrders, order.size(), &std::vector<std::size_t>::size);
    return containerOf(info.format) == SF_FORMAT_OGG && ogg != kOggOrders.end() ? *ogg : order;
}

// The length in a header; none if it does not tell. Writers into a pipe that do not know the length claim nearly
// 2 or 4 GB, and containers without a length are endless.
std::optional<std::int64_t> framesInHeader(const SF_INFO& info)
{
    constexpr double k2GB = 0x80000000, k4GB = 2.0 * k2GB, kNearly = 0x20000, kEndless = 1e15;
    const double bytes = audioBytes(info);
    const auto isNearly = [bytes](double limit) { return bytes >= limit - kNearly && bytes <= limit; };
    const bool isUnknown = bytes <= 0.0 || bytes > kEndless || isNearly(k2GB) || isNearly(k4GB);
    return isUnknown ? std::nullopt : std::optional<std::int64_t>(info.frames);
}

// libsndfile corrects the length of W64 audio silently. The header has that of the whole file, in bytes.
bool isShortW64(int descriptor, const SF_INFO& info)
{
    constexpr off_t kLengthField = 16;
    struct stat status {
    };
    std::int64_t promised = 0;
    return containerOf(info.format) == SF_FORMAT_W64 && fstat(descriptor, &status) == 0 &&
           pread(descriptor, &promised, sizeof promised, kLengthField) == sizeof promised &&
           promised > status.st_size;
}

}  // namespace

AudioInput::AudioInput(fs::path path)
    : file(std::move(path)),
      bytes(file == "-" ? fdopen(dup(STDIN_FILENO), "rb") : std::fopen(file.c_str(), "rbe"), std::fclose),
      stream(bytes == nullptr ? -1 : fileno(bytes.get()))
{
    struct stat status {
    };
    if (bytes == nullptr || fstat(fileno(bytes.get()), &status) != 0)
        throw Error("cannot open {}: {}", name(), errno == ENOENT ? "no such file" : std::strerror(errno));
    if (S_ISDIR(status.st_mode))
        throw Error("cannot read {} as audio: it is a folder", name());
    isFile = S_ISREG(status.st_mode);
    if (isFile && status.st_size == 0)
        throw Error("cannot read {} as audio: it is empty", name());

    sound.reset(stream.open(&info));
    knownFrames = framesInHeader(info);
    if (isFile)
        openFile();
    else if (stream.isEmpty())
        throw Error("cannot read {} as audio: it is empty", name());
    else if (sound == nullptr || !stopsAtEnd(info.format))
        throw Error("cannot read {} from a pipe: only WAV, AU and FLAC stream, without block codecs; save it "
                    "to a file first",
                    name());
    order = channelOrder(info);
}

// libsndfile finds more in a file than in a stream, such as the metadata behind the audio, but shortens the length
// in the header to what the file holds.
void AudioInput::openFile()
{
    SF_INFO whole{};
    SoundFile opened(sf_open(file == "-" ? "/dev/stdin" : file.c_str(), SFM_READ, &whole), sf_close);
    if (opened == nullptr && sound == nullptr)
        throw Error("cannot read {} as audio: {}; convert it to WAV or FLAC first", name(),
                    reasonOf(nullptr));
    if (opened == nullptr || (whole.frames == 0 && sound != nullptr))
        return;  // it is damaged, or its header does not tell the length: the stream goes on
    const std::int64_t promised = knownFrames.value_or(0);
    sound = std::move(opened);
    info = whole;
    knownFrames = whole.frames < SF_COUNT_MAX ? std::optional<std::int64_t>(whole.frames) : std::nullopt;
    checkLength(isShortW64(fileno(bytes.get()), info) ? -1 : whole.frames, promised);
}

void AudioInput::checkLength(std::int64_t found, std::int64_t promised)
{
    if (found >= promised)
        return;
    cutOff = true;
    // The length of MPEG audio is an estimate.
    if (isFile && containerOf(info.format) != SF_FORMAT_MPEG)
        throw Error("cannot read all of {}: it ends before the length in its header{}", name(),
                    stopsAtEnd(info.format) ? "; if that is all there is, pipe it: cat FILE | wail render -"
                                            : "");
}

void AudioInput::selectChannel(int channel)
{
    if (channel > info.channels)
        throw Error("{} has no channel {}; it has {}", name(), channel, info.channels);
    order = {order[static_cast<std::size_t>(channel - 1)]};
}

std::size_t AudioInput::read(std::span<double> samples, std::size_t count)
{
    const auto width = static_cast<std::size_t>(info.channels);
    const bool isOrdered = order.size() == width && std::ranges::is_sorted(order);
    if (!isOrdered)
        unordered.resize(count * width);
    double* const target = isOrdered ? samples.data() : unordered.data();
    std::size_t got = 0;
    for (sf_count_t more = 1; more > 0 && got < count; got += static_cast<std::size_t>(more))
        more = sf_readf_double(sound.get(), target + got * width, static_cast<sf_count_t>(count - got));
    framesRead += static_cast<std::int64_t>(got);
    if (sf_error(sound.get()) != SF_ERR_NO_ERROR)
        throw Error("cannot read all of {}: {}", name(), reasonOf(sound.get()));
    if (framesRead == 0)
        throw Error("cannot render {}: it holds no audio", name());
    if (got < count)
        checkLength(framesRead, knownFrames.value_or(0));
    if (!isOrdered)
        for (std::size_t i = 0; i < got * order.size(); ++i)
            samples[i] = unordered[i / order.size() * width + order[i % order.size()]];
    if (isFloatingPoint(info.format))
        numberNonFinite += std::ranges::count_if(samples.first(got * order.size()),
                                                 [](double x) { return !std::isfinite(x); });
    return got;
}
