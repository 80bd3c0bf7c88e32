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

constexpr sf_count_t kEndless = std::numeric_limits<sf_count_t>::max() / 4;

// Like POSIX read, but complete.
sf_count_t readFully(int descriptor, char* bytes, sf_count_t count)
{
    sf_count_t done = 0;
    while (done < count) {
        const ssize_t got = read(descriptor, bytes + done, static_cast<std::size_t>(count - done));
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            break;
        done += got;
    }
    return done;
}

// Writers that cannot go back leave 0 as the length of a WAV file's data, and libsndfile then reads none. The
// largest length makes it read to the end. If the RIFF chunk is longer than this header, the data are empty.
void repairWavLength(std::vector<char>& head)
{
    static_assert(std::endian::native == std::endian::little);  // as the lengths are
    constexpr std::uint32_t kUnknown = 0x7ffe0000;              // or more
    const auto lengthOf = [&head](std::size_t chunk) {
        std::uint32_t length = 0;
        std::memcpy(&length, head.data() + chunk + 4, sizeof length);
        return length;
    };
    const std::string_view text(head.data(), head.size());
    std::size_t data = 12;
    while (data + 8 <= head.size() && text.substr(data, 4) != "data")
        data += 8 + std::size_t{lengthOf(data)} + lengthOf(data) % 2;
    if (text.starts_with("RIFF") && data + 8 <= head.size() && lengthOf(data) == 0 &&
        (lengthOf(0) <= data || lengthOf(0) >= kUnknown))
        std::fill_n(head.data() + data + 4, 4, '\xff');
}

ByteStream& streamOf(void* stream)
{
    return *static_cast<ByteStream*>(stream);
}

SF_VIRTUAL_IO virtualInput = {
    .get_filelen = [](void*) { return kEndless; },
    .seek = [](sf_count_t offset, int whence, void* stream) { return streamOf(stream).seek(offset, whence); },
    .read = [](void* bytes, sf_count_t count,
               void* stream) { return streamOf(stream).read(static_cast<char*>(bytes), count); },
    .write = nullptr,
    .tell = [](void* stream) { return streamOf(stream).seek(0, SEEK_CUR); },
};

}  // namespace

SNDFILE* ByteStream::open(SF_INFO* info)
{
    opening = true;
    SNDFILE* const sound = sf_open_virtual(&virtualInput, SFM_READ, info, this);
    opening = false;
    return sound;
}

sf_count_t ByteStream::seek(sf_count_t offset, int whence)
{
    const sf_count_t origin = whence == SEEK_SET ? 0 : whence == SEEK_CUR ? position : kEndless;
    position = origin + std::clamp(offset, -origin, kEndless);
    return position;
}

sf_count_t ByteStream::read(char* bytes, sf_count_t count)
{
    if (opening && position <= std::ssize(head)) {
        const sf_count_t known = std::ssize(head);
        head.resize(static_cast<std::size_t>(std::max(known, position + count)));
        const sf_count_t got = readFully(descriptor, head.data() + known, std::ssize(head) - known);
        head.resize(static_cast<std::size_t>(known + got));
        repairWavLength(head);
    }
    const sf_count_t kept = std::clamp<sf_count_t>(std::ssize(head) - position, 0, count);
    std::copy_n(head.data() + (kept > 0 ? position : 0), kept, bytes);
    position += kept;
    if (opening || position < std::ssize(head))
        return kept;
    const sf_count_t more = readFully(descriptor, bytes + kept, count - kept);
    position += more;
    return kept + more;
}
