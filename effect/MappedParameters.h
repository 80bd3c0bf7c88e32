#pragma once

#include "effect/Glide.h"
#include "effect/ParamCurve.h"
#include "effect/Parameters.h"
#include "effect/Pipeline.h"

// The continuous parameters as the signal path uses them: each mapped through its curve, and gliding
// through a block from the last block's value to the new one.
class MappedParameters
{
public:
    // sampleRate: Hz.
    explicit MappedParameters(double sampleRate) noexcept;

    // Maps the values that changed since the last call. Returns true if any did. A curve costs a power or
    // two, so the others are left alone.
    bool update(const ParameterValues& values) noexcept;

    // Sets the low end of the range curve, which depends on "Invert", and maps fRange again.
    void setRangeLow(double valueAtZero, float fRange) noexcept;

    Gliding gliding() const noexcept
    {
        if (reso.moves() || dry.moves() || wet.moves())
            return kAllGlide;
        return sense.moves() || range.moves() ? kSweepGlides : kNoGlide;
    }

    // True if glides and release lie where parameters in 0 .. 1 put them, so that moderate signals cannot
    // overflow.
    bool areModerate() const noexcept { return outside == 0 && (startsAreModerate || gliding() == kNoGlide); }

    // True if comb and follower are stable through the whole block: |g| <= 1, and a release in 0 .. 1.
    bool areStable() const noexcept
    {
        return reso.staysWithin(-1.0, 1.0) && release >= 0.0 && release <= 1.0;
    }

    // Ends the glides of a block.
    void finishGlides() noexcept
    {
        for (Glide* const glide : {&sense, &range, &reso, &dry, &wet})
            glide->finish();
        startsAreModerate = outside == 0;
    }

    // Drops starts that are not finite, so that one block of NaN is not followed by another.
    void dropInvalidStarts() noexcept
    {
        for (Glide* const glide : {&sense, &range, &reso, &dry, &wet})
            glide->dropInvalidStart();
    }

    // Writes release and glides of a block of that many frames, always to the same settings: what rests
    // there is not written again.
    void writeTo(PipelineSettings& settings, VstInt32 frames) noexcept;

    Glide sense;           // gain of the level detector
    Glide range;           // share of the sweep that a full envelope moves
    Glide reso;            // g, feedback of the comb
    Glide dry, wet;        // gains of the mix
    double release = 0.9;  // factor per sample by which the envelope falls; 0.9 until it is mapped

private:
    // Takes a note of what was mapped, and from which value.
    void note(WailParameter index, float value) noexcept;

    ParamCurve senseCurve, rangeCurve, envelopeCurve, resoCurve, dryCurve, wetCurve;
    double releaseExponent;  // 48 kHz / sample rate

    // The values mapped last; -1, which is no parameter's value, makes the next update map them all.
    float lastSense = -1.0f;
    float lastReso = -1.0f;
    float lastRange = -1.0f;
    float lastBalance = -1.0f;
    float lastEnvelope = -1.0f;

    // One bit for each parameter, by index.
    unsigned mapped = 0;   // since the last writeTo: glides in the next block
    unsigned resting = 0;  // mapped before the last writeTo: rests in the next block, unless mapped again
    unsigned outside = 0;  // mapped from a value outside 0 .. 1

    bool startsAreModerate = true;  // all glides start from parameters in 0 .. 1
};
