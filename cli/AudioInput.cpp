#include "cli/AudioInput.h"

#include "cli/AudioFormat.h"
#include "cli/Error.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <string_view>

namespace
{

namespace fs = std::filesystem;

// Writers that stream put one of these into the header for a length that they do not know: 0, or a number of
// bytes that is this one or more.
constexpr std::int64_t kUnknownLength = 0x7ffe0000;

// Whether the first bytes in a pipe, which stay there, are those of a format whose reader never goes back.
bool readsForwards(int pipeEnd)
{
#ifdef __linux__
    int copy[2];
    if (pipe(copy) != 0)
        return false;
    std::array<char, 4> magic{};
    const ssize_t copied = tee(pipeEnd, copy[1], magic.size(), 0);
    const ssize_t got = copied > 0 ? ::read(copy[0], magic.data(), magic.size()) : 0;
    close(copy[0]);
    close(copy[1]);
    const std::string_view start(magic.data(), static_cast<std::size_t>(std::max<ssize_t>(got, 0)));
    return start == "RIFF" || start == ".snd" || start == "OggS";
#else
    (void)pipeEnd;
    return false;
#endif
}

// Moves what the pipe holds into a file that has no name, so that it goes with its descriptor.
int spool(int pipeEnd)
{
    std::string pattern = (fs::temp_directory_path() / "wail.XXXXXX").string();
    const int stored = mkstemp(pattern.data());
    if (stored < 0)
        throw Error("cannot store the input in " + pattern + ": " + std::strerror(errno));
    unlink(pattern.c_str());
    std::array<char, 1 << 16> bytes;
    for (ssize_t got = 0; (got = ::read(pipeEnd, bytes.data(), bytes.size())) > 0;)
        if (::write(stored, bytes.data(), static_cast<std::size_t>(got)) != got)
            throw Error("cannot store the input in " + pattern + ": " + std::strerror(errno));
    close(pipeEnd);
    lseek(stored, 0, SEEK_SET);
    return stored;
}

int openDescriptor(const fs::path& file)
{
    const int descriptor = file == "-" ? dup(STDIN_FILENO) : ::open(file.c_str(), O_RDONLY | O_CLOEXEC);
    struct stat status {
    };
    if (descriptor < 0 || fstat(descriptor, &status) != 0)
        throw Error("cannot open " + file.string() + ": " +
                    (errno == ENOENT ? "no such file" : std::strerror(errno)));
    if (S_ISDIR(status.st_mode))
        throw Error("cannot read " + file.string() + " as audio: it is a folder");
    if (S_ISREG(status.st_mode) && status.st_size == 0)
        throw Error("cannot read " + (file == "-" ? "standard input" : file.string()) +
                    " as audio: it is empty");
    return S_ISREG(status.st_mode) || readsForwards(descriptor) ? descriptor : spool(descriptor);
}

// The number that stands behind the label; 0 where there is none.
std::int64_t numberBehind(std::string_view label, std::string_view line)
{
    std::int64_t number = 0;
    const std::size_t at = line.find(label);
    if (at != std::string_view::npos)
        std::from_chars(line.data() + at + label.size(), line.data() + line.size(), number);
    return number;
}

// libsndfile shortens what a header promises to what the file holds, and notes it in its log as
// "data : 96000 (should be 49956)", with the names that its containers have for audio.
bool isCutOff(SNDFILE* sound)
{
    std::array<char, 1 << 14> log{};
    sf_command(sound, SFC_GET_LOG_INFO, log.data(), static_cast<int>(log.size() - 1));
    std::istringstream lines(log.data());
    for (std::string line; std::getline(lines, line);) {
        const std::int64_t actual = numberBehind(" (should be ", line);
        const std::int64_t promised = numberBehind(": ", line);
        const std::string_view name =
            std::string_view(line).substr(std::min(line.size(), line.find_first_not_of(' ')));
        const bool isAudio = name.starts_with("data ") || name.starts_with("SSND ") ||
                             name.starts_with("Data Size ") || name.starts_with("riff ");
        if (isAudio && line.find(" (should be ") != std::string::npos && promised > actual &&
            promised < kUnknownLength)
            return true;
    }
    return false;
}

}  // namespace

AudioInput::AudioInput(fs::path path) : file(std::move(path)), sound(nullptr, sf_close)
{
    sound.reset(sf_open_fd(openDescriptor(file), SFM_READ, &info, SF_TRUE));
    if (sound == nullptr)
        throw Error("cannot read " + name() + " as audio: " + reasonOf(nullptr));
    if (info.frames == 0)
        throw Error("cannot render " + name() + ": it holds no audio");
    const int frameBytes = info.channels * std::max(1, sampleBytesOf(info.format));
    if (info.seekable == 0 && info.frames >= kUnknownLength / frameBytes)
        info.frames = 0;
    if (isCutOff(sound.get()))
        throw Error("cannot read all of " + name() + ": it ends before the length that its header promises");
}

sf_count_t AudioInput::read(std::span<double> samples, sf_count_t count)
{
    sf_count_t got = 0;
    for (sf_count_t more = 1; more > 0 && got < count; got += more)
        more = sf_readf_double(sound.get(), samples.data() + got * channels(), count - got);
    framesRead += got;
    if (sf_error(sound.get()) != SF_ERR_NO_ERROR)
        throw Error("cannot read all of " + name() + ": " + reasonOf(sound.get()));
    const bool lengthIsExact = (info.format & SF_FORMAT_TYPEMASK) != SF_FORMAT_MPEG;
    if (got < count && lengthIsExact && framesRead < frames().value_or(0))
        throw Error("cannot read all of " + name() + ": it ends before the length that its header promises");
    return got;
}

std::optional<std::int64_t> AudioInput::frames() const
{
    return info.frames > 0 ? std::optional<std::int64_t>(info.frames) : std::nullopt;
}

std::string AudioInput::name() const
{
    return file == "-" ? "standard input" : file.string();
}
