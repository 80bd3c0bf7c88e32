#pragma once

#include "effect/FadeSwitch.h"
#include "effect/Wail.h"

// What the block's control hands to the sample path; the effect's own.

inline constexpr double kDetectorGain = 1.584893192;  // +4 dB, 10^(4/20)

// Magnitudes far above any sound and far below the largest double: where the input, the line and the detector
// start from these, no feedback below 0.95 and no gain of the path takes them to overflow.
inline constexpr double kModerate = 1e110;

// Samples of a block in which neither switch changes its state and the line does not come round.
struct Wail::Run {
    const double* input;
    double* output;
    double* line;     // entry of the first sample
    VstInt32 first;   // place of the first sample in its block
    VstInt32 length;  // samples
    bool effectOn;    // the effect is produced, not the dry input
    FadeSwitch::Gain onOff;
    FadeSwitch::Gain invert;
};
