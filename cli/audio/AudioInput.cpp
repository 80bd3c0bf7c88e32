#include "cli/audio/AudioInput.h"

#include "cli/Error.h"
#include "cli/audio/AudioFormat.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <iterator>

namespace
{

namespace fs = std::filesystem;

// Writers into a pipe that do not know the length put a number of bytes into the header that is this or more.
constexpr std::int64_t kUnknownBytes = 0x7ffe0000;
constexpr std::int64_t kUnknownFlacFrames = (1LL << 36) - 1;

// Ogg codecs keep surround channels in an order of their own; these restore that of WAV and FLAC.
// Source: Vorbis I, section 4.3.9; RFC 7845, section 5.1.1.2; RFC 9639, section 9.1.3.
const std::array<std::vector<std::size_t>, 9> kOggOrders{{{},
                                                          {},
                                                          {},
                                                          {0, 2, 1},
                                                          {},
                                                          {0, 2, 1, 3, 4},
                                                          {0, 2, 1, 5, 3, 4},
                                                          {0, 2, 1, 6, 5, 3, 4},
                                                          {0, 2, 1, 7, 5, 6, 3, 4}}};

// The length in the header of a stream; none if the header does not tell.
std::optional<std::int64_t> framesInHeader(const SF_INFO& info)
{
    const int frameBytes = info.channels * std::max(1, sampleBytesOf(info.format));
    const std::int64_t unknown =
        containerOf(info.format) == SF_FORMAT_FLAC ? kUnknownFlacFrames : kUnknownBytes / frameBytes;
    return info.frames > 0 && info.frames < unknown ? std::optional<std::int64_t>(info.frames) : std::nullopt;
}

// libsndfile corrects the length of W64 audio silently. The header has the length of the whole file, in
// bytes.
bool isShortW64(int descriptor, off_t fileSize)
{
    constexpr off_t kSizeField = 16;
    std::int64_t promised = 0;
    return pread(descriptor, &promised, sizeof promised, kSizeField) == sizeof promised &&
           promised > fileSize;
}

}  // namespace

AudioInput::AudioInput(fs::path path)
    : file(std::move(path)),
      stdio(file == "-" ? fdopen(dup(STDIN_FILENO), "rb") : std::fopen(file.c_str(), "rbe"), std::fclose),
      sound(nullptr, sf_close)
{
    struct stat status {
    };
    if (stdio == nullptr || fstat(descriptor(), &status) != 0)
        throw Error("cannot open {}: {}", name(), errno == ENOENT ? "no such file" : std::strerror(errno));
    if (S_ISDIR(status.st_mode))
        throw Error("cannot read {} as audio: it is a folder", name());
    isFile = S_ISREG(status.st_mode);
    if (isFile && status.st_size == 0)
        throw Error("cannot read {} as audio: it is empty", name());
    open();
    if (containerOf(info.format) == SF_FORMAT_OGG && info.channels < std::ssize(kOggOrders))
        order = kOggOrders[static_cast<std::size_t>(info.channels)];
}

void AudioInput::open()
{
    if (isFile) {
        openFile();
    } else if (!openStream()) {
        store();
        openFile();
    }
    if (sound == nullptr)
        throw Error("cannot read {} as audio: {}", name(), reasonOf(nullptr));
    if (cutOff)
        reportCut();
}

// Opens formats whose length is in the header and whose decoders stop where the data end.
bool AudioInput::openStream()
{
    info = {};
    stream = std::make_unique<ByteStream>(descriptor());
    sound.reset(stream->open(&info));
    if (sound == nullptr || !stopsAtEnd(info.format))
        return false;
    knownFrames = framesInHeader(info);
    return true;
}

