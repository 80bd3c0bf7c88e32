#pragma once

#include "effect/Magnitude.h"
#include "effect/Pair.h"
#include "effect/Pipeline.h"

#include <bit>
#include <cstdint>
#include <cstring>

// The stages of the pipeline, which Pipeline.cpp schedules. Included there alone.

// What the stages hand on, indexed by the sample's place in the run.
struct PipelineScratch {
    alignas(Pair) double detected[kMaxRunLength + 2];   // each 2 places after its sample
    alignas(Pair) double sampleIndices[kMaxRunLength];  // in the block; written only if a value moves
    alignas(Pair) double envelopes[kMaxRunLength];      // smoothed
    alignas(Pair) double fractions[kMaxRunLength];      // of the delay, in samples
    alignas(
        Pair) std::int32_t offsets[kMaxRunLength];  // from the sample's entry to the newer one to read, <= 0
};

// One run in progress. Its fields live in registers, so whatever is indexed lies outside, in
// PipelineScratch. An operation on sample i works on samples i and i + 1.
template <Gliding kGliding, bool kSwitching>
class PipelineStages
{
public:
    PipelineStages(const PipelineSettings& __restrict pipelineSettings, const Run& run,
                   PipelineScratch& memory, PipelineState& pipelineState)
        : settings(pipelineSettings), input(run.input), output(run.output), line(run.line), scratch(memory),
          state(pipelineState), sections(pipelineState.sections), envelope(pipelineState.envelope),
          smoothed(pipelineState.smoothed),
          sampleIndex(Pair{0.0, 1.0} + static_cast<double>(run.placeInBlock)),
          fade(pipelineSettings.fadeCount)
    {
    }

    // The exponent's highest bit is set from kSmallLimit on, and for infinity and NaN.
    static_assert(kSmallLimit == 2.0);
    bool inputIsSmall() const { return (inputBits >> 62) % 2 == 0; }

    void detect(std::ptrdiff_t i)
    {
        filterPair(i, input[i], input[i + 1]);
        collectInputBits(i);
    }

    // The shelf's two outputs stay apart on their way to the high-pass: joined in a pair, the first would
    // wait for the second, and the next pair for both.
    void filterPair(std::ptrdiff_t i, double x0, double x1)
    {
        const Pair y0 = filter(x0, shelved0);
        storeDetected(i, y0, filter(x1, shelved1));
    }

    // Lower lane: the shelf, of x. Upper lane: the high-pass, of `shelved`, which is then replaced.
    Pair filter(double x, Pair& shelved)
    {
        const Pair in = lowerLanes(Pair{x, 0.0}, shelved);
        const Pair y = settings.sectionsB0 * in + sections;
        sections = settings.sectionsB1 * in + settings.sectionsFb1 * y;
        shelved = settings.detectorGain * y;
        return y;
    }

    void storeDetected(std::ptrdiff_t i, Pair y0, Pair y1)
    {
        store(scratch.detected + i, upperLanes(y0, y1));
    }

    void collectInputBits(std::ptrdiff_t i)
    {
        inputBits |= std::bit_cast<std::uint64_t>(input[i]) | std::bit_cast<std::uint64_t>(input[i + 1]);
    }

    void follow(std::ptrdiff_t i)
    {
        const Pair level = levelAt(i);
        const double e0 = followOne(level);
        storeEnvelopes(i, e0, followOne(upperLanes(level, level)));
    }

    // Detector output times "Sense", rectified and limited to 1. NaN stays NaN.
    Pair levelAt(std::ptrdiff_t i)
    {
        if (kGliding != kNoGlide)
            store(scratch.sampleIndices + i, sampleIndex);
        const Pair level =
            absolute(valueAt<kSweepGlides>(settings.sense, sampleIndex) * load(scratch.detected + i + 2));
        sampleIndex += Pair{2.0, 2.0};
        return level > settings.one ? settings.one : level;
    }

    // Uses the lower lane of level. Branch-free select; g++ turns the scalar form into a branch that noise
    // mispredicts.
    double followOne(Pair level)
    {
        envelope = envelope > level ? settings.releaseCoef * envelope : level;
        smoothed = settings.smootherPole * smoothed + settings.smootherInput * envelope[0];
        return smoothed;
    }

