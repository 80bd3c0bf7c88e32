#include "effect/StagedRun.h"

#include <cstdint>
#include <cstring>

namespace
{

constexpr std::ptrdiff_t kAhead = 4;  // samples from one stage to the next
static_assert(kMinStagedFrames > 3 * kAhead);

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

Pair magnitude(Pair pair)
{
    return Pair(Bits(pair) & INT64_MAX);
}

template <bool kMoving>
Pair valueAt(const PairGlide& glide, Pair n)
{
    return kMoving ? glide.start + n * glide.step : glide.start;
}

}  // namespace

template <bool kMoving>
double processStaged(const StagedRun& __restrict run, StagedState& state, const double* input, double* output,
                     double* line, std::ptrdiff_t first, std::ptrdiff_t frames) noexcept
{
    // What the stages hand on.
    alignas(Pair) double detected[kMaxStagedFrames + 2];  // 2 places late
    alignas(Pair) double numbers[kMaxStagedFrames];       // places in the block
    alignas(Pair) double envelopes[kMaxStagedFrames];
    alignas(Pair) double fractions[kMaxStagedFrames];      // of a sample, of the delay
    alignas(Pair) std::int32_t entries[kMaxStagedFrames];  // newer ones to read, counted from the run's first

    Pair sections{state.shelf, state.highpass};
    Pair shelved{};  // the pair before, between the two sections
    Pair peak{};
    Pair envelope{state.envelope, state.envelope};
    double smoothed = state.smoothed;
    Pair following = Pair{0.0, 1.0} + static_cast<double>(first);  // places in the block
    IntPair placing{0, 1};                                         // entries

    const auto filterBoth = [&](Pair x) {
        const Pair y = run.sectionsB0 * x + sections;
        sections = run.sectionsB1 * x + run.sectionsFb1 * y;
        return y;
    };

    // Both sections at once: the shelf takes pair i, the high-pass what the shelf made of the pair before.
    const auto detect = [&](std::ptrdiff_t i, Pair x) {
        const Pair y0 = filterBoth(Pair{x[0], shelved[0]});
        const Pair y1 = filterBoth(Pair{x[1], shelved[1]});
        shelved = run.detectorGain * Pair{y0[0], y1[0]};
        store(detected + i, Pair{y0[1], y1[1]});
        const Pair level = magnitude(x);
        peak = level > peak ? level : peak;
    };
    const auto detectInput = [&](std::ptrdiff_t i) { detect(i, load(input + i)); };

    // The lower lane counts. A select: a branch would go as the signal pleases, and mostly be guessed wrong.
    const auto followOne = [&](Pair level) {
        envelope = envelope > level ? run.releaseCoef * envelope : level;
        smoothed = run.smootherPole * smoothed + run.smootherInput * envelope[0];
        return smoothed;
    };
    const auto follow = [&](std::ptrdiff_t i) {
        Pair level = magnitude(valueAt<kMoving>(run.sense, following) * load(detected + i + 2));
        level = level > run.one ? run.one : level;
        const double e0 = followOne(level);
        const double e1 = followOne(Pair{level[1], level[1]});
        store(envelopes + i, Pair{e0, e1});
        if (kMoving) {
            store(numbers + i, following);
            following += Pair{2.0, 2.0};
        }
    };

    const auto place = [&](std::ptrdiff_t i) {
        const Pair range = valueAt<kMoving>(run.range, kMoving ? load(numbers + i) : Pair{});
        const Pair m = load(envelopes + i) * Pair(Bits(range) ^ Bits(run.sweepSign));
        Pair p = run.sweepBase + run.sweepDepth * m;
        p = p > run.zero ? p : run.zero;
        const IntPair D = __builtin_convertvector(p, IntPair);
        store(fractions + i, p - __builtin_convertvector(D, Pair));
        const IntPair entry = placing - D;
        std::memcpy(entries + i, &entry, sizeof entry);
        placing += 2;
    };

    const auto mix = [&](std::ptrdiff_t i) {
        const Pair x = load(input + i);
        const Pair n = kMoving ? load(numbers + i) : Pair{};
        const Pair feedback = valueAt<kMoving>(run.reso, n);
        const std::ptrdiff_t k0 = entries[i];
        const std::ptrdiff_t k1 = entries[i + 1];
        const Pair newer{line[k0], line[k1]};
        const Pair older{line[k0 - 1], line[k1 - 1]};
        Pair y = newer + (older - newer) * load(fractions + i);
        if (k1 >= i) [[unlikely]] {  // the second sample reads what the first one writes
            line[i] = (x - feedback * y)[0];
            y[1] = line[k1] + (line[k1 - 1] - line[k1]) * fractions[i + 1];
        }
        store(line + i, x - feedback * y);

        Pair out = x;
        if (run.effectOn)
            out =
                valueAt<kMoving>(run.dry, n) * x + valueAt<kMoving>(run.wet, n) * (x - run.wetDelayGain * y);
        if (run.scaled)
            out = valueAt<kMoving>(run.invertGain, n) * run.invertUnit *
                  (valueAt<kMoving>(run.onOffGain, n) * run.onOffUnit) * out;
        store(output + i, out);
    };

    // At the ends only one section has work; the other one's state is put back.
    detectInput(0);
    sections[1] = state.highpass;
    for (std::ptrdiff_t i = 2; i < 3 * kAhead; i += 2)
        detectInput(i);
    for (std::ptrdiff_t i = 0; i < 2 * kAhead; i += 2)
        follow(i);
    for (std::ptrdiff_t i = 0; i < kAhead; i += 2)
        place(i);
    std::ptrdiff_t i = 0;
    for (; i + 3 * kAhead < frames; i += 2) {
        detectInput(i + 3 * kAhead);
        follow(i + 2 * kAhead);
        place(i + kAhead);
        mix(i);
    }
    state.shelf = sections[0];
    detect(frames, Pair{});
    for (std::ptrdiff_t k = 2 * kAhead; k < 3 * kAhead; k += 2)
        follow(i + k);
    for (std::ptrdiff_t k = kAhead; k < 3 * kAhead; k += 2)
        place(i + k);
    for (std::ptrdiff_t k = 0; k < 3 * kAhead; k += 2)
        mix(i + k);

    state.highpass = sections[1];
    state.envelope = envelope[0];
    state.smoothed = smoothed;
    return peak[0] > peak[1] ? peak[0] : peak[1];
}

template double processStaged<false>(const StagedRun& __restrict, StagedState&, const double*, double*,
                                     double*, std::ptrdiff_t, std::ptrdiff_t) noexcept;
template double processStaged<true>(const StagedRun& __restrict, StagedState&, const double*, double*,
                                    double*, std::ptrdiff_t, std::ptrdiff_t) noexcept;
