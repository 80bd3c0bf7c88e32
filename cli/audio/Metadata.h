#pragma once

#include <sndfile.h>

#include <cstdint>
#include <string>
#include <vector>

// What describes audio besides its samples.

// The places of the channels, such as left and centre, as libsndfile numbers them; empty if they have none.
std::vector<int> channelLayout(SNDFILE* sound);

// An output, and the part of its input that it begins with.
struct MetadataTarget {
    SNDFILE* sound;
    SF_INFO info;
    std::int64_t firstFrame;  // of the input
    bool isExcerpt;           // then cue points and loops are left out
};

// Copies titles and other texts, channel layout, broadcast extension with its time reference, cue points and
// loops, before the output's first sample. Returns the names of what the output cannot hold.
std::vector<std::string> copyMetadata(SNDFILE* from, const MetadataTarget& to);
