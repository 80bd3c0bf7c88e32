#include "effect/Pipeline.h"

#include <bit>
#include <cstdint>
#include <cstring>

// The sample path is a chain of recurrences (detector, envelope, smoother) followed by work that depends on them
// (delay, line, mix). Done sample by sample, each would wait for the one before. Software pipelining takes the path
// apart into four stages, each kLead = 4 samples ahead of the next, and one step advances all four by two samples:
//
//     stage    works on     does                                       hands on, in Scratch
//     detect   i + 12, 13   shelf; high-pass of the pair before        detected
//     follow   i + 8, 9     level, envelope, smoother                  envelopes, sampleIndices
//     locate   i + 4, 5     delay, split into entries and fraction     offsets, fractions
//     comb     i, i + 1     line read and written, mix                 (the output)
//
// Four samples ahead, because a stage's results are then ready, in memory, before the next stage asks for them: the
// processor has independent work from four places while a recurrence makes it wait, and the recurrences alone bound
// the time of a sample.
//
// The high-pass is one pair late: shelf and high-pass run side by side in the two lanes of a pair, and the high-pass
// needs what the shelf makes of the same samples. So while the shelf takes pair i, the high-pass takes what the shelf
// made of pair i - 2, and `detected` holds each result two places after its sample.

namespace
{

constexpr std::ptrdiff_t kLead = 4;  // samples from one stage to the next
static_assert(kMinPipelinedLength > 3 * kLead);

using Bits [[gnu::vector_size(16)]] = std::int64_t;
using IntPair [[gnu::vector_size(8)]] = std::int32_t;

Pair load(const double* samples)
{
    Pair pair;
    std::memcpy(&pair, samples, sizeof pair);
    return pair;
}

void store(double* samples, Pair pair)
{
    std::memcpy(samples, &pair, sizeof pair);
}

// `Pair{first[0], second[0]}` would cost two more instructions with g++.
Pair lowerLanes(Pair first, Pair second)
{
    return __builtin_shufflevector(first, second, 0, 2);
}

Pair upperLanes(Pair first, Pair second)
{
    return __builtin_shufflevector(first, second, 1, 3);
}

Pair magnitude(Pair pair)
{
    return Pair(Bits(pair) & INT64_MAX);
}

// What the stages hand on, indexed by the sample's place in the run.
struct Scratch {
    alignas(Pair) double detected[kMaxRunLength + 2];   // each 2 places after its sample
    alignas(Pair) double sampleIndices[kMaxRunLength];  // in the block; written only if kGliding
    alignas(Pair) double envelopes[kMaxRunLength];      // smoothed
    alignas(Pair) double fractions[kMaxRunLength];      // of the delay, in samples
    alignas(
        Pair) std::int32_t offsets[kMaxRunLength];  // from the sample's entry to the newer one to read, <= 0
};

// One run in progress. Its fields live in registers, so whatever is indexed lies outside, in Scratch.
template <bool kGliding, bool kSwitching>
class Pipeline
{
public:
    Pipeline(const PipelineSettings& __restrict pipelineSettings, const Run& run, Scratch& memory,
             PipelineState& pipelineState)
        : settings(pipelineSettings), input(run.input), output(run.output), line(run.line), scratch(memory),
          state(pipelineState), sections(pipelineState.sections), envelope(pipelineState.envelope),
          smoothed(pipelineState.smoothed),
          sampleIndex(Pair{0.0, 1.0} + static_cast<double>(run.placeInBlock)),
          fade(pipelineSettings.fadeCount)
    {
    }

    // While values glide, testing for short delays costs 5 % of a sample's time, so a loop without the test runs as
    // long as it is safe: inputs are inspected before their envelope is followed. At rest the test costs 2 %, and
    // one loop suffices.
    bool process(std::ptrdiff_t length)
    {
        fill();
        std::ptrdiff_t i = 0;
        if (kGliding && settings.delayStaysAboveTwo)
            for (; i + 3 * kLead < length && inputIsSmall(); i += 2)
                step<true>(i);
        for (; i + 3 * kLead < length; i += 2)
            step<false>(i);
        drain(i);
        return inputIsSmall();
    }

private:
    // All stages, interleaved by hand: of two instructions that are ready a processor issues the older, so the links
    // of the recurrences stand early and apart, among work that nothing waits for. The order is among the quickest
    // of several hundred measured. kAboveTwo: no delay is shorter than two samples.
    template <bool kAboveTwo>
    void step(std::ptrdiff_t i)
    {
        const std::ptrdiff_t toLocate = i + kLead;
        const std::ptrdiff_t toFollow = i + 2 * kLead;
        const std::ptrdiff_t toDetect = i + 3 * kLead;
        const Pair y0 = filter(input[toDetect], shelved0);
        const Pair level = levelAt(toFollow);
        const Pair x = load(input + i);
        Pair delayed = readLine(i);
        storeDetected(toDetect, y0, filter(input[toDetect + 1], shelved1));
        collectInputBits(toDetect);
        writeLine<kAboveTwo>(i, x, delayed);
        const double e0 = followOne(level);
        const Pair offset = offsetAt<kAboveTwo>(toLocate);
        storeEnvelopes(toFollow, e0, followOne(upperLanes(level, level)));
        mix(i, x, delayed);
        storeOffset(toLocate, offset);
    }

