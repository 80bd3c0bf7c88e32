#pragma once

#include <cstddef>

// Two samples side by side, for everything that does not wait for the sample before. Every compiler for
// x86-64 and AArch64 has instructions for such a pair; each of its two lanes rounds as a double does.
using Pair [[gnu::vector_size(16)]] = double;

inline Pair inBothLanes(double value)
{
    return Pair{value, value};
}

// A value that moves linearly: start + n step at sample n of its block, in both lanes.
struct PairGlide {
    Pair start;
    Pair step;
};

// The longest run, in samples: so much the stages keep between them. With 512 their arrays would lie 4096 bytes
// apart, and processors, which compare the last 12 bits of two addresses first, make a read of one array wait
// for a write to the other.
inline constexpr std::ptrdiff_t kMaxStagedFrames = 576;

// The shortest, for which all stages have work at once.
inline constexpr std::ptrdiff_t kMinStagedFrames = 14;

// What stands still in a run of samples, in both lanes where pairs need it.
struct StagedRun {
    PairGlide sense, range, reso, dry, wet;
    Pair sectionsB0, sectionsB1, sectionsFb1;  // of the shelf and the high-pass, a lane each
    Pair detectorGain;
    Pair releaseCoef;
    Pair offsetBase;   // samples, 0 or less: minus the delay without sweep
    Pair offsetDepth;  // samples: what a full sweep adds
    Pair wetDelayGain;
    Pair zero, one;  // in memory: of values that it knows g++ makes more than one instruction of a minimum
    double smootherPole, smootherInput;
    bool isFar;  // where kGliding: while the input stays below 2, the delay stays above 2 samples

    // Of the switches, where kSwitching.
    Pair fadeCount, fadeStep;  // whole numbers: of the run's first pair, and from one pair to the next
    Pair fadeUnit;             // the gain is a count times this
    bool effectOn;             // the effect is produced, not the dry input
};

// The samples of a run.
struct StagedBuffers {
    const double* input;
    double* output;  // may be the input
    double* line;    // entry of the first sample; entries for all from there on, older ones before it
    std::ptrdiff_t placeInBlock;  // of the first sample
};

// What a sample hands to the next. In pairs, because that is how it is read: a read across two writes waits for
// both to reach the cache.
struct StagedState {
    Pair sections;  // of the shelf and the high-pass, a lane each
    Pair envelope;  // in both lanes
    double smoothed;
};

// The sample path of one run, two samples at a time, in four stages:
//
//     detect   the two sections; they need the sample before, and run side by side, a lane each
//     follow   the envelope and its smoother, which need the sample before as well
//     place    from the smoothed envelope to a place in the line
//     comb     the line read and written, and the output
//
// Each stage works four samples behind the one before, so that a processor finds independent work while the
// recurrences make it wait: they alone bound the time of a sample. Every operation and its order are those
// of the formulas in Wail.h, and so are the bits, as long as rounding is to nearest or towards 0.
//
// kGliding: a value moves; without it the steps do not count. kSwitching: a switch fades, or the effect is
// off; without it the effect is on. run: no sample stored is part of it, hence `__restrict`. frames: even,
// kMinStagedFrames .. kMaxStagedFrames. Answers whether a magnitude of the input was 2 or more, or no number.
// Audio thread.
//
// Nothing here limits the delay: gains and state are such that it lies within the line. Input that is no
// number or overflows the sections leaves state and output that are not finite; the delay then is 0 or still
// within the line.
template <bool kGliding, bool kSwitching>
bool processStaged(const StagedRun& __restrict run, const StagedBuffers& buffers, std::ptrdiff_t frames,
                   StagedState& state) noexcept;
