#pragma once

#include "effect/Magnitude.h"
#include "effect/Pipeline.h"
#include "filter/IIRFilter.h"

// The level of the input, 0 .. 1, as the sweep uses it: a detector (shelf, gain, high-pass, rectifier), a
// peak envelope that rises at once and falls by a factor per sample, and a one-pole smoother.
//
//     a = min(|s highpass(1.585 shelf(x))|, 1)        s: the gain of "Sense"
//     envelope = envelope > a ? releaseCoef envelope : a
//     e = smoother(envelope)
//
// Source: U. Zoelzer (ed.), "DAFX - Digital Audio Effects" (peak follower with release).
class LevelFollower
{
public:
    // sampleRate: Hz. smootherFreq: as for setSmoother.
    LevelFollower(double sampleRate, double smootherFreq) noexcept;

    // Returns e for the next input sample x.
    double follow(double x, double sense) noexcept;

    // factor: by which the envelope falls per sample. Keeps the state.
    void setRelease(double factor) noexcept { releaseCoef = factor; }

    // freq: the -3 dB corner, Hz. Keeps the smoothed level.
    void setSmoother(double freq, double sampleRate) noexcept;

    // Back to silence; release and smoother stay.
    void reset() noexcept;

    // The smoothed envelope, e of the last sample.
    double level() const noexcept { return envelopeSmoother.z1; }

    // True if every state is moderate and the levels lie in 0 .. 1. Levels beyond 1 come from parameters
    // beyond their range.
    bool isModerate() const noexcept
    {
        constexpr double kRounding = 1e-9;  // far above what rounding can add to a smoothed 1
        return ::isModerate(detectorShelf.z1) && ::isModerate(detectorHighpass.z1) && envelope >= 0.0 &&
               envelope <= 1.0 && envelopeSmoother.z1 >= 0.0 && envelopeSmoother.z1 <= 1.0 + kRounding;
    }

    // True if every state is finite. NaN and infinity persist in the two sections and in the smoother, which
    // catches those of the envelope too, so checking once per block suffices.
    bool isFinite() const noexcept;

    // The pipeline runs on copies: settings, which writeTo() sets after every change of the smoother, and the
    // state, which it takes and gives back with every run.
    void writeTo(PipelineSettings& settings) const noexcept;
    PipelineState state() const noexcept
    {
        return {Pair{detectorShelf.z1, detectorHighpass.z1}, inBothLanes(envelope), envelopeSmoother.z1};
    }
    void setState(const PipelineState& state) noexcept
    {
        detectorShelf.z1 = state.sections[0];
        detectorHighpass.z1 = state.sections[1];
        envelope = state.envelope[0];
        envelopeSmoother.z1 = state.smoothed;
    }

private:
    IIRFilter detectorShelf;
    IIRFilter detectorHighpass;
    IIRFilter envelopeSmoother;
    double envelope = 0.0;     // peak level, 0 .. 1
    double releaseCoef = 0.9;  // factor per sample
};
