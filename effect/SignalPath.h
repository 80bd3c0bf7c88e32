#pragma once

#include "effect/DelayLine.h"
#include "effect/FadeSwitch.h"
#include "effect/LevelFollower.h"
#include "effect/Magnitude.h"
#include "effect/MappedParameters.h"
#include "effect/Pipeline.h"

// The sound of the effect at one sample rate: an envelope-swept comb filter, one channel. The louder the
// input x, the farther the comb's teeth move:
//
//     e = smooth(follow(|s detect(x)|))         LevelFollower, 0 .. 1
//     p = sweepBase +- sweepDepth e r           delay in samples; - while "Invert" is off
//     y(n) = v(n - p)                           DelayLine, interpolated linearly
//     v(n) = x(n) - g y(n)                      what is written to the line: a comb with negative feedback
//     out(n) = d x(n) + w (x(n) - 1.5 y(n))     times the gains of the switches
//
// s, g, r, d, w: "Sense", "Reso", "Range" and the two sides of "Balance", each gliding linearly through a
// block from the last block's value to the new one. With parameters in 0 .. 1 the delay lies between 0 and
// 2.15 ms and g below 0.94, so the comb is stable; beyond them it need not be.
//
// It recovers from whatever it is sent. If a sample or a state of a block is not finite, the outputs that
// are not finite become 0, and the next block starts as after long silence; so does the first stable block
// (|g| <= 1 throughout, release in 0 .. 1) after an unstable one.
//
// Source: J. O. Smith, "Physical Audio Signal Processing" (feedback comb, interpolated delay line); U.
// Zoelzer (ed.), "DAFX - Digital Audio Effects" (level-driven sweeps).
//
// Not thread-safe: one operation at a time. Only the constructor allocates.
class SignalPath
{
public:
    // sampleRate: Hz, kMinSampleRate .. kMaxSampleRate. live: what the host sets; outlives the path, and
    // stands still during takeParameters, process and reset; in the other operations single values may
    // change. All glides start from 0. May throw std::bad_alloc.
    SignalPath(double sampleRate, const ParameterValues& live);

    // Takes the live values over: maps what changed, and starts the fades of switches that changed, unless
    // `firstBlock`: then nothing was heard yet, and switches just adopt their values. Returns true if the
    // next block must call it even without a change (a switch that is NaN never equals its last value).
    bool takeParameters(bool firstBlock) noexcept;

    // Processes a block; input and output may be the same. frames: 0 or more; 0 ends all glides. Sample:
    // double, or float, which is widened on its way in and rounded to nearest on its way out: beyond the
    // range of float to the largest float, and subnormal results to 0.
    template <typename Sample>
    void process(const Sample* input, Sample* output, VstInt32 frames) noexcept;

    // Sets the sweep up for the live "Invert" value at once, without a fade. Keeps the smoothed level.
    void setInvert() noexcept;

    void clearLine() noexcept { delayLine.clear(); }

    // As after long silence, with the live values in force at once: fades and glides have ended.
    void reset() noexcept;

    // The smoothed envelope e of the last sample, limited to 0 .. 1.
    float sweep() const noexcept { return static_cast<float>(std::clamp(follower.level(), 0.0, 1.0)); }

    // The delay p at the end of the last block, in samples; not limited to the line.
    double delay() const noexcept { return delayFor(follower.level(), parameters.range.start); }

    const double lastSampleRate;  // Hz

private:
    Magnitude processRun(const Run& run, Magnitude soFar) noexcept;
    bool processPipelined(const Run& run, bool effectOn) noexcept;
    bool processEachSample(const Run& run, std::ptrdiff_t from, bool effectOn) noexcept;
    bool effectIsOn() const noexcept;
    double delayFor(double e, double range) const noexcept;
    bool delayStaysAboveTwo() const noexcept;

    void prepareGlides(VstInt32 frames) noexcept;
    void writeSweep() noexcept;
    void writeFades(bool effectOn) noexcept;
    VstInt32 runLength(VstInt32 framesLeft) const noexcept;
    void advance(VstInt32 samples) noexcept;
    bool staysFinite(Magnitude worst) noexcept;
    void clearMemory() noexcept;

    const ParameterValues& live;
    DelayLine delayLine;
    LevelFollower follower;
    MappedParameters parameters;
    FadeSwitch onOffSwitch, invertSwitch;
    float appliedInvert = 0.0f;  // "Invert" value that the sweep is set up for
    double sweepBase = 0.0;      // delay without sweep, samples
    double sweepDepth = 0.0;     // delay change of a full sweep, samples
    double wetDelayGain = 1.5;   // weight of the delayed signal in the wet mix

    bool glidesAreStale = true;    // the next block prepares its glides anew
    Gliding gliding = kNoGlide;    // which values of this block move
    double widestRange = 0.0;      // largest r of this block
    bool wasStable = true;         // the last block, by MappedParameters::areStable
    bool gainsAreModerate = true;  // of this block, by MappedParameters::areModerate
    bool memoryIsModerate = true;  // delay line and follower, at the end of the last block

    PipelineSettings settings{};
};
