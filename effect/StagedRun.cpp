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

// What the stages hand on, by sample of the run.
struct Handed {
    alignas(Pair) double detected[kMaxStagedFrames + 2];   // each 2 places late
    alignas(Pair) double numbers[kMaxStagedFrames];        // places in the block
    alignas(Pair) double envelopes[kMaxStagedFrames];      // smoothed
    alignas(Pair) double fractions[kMaxStagedFrames];      // of a sample, of the delay
    alignas(Pair) std::int32_t entries[kMaxStagedFrames];  // newer ones to read, counted from the run's first
};

// A run in work. Its fields live in registers, so what is indexed stands apart, in Handed.
template <bool kMoving>
class Stages
{
public:
    Stages(const StagedRun& __restrict settings, const StagedBuffers& buffers, Handed& between,
           StagedState& memory)
        : run(settings), input(buffers.input), output(buffers.output), line(buffers.line), handed(between),
          state(memory), sections{memory.shelf, memory.highpass}, envelope(inBothLanes(memory.envelope)),
          smoothed(memory.smoothed), number(Pair{0.0, 1.0} + static_cast<double>(buffers.placeInBlock))
    {
    }

    double process(std::ptrdiff_t frames)
    {
        start();
        std::ptrdiff_t i = 0;
        for (; i + 3 * kAhead < frames; i += 2) {
            detect(i + 3 * kAhead);
            follow(i + 2 * kAhead);
            place(i + kAhead);
            mix(i);
        }
        finish(i);
        return peak[0] > peak[1] ? peak[0] : peak[1];
    }

private:
    // Gives each stage its lead. The high-pass, which has no pair yet, keeps its state.
    void start()
    {
        detect(0);
        sections[1] = state.highpass;
        for (std::ptrdiff_t i = 2; i < 3 * kAhead; i += 2)
            detect(i);
        for (std::ptrdiff_t i = 0; i < 2 * kAhead; i += 2)
            follow(i);
        for (std::ptrdiff_t i = 0; i < kAhead; i += 2)
            place(i);
    }

    // Lets each stage catch up, from the first sample that is not mixed yet. The shelf has no pair left.
    void finish(std::ptrdiff_t i)
    {
        state.shelf = sections[0];
        filterPair(i + 3 * kAhead, Pair{});
        for (std::ptrdiff_t k = 2 * kAhead; k < 3 * kAhead; k += 2)
            follow(i + k);
        for (std::ptrdiff_t k = kAhead; k < 3 * kAhead; k += 2)
            place(i + k);
        for (std::ptrdiff_t k = 0; k < 3 * kAhead; k += 2)
            mix(i + k);
        state.highpass = sections[1];
        state.envelope = envelope[0];
        state.smoothed = smoothed;
    }

    // Two recurrences in one: the shelf takes pair i, the high-pass what the shelf made of the pair before.
    void detect(std::ptrdiff_t i)
    {
        const Pair x = load(input + i);
        filterPair(i, x);
        const Pair level = magnitude(x);
        peak = level > peak ? level : peak;
    }

    // Levels as a pair; then, one after the other, what an envelope needs of the one before.
    void follow(std::ptrdiff_t i)
    {
        if (kMoving)
            store(handed.numbers + i, number);
        Pair level = magnitude(valueAt(run.sense, number) * load(handed.detected + i + 2));
        level = level > run.one ? run.one : level;
        const double e0 = followOne(level);
        const double e1 = followOne(Pair{level[1], level[1]});
        store(handed.envelopes + i, Pair{e0, e1});
        number += Pair{2.0, 2.0};
    }

    // A stage of its own, so that no read waits for the way from an envelope to an address.
    void place(std::ptrdiff_t i)
    {
        const Pair range = valueAt(run.range, numberOf(i));
        const Pair m = load(handed.envelopes + i) * Pair(Bits(range) ^ Bits(run.sweepSign));
        Pair p = run.sweepBase + run.sweepDepth * m;
        p = p > run.zero ? p : run.zero;
        const IntPair D = __builtin_convertvector(p, IntPair);
        store(handed.fractions + i, p - __builtin_convertvector(D, Pair));
        const IntPair newer = entry - D;
        std::memcpy(handed.entries + i, &newer, sizeof newer);
        entry += 2;
    }

    // Four reads, wherever the delays point; all the arithmetic in pairs.
    void mix(std::ptrdiff_t i)
    {
        const Pair x = load(input + i);
        const Pair n = numberOf(i);
        const Pair g = valueAt(run.reso, n);
        const std::ptrdiff_t k0 = handed.entries[i];
        const std::ptrdiff_t k1 = handed.entries[i + 1];
        const Pair newer{line[k0], line[k1]};
        const Pair older{line[k0 - 1], line[k1 - 1]};
        Pair y = newer + (older - newer) * load(handed.fractions + i);
        if (k1 >= i) [[unlikely]] {  // the second sample reads what the first one writes
            line[i] = (x - g * y)[0];
            y[1] = line[k1] + (line[k1 - 1] - line[k1]) * handed.fractions[i + 1];
        }
        store(line + i, x - g * y);

        Pair out = x;
        if (run.effectOn)
            out = valueAt(run.dry, n) * x + valueAt(run.wet, n) * (x - run.wetDelayGain * y);
        if (run.scaled)
            out = (valueAt(run.invertGain, n) * run.invertUnit) *
                  (valueAt(run.onOffGain, n) * run.onOffUnit) * out;
        store(output + i, out);
    }

    // What the high-pass makes of the pair before goes to the places of pair i.
    void filterPair(std::ptrdiff_t i, Pair x)
    {
        const Pair y0 = filterBoth(Pair{x[0], shelved[0]});
        const Pair y1 = filterBoth(Pair{x[1], shelved[1]});
        shelved = run.detectorGain * Pair{y0[0], y1[0]};
        store(handed.detected + i, Pair{y0[1], y1[1]});
    }

    Pair filterBoth(Pair x)
    {
        const Pair y = run.sectionsB0 * x + sections;
        sections = run.sectionsB1 * x + run.sectionsFb1 * y;
        return y;
    }

    // level: the lower lane counts. A select, in pairs because g++ makes a branch of a scalar one: a branch
    // goes as the signal pleases, and is guessed wrong.
    double followOne(Pair level)
    {
        envelope = envelope > level ? run.releaseCoef * envelope : level;
        smoothed = run.smootherPole * smoothed + run.smootherInput * envelope[0];
        return smoothed;
    }

    static Pair valueAt(const PairGlide& glide, Pair n)
    {
        return kMoving ? glide.start + n * glide.step : glide.start;
    }

    Pair numberOf(std::ptrdiff_t i) const { return kMoving ? load(handed.numbers + i) : Pair{}; }

    const StagedRun& __restrict run;
    const double* const input;
    double* const output;
    double* const line;
    Handed& handed;
    StagedState& state;
    Pair sections;   // states of the shelf and the high-pass
    Pair shelved{};  // the pair before, between the two
    Pair peak{};
    Pair envelope;
    double smoothed;
    Pair number;          // places in the block, of the pair to follow
    IntPair entry{0, 1};  // of the line, of the pair to place
};

}  // namespace

template <bool kMoving>
double processStaged(const StagedRun& __restrict run, const StagedBuffers& buffers,
                     StagedState& state) noexcept
{
    Handed handed;
    return Stages<kMoving>(run, buffers, handed, state).process(buffers.frames);
}

template double processStaged<false>(const StagedRun& __restrict, const StagedBuffers&,
                                     StagedState&) noexcept;
template double processStaged<true>(const StagedRun& __restrict, const StagedBuffers&, StagedState&) noexcept;
