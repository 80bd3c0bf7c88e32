#pragma once

#include "effect/Glide.h"
#include "effect/ParamCurve.h"
#include "effect/Parameters.h"
#include "effect/Pipeline.h"

// The continuous parameters as the signal path uses them: each mapped through its curve, and gliding through a
// block from the last block's value to the new one.
class MappedParameters
{
public:
    // sampleRate: Hz.
    explicit MappedParameters(double sampleRate) noexcept;

    // Maps the values that changed since the last call. Returns true if any did. A curve costs a power or two,
    // so the others are left alone.
    bool update(const ParameterValues& values) noexcept;

    // Sets the low end of the range curve, which depends on "Invert", and maps fRange again.
    void setRangeLow(double valueAtZero, float fRange) noexcept;

    bool areGliding() const noexcept;

    // True if glides and release lie where parameters in 0 .. 1 put them, so that moderate signals cannot
    // overflow.
    bool areModerate() const noexcept;

    // True if comb and follower are stable through the whole block: |g| <= 1, and a release in 0 .. 1.
    bool areStable() const noexcept;

    // Ends the glides of a block.
    void finishGlides() noexcept;

    // Writes the glides of a block of that many frames.
    void stage(PipelineSettings& settings, VstInt32 frames) const noexcept;

    Glide sense;           // gain of the level detector
    Glide range;           // share of the sweep that a full envelope moves
    Glide reso;            // g, feedback of the comb
    Glide dry, wet;        // gains of the mix
    double release = 0.0;  // factor per sample by which the envelope falls

private:
    ParamCurve senseCurve, rangeCurve, envelopeCurve, resoCurve, dryCurve, wetCurve;
    double releaseExponent;  // 48 kHz / sample rate: the curve gives the release at 48 kHz

    // The values mapped last; -1, which is no parameter's value, makes the next update map them all.
    float lastSense = -1.0f;
    float lastReso = -1.0f;
    float lastRange = -1.0f;
    float lastBalance = -1.0f;
    float lastEnvelope = -1.0f;
};