// libsndfile shortens the length in the header to what the file holds; read as a stream, it tells the
// header's.
void AudioInput::openFile()
{
    const bool isStreamable = openStream();
    if (containerOf(info.format) == SF_FORMAT_FLAC)
        return;
    const std::optional<std::int64_t> promised =
        sound != nullptr && hasOutputContainer(info.format) ? framesInHeader(info) : std::nullopt;
    sound.reset();
    lseek(descriptor(), 0, SEEK_SET);
    info = {};
    sound.reset(sf_open_fd(dup(descriptor()), SFM_READ, &info, SF_TRUE));
    if (isStreamable && (sound == nullptr || info.frames == 0)) {
        lseek(descriptor(), 0, SEEK_SET);
        openStream();
        return;
    }
    struct stat status {
    };
    fstat(descriptor(), &status);
    cutOff = info.frames < promised.value_or(0) ||
             (containerOf(info.format) == SF_FORMAT_W64 && isShortW64(descriptor(), status.st_size));
    knownFrames = info.frames < SF_COUNT_MAX ? std::optional<std::int64_t>(info.frames) : std::nullopt;
}

// Moves what the pipe holds into a file without a name, which disappears with its descriptor.
void AudioInput::store()
{
    const char* const variable = std::getenv("TMPDIR");
    const std::string folder = variable == nullptr || *variable == '\0' ? "/tmp" : variable;
    std::string pattern = folder + "/wail-XXXXXX";
    const int stored = mkstemp(pattern.data());
    const auto fail = [&] {
        throw Error("cannot store {} in {}: {}; set TMPDIR to a folder with room", name(), folder,
                    std::strerror(errno));
    };
    if (stored < 0)
        fail();
    unlink(pattern.c_str());
    Stdio storage(fdopen(stored, "w+b"), std::fclose);
    sound.reset();
    stream->seek(0);
    std::array<char, 1 << 16> bytes;
    for (std::size_t got = 0; (got = stream->read(bytes.data(), bytes.size())) > 0;)
        if (std::fwrite(bytes.data(), 1, got, storage.get()) != got)
            fail();
    if (std::fflush(storage.get()) != 0)
        fail();
    lseek(stored, 0, SEEK_SET);
    stream.reset();
    stdio = std::move(storage);
}

void AudioInput::selectChannel(int channel)
{
    if (channel > info.channels)
        throw Error("{} has no channel {}; it has {}", name(), channel, info.channels);
    const auto index = static_cast<std::size_t>(channel - 1);
    order = {order.empty() ? index : order[index]};
}

std::size_t AudioInput::read(std::span<double> samples, std::size_t count)
{
    if (!order.empty())
        unordered.resize(count * static_cast<std::size_t>(info.channels));
    double* const target = order.empty() ? samples.data() : unordered.data();
    std::size_t got = 0;
    for (sf_count_t more = 1; more > 0 && got < count; got += static_cast<std::size_t>(more))
        more = sf_readf_double(sound.get(), target + got * static_cast<std::size_t>(info.channels),
                               static_cast<sf_count_t>(count - got));
    framesRead += static_cast<std::int64_t>(got);
    if (sf_error(sound.get()) != SF_ERR_NO_ERROR)
        throw Error("cannot read all of {}: {}", name(), reasonOf(sound.get()));
    if (framesRead == 0)
        throw Error("cannot render {}: it holds no audio", name());
    if (got < count && framesRead < knownFrames.value_or(0))
        reportCut();
    if (!order.empty())
        for (std::size_t i = 0; i < got * order.size(); ++i)
            samples[i] = unordered[i / order.size() * static_cast<std::size_t>(info.channels) +
                                   order[i % order.size()]];
    if (isFloatingPoint(info.format))
        numberNonFinite += std::ranges::count_if(samples.first(got * static_cast<std::size_t>(channels())),
                                                 [](double x) { return !std::isfinite(x); });
    return got;
}

void AudioInput::reportCut()
{
    // The length of MPEG audio is an estimate.
    if (isFile && containerOf(info.format) != SF_FORMAT_MPEG)
        throw Error(
            "cannot read all of {}: it ends before the length in its header; if that is all there is, "
            "pipe it: cat FILE | wail render -",
            name());
    cutOff = true;
}

int AudioInput::channels() const
{
    return order.empty() ? info.channels : static_cast<int>(order.size());
}

std::optional<std::int64_t> AudioInput::frames() const
{
    return knownFrames;
}

std::string AudioInput::name() const
{
    return file == "-" ? "standard input" : file.string();
}
