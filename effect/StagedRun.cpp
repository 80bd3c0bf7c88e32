#include "effect/StagedRun.h"

#include <bit>
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

// Of `Pair{first[0], second[0]}` g++ makes two instructions too many.
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

// What the stages hand on, by sample of the run.
struct Handed {
    alignas(Pair) double detected[kMaxStagedFrames + 2];   // each 2 places late
    alignas(Pair) double numbers[kMaxStagedFrames];        // places in the block
    alignas(Pair) double envelopes[kMaxStagedFrames];      // smoothed
    alignas(Pair) double fractions[kMaxStagedFrames];      // of a sample, of the delay
    alignas(Pair) std::int32_t offsets[kMaxStagedFrames];  // of the newer entry to read, 0 or less
};

// A run in work. Its fields live in registers, so what is indexed stands apart, in Handed.
template <bool kGliding, bool kSwitching>
class Stages
{
public:
    Stages(const StagedRun& __restrict settings, const StagedBuffers& buffers, Handed& between,
           StagedState& memory)
        : run(settings), input(buffers.input), output(buffers.output), line(buffers.line), handed(between),
          state(memory), sections(memory.sections), envelope(memory.envelope), smoothed(memory.smoothed),
          number(Pair{0.0, 1.0} + static_cast<double>(buffers.placeInBlock)), fade(settings.fadeCount)
    {
    }

    // Where a value moves, the look at short delays is 5 % of a sample's time, and left out where it is not
    // needed; loud input is seen before its envelope is followed. At rest it is 2 %, and the loop one.
    bool process(std::ptrdiff_t frames)
    {
        start();
        std::ptrdiff_t i = 0;
        if (kGliding && run.isFar)
            for (; i + 3 * kAhead < frames && !isLoud(); i += 2)
                step<true>(i);
        for (; i + 3 * kAhead < frames; i += 2)
            step<false>(i);
        finish(i);
        return isLoud();
    }

private:
    // The stages' halves, woven: of two instructions that could run, a processor takes the older, so the links
    // of the recurrences stand early and apart, among what nothing waits for. Among the quickest of several
    // hundred orders measured.
    template <bool kFar>
    void step(std::ptrdiff_t i)
    {
        const std::ptrdiff_t toPlace = i + kAhead;
        const std::ptrdiff_t toFollow = i + 2 * kAhead;
        const std::ptrdiff_t toDetect = i + 3 * kAhead;
        const Pair y0 = filter(input[toDetect], shelved0);
        const Pair level = levelAt(toFollow);
        const Pair x = load(input + i);
        Pair delayed = readLine(i);
        keepDetected(toDetect, y0, filter(input[toDetect + 1], shelved1));
        see(toDetect);
        writeLine<kFar>(i, x, delayed);
        const double e0 = followOne(level);
        const Pair offset = offsetAt<kFar>(toPlace);
        keepEnvelopes(toFollow, e0, followOne(upperLanes(level, level)));
        mix(i, x, delayed);
        keepOffset(toPlace, offset);
    }

    bool isLoud() const { return (seen >> 62) % 2 != 0; }  // the exponent's first bit

    // Gives each stage its lead. The high-pass, which has no pair yet, keeps its state.
    void start()
    {
        detect(0);
        sections[1] = state.sections[1];
        for (std::ptrdiff_t i = 2; i < 3 * kAhead; i += 2) {
            detect(i);
            if (i >= kAhead)
                follow(i - kAhead);
            if (i >= 2 * kAhead)
                place(i - 2 * kAhead);
        }
    }

    // Lets each stage catch up, from the first sample that is not mixed yet. The shelf has no pair left.
    void finish(std::ptrdiff_t i)
    {
        const double shelf = sections[0];
        filterPair(i + 3 * kAhead, 0.0, 0.0);
        for (std::ptrdiff_t k = 2 * kAhead; k < 3 * kAhead; k += 2)
            follow(i + k);
        for (std::ptrdiff_t k = kAhead; k < 3 * kAhead; k += 2)
            place(i + k);
        for (std::ptrdiff_t k = 0; k < 3 * kAhead; k += 2)
            comb(i + k);
        state.sections = Pair{shelf, sections[1]};
        state.envelope = envelope;
        state.smoothed = smoothed;
    }

    // Two recurrences in one: the shelf takes pair i, the high-pass what the shelf made of the pair before.
    void detect(std::ptrdiff_t i)
    {
        filterPair(i, input[i], input[i + 1]);
        see(i);
    }

    // What the high-pass makes of the pair before goes to the places of pair i. The shelf's two samples stay
    // apart between the sections: a pair of them would wait for the second, and the next pair for both.
    void filterPair(std::ptrdiff_t i, double x0, double x1)
    {
        const Pair y0 = filter(x0, shelved0);
        keepDetected(i, y0, filter(x1, shelved1));
    }

    Pair filter(double x, Pair& shelved)
    {
        const Pair in = lowerLanes(Pair{x, 0.0}, shelved);
        const Pair y = run.sectionsB0 * in + sections;
        sections = run.sectionsB1 * in + run.sectionsFb1 * y;
        shelved = run.detectorGain * y;
        return y;
    }

    void keepDetected(std::ptrdiff_t i, Pair y0, Pair y1) { store(handed.detected + i, upperLanes(y0, y1)); }

    void see(std::ptrdiff_t i)
    {
        seen |= std::bit_cast<std::uint64_t>(input[i]) | std::bit_cast<std::uint64_t>(input[i + 1]);
    }

