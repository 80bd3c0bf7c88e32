#pragma once

#include "effect/Pair.h"

#include <cstddef>

// A value that moves linearly through a block, in both lanes: start + n step at sample n of the block.
struct PairGlide {
    Pair start;
    Pair step;

    double at(double n) const noexcept { return start[0] + n * step[0]; }
};

// Consecutive samples of a block, in which no switch changes its state and the delay line does not wrap.
struct Run {
    const double* input;
    double* output;               // may be the input
    double* line;                 // entry of the first sample; one for each follows, older ones precede it
    std::ptrdiff_t length;        // samples
    std::ptrdiff_t placeInBlock;  // index of its first sample within the block
};

// The longest run, in samples, which sets the size of the pipeline's scratch memory. With 512 its arrays
// would lie 4096 bytes apart: processors compare the low 12 bits of addresses first, and would make a read
// of one array wait for a write to the other.
inline constexpr std::ptrdiff_t kMaxRunLength = 576;

// The shortest run that fills the pipeline.
inline constexpr std::ptrdiff_t kMinPipelinedLength = 14;

// Which values of a block move. Most automation moves the sweep alone, and a glide costs operations in
// every sample.
enum Gliding { kNoGlide, kSweepGlides, kAllGlide };  // none; sense and range; any

// What is constant during a run, in both lanes where pairs need it. Each group is a copy that
// one function writes.
struct PipelineSettings {
    // MappedParameters::writeTo
    Pair releaseCoef;
    PairGlide sense, range, reso, dry, wet;

    // LevelFollower::writeTo
    Pair sectionsB0, sectionsB1, sectionsFb1;  // of the shelf and the high-pass, a lane each
    Pair detectorGain;
    double smootherPole, smootherInput;

    // SignalPath::writeSweep
    Pair offsetBase;   // samples, 0 or less: minus the delay without sweep
    Pair offsetDepth;  // samples: what a full sweep adds
    Pair wetDelayGain;

    // SignalPath::writeFades; read only if kSwitching
    Pair fadeCount;  // whole numbers: of the run's first pair
    Pair fadeStep;   // from one pair to the next
    Pair fadeUnit;   // the gain is a count times this
    bool effectOn;   // the effect is produced, not the dry input

    // SignalPath::processPipelined; read only if a value moves
    bool delayStaysAboveTwo;  // in samples, as long as the input is small

    // Kept in memory: with literals g++ needs more instructions for a minimum.
    Pair zero{0.0, 0.0};
    Pair one{1.0, 1.0};
};

// The state that one sample hands to the next. In pairs, because it is read in pairs: a load that spans two
// stores waits until both have reached the cache.
struct PipelineState {
    Pair sections;  // of the shelf and the high-pass, a lane each
    Pair envelope;  // in both lanes
    double smoothed;
};

// Software pipelining of the sample path: the first `length` samples of a run, two at a time, through the
// stages that Pipeline.cpp describes. The operations and their order are those of the formulas in
// SignalPath.h, and so are the bits, if rounding is to nearest or towards 0.
//
// kGliding: the steps of the glides that it does not name are ignored. kSwitching: a switch fades, or
// the effect is off; otherwise the effect is on. settings: does not overlap the run, hence `__restrict`.
// length: even, kMinPipelinedLength .. kMaxRunLength. Returns true if every input is small, that is within
// (-2, 2). Audio thread.
//
// The delay is not limited here: gains and state must be moderate, so that it lies within the line. Input
// that is NaN or overflows the sections leaves state and output that are not finite; the delay then is 0 or
// still within the line.
template <Gliding kGliding, bool kSwitching>
bool processPipeline(const PipelineSettings& __restrict settings, const Run& run, std::ptrdiff_t length,
                     PipelineState& state) noexcept;
