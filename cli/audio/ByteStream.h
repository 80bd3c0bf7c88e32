#pragma once

#include <sndfile.h>

#include <vector>

// The bytes of an audio file or pipe, read once from front to back, as input of libsndfile.
//
// While libsndfile opens it, it goes back to the beginning, so these first bytes are kept; then it skips the
// audio to look for chunks behind it, where the stream seems to end, so that live audio starts at once. The
// length is reported as endless, which makes libsndfile believe the length of the audio in the header.
class ByteStream
{
public:
    explicit ByteStream(int openDescriptor) : descriptor(openDescriptor) {}

    // Opens the stream with libsndfile; returns null if it cannot be read from front to back. Call once.
    SNDFILE* open(SF_INFO* info);

    bool isEmpty() const { return head.empty(); }  // known once it was opened

    // What libsndfile calls. Fewer bytes than asked for mean the end, or an error, which counts as the end.
    sf_count_t read(char* bytes, sf_count_t count);
    sf_count_t seek(sf_count_t offset, int whence);

private:
    int descriptor;          // not owned
    std::vector<char> head;  // the bytes read so far, while `opening`
    bool opening = false;
    sf_count_t position = 0;
};
