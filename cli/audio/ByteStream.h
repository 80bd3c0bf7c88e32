#pragma once

#include <sndfile.h>

#include <cstddef>
#include <vector>

// The bytes of an audio file or pipe, read once from front to back, as input of libsndfile.
//
// After it has recognised a format, libsndfile goes back to the beginning; so the first kHeadBytes are kept.
// Then it skips the audio to look for chunks behind it; there the stream seems to end, so that live audio
// starts at once. The length is reported as endless, which makes libsndfile believe the length of the audio
// in the header.
class ByteStream
{
public:
    explicit ByteStream(int openDescriptor) : descriptor(openDescriptor) {}
    ByteStream(const ByteStream&) = delete;
    ByteStream& operator=(const ByteStream&) = delete;

    // Opens the stream with libsndfile; returns null if it cannot be read from its first kHeadBytes. After
    // that seek(0) still gets every byte.
    SNDFILE* open(SF_INFO* info);

    // Reads count bytes, fewer only at the end of the stream. Returns how many.
    std::size_t read(char* bytes, std::size_t count);

    // The next read begins at this byte of the stream.
    void seek(std::size_t newPosition) { position = newPosition; }
    std::size_t tell() const { return position; }

private:
    static constexpr std::size_t kHeadBytes = 1 << 20;

    void fillHead(std::size_t size);

    int descriptor;          // not owned
    std::vector<char> head;  // the first bytes of the stream, as many as were needed, at most kHeadBytes
    bool opening = false;    // while it is, the stream ends with the head
    std::size_t position = 0;
    std::size_t consumed = 0;  // bytes taken from the descriptor
};