    // The exponent's highest bit is set from 2 on, and for infinity and NaN.
    bool inputIsSmall() const { return (inputBits >> 62) % 2 == 0; }

    // Gives each stage its lead. The high-pass has no pair to take yet and keeps its state.
    void fill()
    {
        detect(0);
        sections[1] = state.sections[1];
        for (std::ptrdiff_t i = 2; i < 3 * kLead; i += 2) {
            detect(i);
            if (i >= kLead)
                follow(i - kLead);
            if (i >= 2 * kLead)
                locate(i - 2 * kLead);
        }
    }

    // Lets each stage catch up; i: the first sample that is not mixed yet. The shelf has no pair left to take.
    void drain(std::ptrdiff_t i)
    {
        const double shelf = sections[0];
        filterPair(i + 3 * kLead, 0.0, 0.0);
        for (std::ptrdiff_t k = 2 * kLead; k < 3 * kLead; k += 2)
            follow(i + k);
        for (std::ptrdiff_t k = kLead; k < 3 * kLead; k += 2)
            locate(i + k);
        for (std::ptrdiff_t k = 0; k < 3 * kLead; k += 2)
            comb(i + k);
        state.sections = Pair{shelf, sections[1]};
        state.envelope = envelope;
        state.smoothed = smoothed;
    }

    void detect(std::ptrdiff_t i)
    {
        filterPair(i, input[i], input[i + 1]);
        collectInputBits(i);
    }

    // The shelf's two outputs stay apart on their way to the high-pass: joined in a pair, the first would wait for the
    // second, and the next pair for both.
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
        if (kGliding)
            store(scratch.sampleIndices + i, sampleIndex);
        const Pair level = magnitude(valueAt(settings.sense, sampleIndex) * load(scratch.detected + i + 2));
        sampleIndex += Pair{2.0, 2.0};
        return level > settings.one ? settings.one : level;
    }

    // level: the lower lane counts. Branch-free select; g++ turns the scalar form into a branch that noise
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
        const Pair m = load(scratch.envelopes + i) * valueAt(settings.range, sampleIndexAt(i));
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
        const Pair g = valueAt(settings.reso, sampleIndexAt(i));
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
            out = valueAt(settings.dry, n) * x +
                  valueAt(settings.wet, n) * (x - settings.wetDelayGain * delayed);
        if (kSwitching) {
            out = fade * settings.fadeUnit * out;
            fade += settings.fadeStep;
        }
        store(output + i, out);
    }

    static Pair valueAt(const PairGlide& glide, Pair n)
    {
        return kGliding ? glide.start + n * glide.step : glide.start;
    }

    Pair sampleIndexAt(std::ptrdiff_t i) const { return kGliding ? load(scratch.sampleIndices + i) : Pair{}; }

    const PipelineSettings& __restrict settings;
    const double* const input;
    double* const output;
    double* const line;
    Scratch& scratch;
    PipelineState& state;
    Pair sections;                // states of the shelf and the high-pass
    Pair shelved0{}, shelved1{};  // lower lanes: the shelf's latest pair, on its way to the high-pass
    std::uint64_t inputBits = 0;  // of all inputs so far, or-ed
    Pair envelope;
    double smoothed;
    Pair sampleIndex;  // in the block, of the pair to follow
    Pair fade;         // count of the pair to mix
};

}  // namespace

template <bool kGliding, bool kSwitching>
bool processPipeline(const PipelineSettings& __restrict settings, const Run& run, std::ptrdiff_t length,
                     PipelineState& state) noexcept
{
    Scratch scratch;
    return Pipeline<kGliding, kSwitching>(settings, run, scratch, state).process(length);
}

template bool processPipeline<false, false>(const PipelineSettings& __restrict, const Run&, std::ptrdiff_t,
                                            PipelineState&) noexcept;
template bool processPipeline<false, true>(const PipelineSettings& __restrict, const Run&, std::ptrdiff_t,
                                           PipelineState&) noexcept;
template bool processPipeline<true, false>(const PipelineSettings& __restrict, const Run&, std::ptrdiff_t,
                                           PipelineState&) noexcept;
template bool processPipeline<true, true>(const PipelineSettings& __restrict, const Run&, std::ptrdiff_t,
                                          PipelineState&) noexcept;