    // Levels as a pair; then, one after the other, what an envelope needs of the one before.
    void follow(std::ptrdiff_t i)
    {
        const Pair level = levelAt(i);
        const double e0 = followOne(level);
        keepEnvelopes(i, e0, followOne(upperLanes(level, level)));
    }

    Pair levelAt(std::ptrdiff_t i)
    {
        if (kGliding)
            store(handed.numbers + i, number);
        const Pair level = magnitude(valueAt(run.sense, number) * load(handed.detected + i + 2));
        number += Pair{2.0, 2.0};
        return level > run.one ? run.one : level;  // no number stays none
    }

    // level: the lower lane counts. A select, in pairs because g++ makes a branch of a scalar one: a branch
    // goes as the signal pleases, and is guessed wrong.
    double followOne(Pair level)
    {
        envelope = envelope > level ? run.releaseCoef * envelope : level;
        smoothed = run.smootherPole * smoothed + run.smootherInput * envelope[0];
        return smoothed;
    }

    void keepEnvelopes(std::ptrdiff_t i, double e0, double e1) { store(handed.envelopes + i, Pair{e0, e1}); }

    // A stage of its own, so that no read waits for the way from an envelope to an address.
    void place(std::ptrdiff_t i) { keepOffset(i, offsetAt<false>(i)); }

    // Counted as the entries are, from newer to older: minus the delay.
    template <bool kFar>
    Pair offsetAt(std::ptrdiff_t i) const
    {
        const Pair m = load(handed.envelopes + i) * valueAt(run.range, numberAt(i));
        const Pair offset = run.offsetBase + run.offsetDepth * m;
        return kFar ? offset : offset < run.zero ? offset : run.zero;
    }

    void keepOffset(std::ptrdiff_t i, Pair offset)
    {
        const IntPair whole = __builtin_convertvector(offset, IntPair);
        store(handed.fractions + i, __builtin_convertvector(whole, Pair) - offset);
        std::memcpy(handed.offsets + i, &whole, sizeof whole);
    }

    void comb(std::ptrdiff_t i)
    {
        const Pair x = load(input + i);
        Pair delayed = readLine(i);
        writeLine<false>(i, x, delayed);
        mix(i, x, delayed);
    }

    // Four reads, wherever the delays point; all the arithmetic in pairs.
    Pair readLine(std::ptrdiff_t i) const
    {
        const double* const now = line + i;
        const std::ptrdiff_t k0 = handed.offsets[i];
        const std::ptrdiff_t k1 = handed.offsets[i + 1] + 1;
        const Pair newer{now[k0], now[k1]};
        const Pair older{now[k0 - 1], now[k1 - 1]};
        return newer + (older - newer) * load(handed.fractions + i);
    }

    // Where the second sample reads what the first one writes, it reads again.
    template <bool kFar>
    void writeLine(std::ptrdiff_t i, Pair x, Pair& delayed)
    {
        double* const now = line + i;
        const Pair g = valueAt(run.reso, numberAt(i));
        const std::ptrdiff_t k1 = handed.offsets[i + 1] + 1;
        if (!kFar && k1 >= 0) [[unlikely]] {
            const double written = (x - g * delayed)[0];
            const double newer = k1 == 0 ? written : now[1];
            const double older = k1 == 0 ? now[-1] : written;
            delayed[1] = newer + (older - newer) * handed.fractions[i + 1];
        }
        store(now, x - g * delayed);
    }

    void mix(std::ptrdiff_t i, Pair x, Pair delayed)
    {
        const Pair n = numberAt(i);
        Pair out = x;
        if (!kSwitching || run.effectOn)
            out = valueAt(run.dry, n) * x + valueAt(run.wet, n) * (x - run.wetDelayGain * delayed);
        if (kSwitching) {
            out = fade * run.fadeUnit * out;
            fade += run.fadeStep;
        }
        store(output + i, out);
    }

    static Pair valueAt(const PairGlide& glide, Pair n)
    {
        return kGliding ? glide.start + n * glide.step : glide.start;
    }

    Pair numberAt(std::ptrdiff_t i) const { return kGliding ? load(handed.numbers + i) : Pair{}; }

    const StagedRun& __restrict run;
    const double* const input;
    double* const output;
    double* const line;
    Handed& handed;
    StagedState& state;
    Pair sections;                // states of the shelf and the high-pass
    Pair shelved0{}, shelved1{};  // lower lanes: the pair before, between the two
    std::uint64_t seen = 0;       // bits of the input, of any sample
    Pair envelope;
    double smoothed;
    Pair number;  // places in the block, of the pair to follow
    Pair fade;    // of the pair to mix
};

}  // namespace

template <bool kGliding, bool kSwitching>
bool processStaged(const StagedRun& __restrict run, const StagedBuffers& buffers, std::ptrdiff_t frames,
                   StagedState& state) noexcept
{
    Handed handed;
    return Stages<kGliding, kSwitching>(run, buffers, handed, state).process(frames);
}

template bool processStaged<false, false>(const StagedRun& __restrict, const StagedBuffers&, std::ptrdiff_t,
                                          StagedState&) noexcept;
template bool processStaged<false, true>(const StagedRun& __restrict, const StagedBuffers&, std::ptrdiff_t,
                                         StagedState&) noexcept;
template bool processStaged<true, false>(const StagedRun& __restrict, const StagedBuffers&, std::ptrdiff_t,
                                         StagedState&) noexcept;
template bool processStaged<true, true>(const StagedRun& __restrict, const StagedBuffers&, std::ptrdiff_t,
                                        StagedState&) noexcept;