    void storeEnvelopes(std::ptrdiff_t i, double e0, double e1)
    {
        store(scratch.envelopes + i, Pair{e0, e1});
    }

    // A stage of its own, so that no read of the line waits for the arithmetic from envelope to address.
    void locate(std::ptrdiff_t i) { storeOffset(i, offsetAt<false>(i)); }

    // Minus the delay, in samples: entries count from older to newer.
    template <bool kAboveTwo>
    Pair offsetAt(std::ptrdiff_t i) const
    {
        const Pair m = load(scratch.envelopes + i) * valueAt<kSweepGlides>(settings.range, sampleIndexAt(i));
        const Pair offset = settings.offsetBase + settings.offsetDepth * m;
        return kAboveTwo ? offset : offset < settings.zero ? offset : settings.zero;
    }

    void storeOffset(std::ptrdiff_t i, Pair offset)
    {
        const IntPair whole = __builtin_convertvector(offset, IntPair);
        store(scratch.fractions + i, __builtin_convertvector(whole, Pair) - offset);
        std::memcpy(scratch.offsets + i, &whole, sizeof whole);
    }

    void comb(std::ptrdiff_t i)
    {
        const Pair x = load(input + i);
        Pair delayed = readLine(i);
        writeLine<false>(i, x, delayed);
        mix(i, x, delayed);
    }

    // Four scalar reads, wherever the delays point; all the arithmetic in pairs.
    Pair readLine(std::ptrdiff_t i) const
    {
        const double* const now = line + i;
        const std::ptrdiff_t k0 = scratch.offsets[i];
        const std::ptrdiff_t k1 = scratch.offsets[i + 1] + 1;
        const Pair newer{now[k0], now[k1]};
        const Pair older{now[k0 - 1], now[k1 - 1]};
        return newer + (older - newer) * load(scratch.fractions + i);
    }

    // If the second sample's delay is so short that it reads what the first one writes, it is read again.
    template <bool kAboveTwo>
    void writeLine(std::ptrdiff_t i, Pair x, Pair& delayed)
    {
        double* const now = line + i;
        const Pair g = valueAt<kAllGlide>(settings.reso, sampleIndexAt(i));
        const std::ptrdiff_t k1 = scratch.offsets[i + 1] + 1;
        if (!kAboveTwo && k1 >= 0) [[unlikely]] {
            const double written = (x - g * delayed)[0];
            const double newer = k1 == 0 ? written : now[1];
            const double older = k1 == 0 ? now[-1] : written;
            delayed[1] = newer + (older - newer) * scratch.fractions[i + 1];
        }
        store(now, x - g * delayed);
    }

    void mix(std::ptrdiff_t i, Pair x, Pair delayed)
    {
        const Pair n = sampleIndexAt(i);
        Pair out = x;
        if (!kSwitching || settings.effectOn)
            out = valueAt<kAllGlide>(settings.dry, n) * x +
                  valueAt<kAllGlide>(settings.wet, n) * (x - settings.wetDelayGain * delayed);
        if (kSwitching) {
            out = fade * settings.fadeUnit * out;
            fade += settings.fadeStep;
        }
        store(output + i, out);
    }

    // kLeast: the least Gliding with which this value moves.
    template <Gliding kLeast>
    static Pair valueAt(const PairGlide& glide, Pair n)
    {
        return kGliding >= kLeast ? glide.start + n * glide.step : glide.start;
    }

    Pair sampleIndexAt(std::ptrdiff_t i) const
    {
        return kGliding != kNoGlide ? load(scratch.sampleIndices + i) : Pair{};
    }

    const PipelineSettings& __restrict settings;
    const double* const input;
    double* const output;
    double* const line;
    PipelineScratch& scratch;
    PipelineState& state;
    Pair sections;                // states of the shelf and the high-pass
    Pair shelved0{}, shelved1{};  // lower lanes: the shelf's latest pair, on its way to the high-pass
    std::uint64_t inputBits = 0;  // of all inputs so far, or-ed
    Pair envelope;
    double smoothed;
    Pair sampleIndex;  // in the block, of the pair to follow
    Pair fade;         // count of the pair to mix
};
