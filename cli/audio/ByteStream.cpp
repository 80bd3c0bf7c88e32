#include "cli/audio/ByteStream.h"

#include <unistd.h>

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string_view>

namespace
{

constexpr std::uint32_t kUnknownLength = 0x7ffe0000;  // or more: what writers into a pipe put for a length
constexpr sf_count_t kEndless = std::numeric_limits<sf_count_t>::max() / 4;

// Like POSIX read, but complete: fewer bytes mean the end, or an error, which counts as the end.
std::size_t readFully(int descriptor, char* bytes, std::size_t count)
{
    std::size_t done = 0;
    while (done < count) {
        const ssize_t got = ::read(descriptor, bytes + done, count - done);
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            break;
        done += static_cast<std::size_t>(got);
    }
    return done;
}

// Writers that cannot go back leave 0 as the length of a WAV file's data, and libsndfile then reads none. The
// largest length makes it read to the end. If the RIFF chunk is longer than this header, the data are empty.
void repairWavLength(std::vector<char>& head)
{
    static_assert(std::endian::native == std::endian::little);  // as the fields are
    const auto field = [&](std::size_t at) {
        std::uint32_t value = 0;
        std::memcpy(&value, head.data() + at, sizeof value);
        return value;
    };
    const std::string_view text(head.data(), head.size());
    if (!text.starts_with("RIFF"))
        return;
    for (std::size_t chunk = 12; chunk + 8 <= head.size();) {
        const std::size_t size = field(chunk + 4);
        if (text.substr(chunk, 4) == "data") {
            if (size == 0 && (field(4) <= chunk || field(4) >= kUnknownLength))
                std::fill_n(head.begin() + static_cast<std::ptrdiff_t>(chunk + 4), 4, '\xff');
            return;
        }
        chunk += 8 + size + size % 2;
    }
}

ByteStream& streamOf(void* stream)
{
    return *static_cast<ByteStream*>(stream);
}

sf_count_t seekIn(sf_count_t offset, int whence, void* stream)
{
    const sf_count_t origin = whence == SEEK_SET   ? 0
                              : whence == SEEK_CUR ? static_cast<sf_count_t>(streamOf(stream).tell())
                                                   : kEndless;
    const sf_count_t target = origin + std::clamp(offset, -origin, kEndless);
    streamOf(stream).seek(static_cast<std::size_t>(target));
    return target;
}

SF_VIRTUAL_IO virtualInput = {
    .get_filelen = [](void*) { return kEndless; },
    .seek = seekIn,
    .read =
        [](void* bytes, sf_count_t count, void* stream) {
            return static_cast<sf_count_t>(
                streamOf(stream).read(static_cast<char*>(bytes), static_cast<std::size_t>(count)));
        },
    .write = nullptr,
    .tell = [](void* stream) { return static_cast<sf_count_t>(streamOf(stream).tell()); },
};

}  // namespace

SNDFILE* ByteStream::open(SF_INFO* info)
{
    opening = true;
    SNDFILE* const sound = sf_open_virtual(&virtualInput, SFM_READ, info, this);
    opening = false;
    return sound;
}

void ByteStream::fillHead(std::size_t size)
{
    const std::size_t before = head.size();
    if (size <= before)
        return;
    head.resize(std::min(size, kHeadBytes));
    head.resize(before + readFully(descriptor, head.data() + before, head.size() - before));
    consumed = head.size();
    repairWavLength(head);
}

std::size_t ByteStream::read(char* bytes, std::size_t count)
{
    if (opening && position > head.size())
        return 0;  // behind the audio, for which a live pipe would have to end first
    std::size_t done = 0;
    if (position < kHeadBytes) {
        fillHead(position + count);
        if (position < head.size()) {
            done = std::min(count, head.size() - position);
            std::copy_n(head.data() + position, done, bytes);
            position += done;
        }
    }
    if (!opening && done < count && position == consumed) {
        const std::size_t got = readFully(descriptor, bytes + done, count - done);
        consumed += got;
        position += got;
        done += got;
    }
    return done;
}
