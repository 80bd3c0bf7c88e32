#include "effect/PipelineStages.h"

// The sample path is a chain of recurrences (detector, envelope, smoother) followed by work that depends on
// them (delay, line, mix). Done sample by sample, each would wait for the one before. Software pipelining
// takes the path apart into four stages, each kLead = 4 samples ahead of the next, and one step advances
// all four by two samples:
//
//     stage    works on     does                                       hands on, in PipelineScratch
//     detect   i + 12, 13   shelf; high-pass of the pair before        detected
//     follow   i + 8, 9     level, envelope, smoother                  envelopes, sampleIndices
//     locate   i + 4, 5     delay, split into entries and fraction     offsets, fractions
//     comb     i, i + 1     line read and written, mix                 (the output)
//
// Four samples ahead, because a stage's results are then ready, in memory, before the next stage asks for
// them: the processor has independent work from four places while a recurrence makes it wait, and the
// recurrences alone bound the time of a sample.
//
// The high-pass is one pair late: shelf and high-pass run side by side in the two lanes of a pair, and the
// high-pass needs what the shelf makes of the same samples. So while the shelf takes pair i, the high-pass
// takes what the shelf made of pair i - 2, and `detected` holds each result two places after its sample.

namespace
{

constexpr std::ptrdiff_t kLead = 4;  // samples from one stage to the next
static_assert(kMinPipelinedLength > 3 * kLead);

template <Gliding kGliding, bool kSwitching>
class Pipeline
{
public:
    Pipeline(const PipelineSettings& __restrict settings, const Run& run, PipelineScratch& scratch,
             PipelineState& state)
        : stages(settings, run, scratch, state)
    {
    }

    // While values glide, testing for short delays costs 5 % of a sample's time, so a loop without the test
    // runs as long as it is safe: inputs are inspected before their envelope is followed. At rest the test
    // costs 2 %, and one loop suffices.
    bool process(std::ptrdiff_t length)
    {
        fill();
        std::ptrdiff_t i = 0;
        if (kGliding != kNoGlide && stages.settings.delayStaysAboveTwo)
            for (; i + 3 * kLead < length && stages.inputIsSmall(); i += 2)
                step<true>(i);
        for (; i + 3 * kLead < length; i += 2)
            step<false>(i);
        drain(i);
        return stages.inputIsSmall();
    }

private:
    // All stages, interleaved by hand: of two instructions that are ready a processor issues the older, so
    // the links of the recurrences stand early and apart, among work that nothing waits for. The order is
    // among the quickest of several hundred measured. kAboveTwo: no delay is shorter than two samples.
    template <bool kAboveTwo>
    void step(std::ptrdiff_t i)
    {
        const std::ptrdiff_t toLocate = i + kLead;
        const std::ptrdiff_t toFollow = i + 2 * kLead;
        const std::ptrdiff_t toDetect = i + 3 * kLead;
        const Pair y0 = stages.filter(stages.input[toDetect], stages.shelved0);
        const Pair level = stages.levelAt(toFollow);
        const Pair x = load(stages.input + i);
        Pair delayed = stages.readLine(i);
        stages.storeDetected(toDetect, y0, stages.filter(stages.input[toDetect + 1], stages.shelved1));
        stages.collectInputBits(toDetect);
        stages.template writeLine<kAboveTwo>(i, x, delayed);
        const double e0 = stages.followOne(level);
        const Pair offset = stages.template offsetAt<kAboveTwo>(toLocate);
        stages.storeEnvelopes(toFollow, e0, stages.followOne(upperLanes(level, level)));
        stages.mix(i, x, delayed);
        stages.storeOffset(toLocate, offset);
    }

    // Gives each stage its lead. The high-pass has no pair to take yet and keeps its state.
    void fill()
    {
        stages.detect(0);
        stages.sections[1] = stages.state.sections[1];
        for (std::ptrdiff_t i = 2; i < 3 * kLead; i += 2) {
            stages.detect(i);
            if (i >= kLead)
                stages.follow(i - kLead);
            if (i >= 2 * kLead)
                stages.locate(i - 2 * kLead);
        }
    }

    // Lets each stage catch up; i: the first sample that is not mixed yet. The shelf has no pair left to
    // take.
    void drain(std::ptrdiff_t i)
    {
        const double shelf = stages.sections[0];
        stages.filterPair(i + 3 * kLead, 0.0, 0.0);
        for (std::ptrdiff_t k = 2 * kLead; k < 3 * kLead; k += 2)
            stages.follow(i + k);
        for (std::ptrdiff_t k = kLead; k < 3 * kLead; k += 2)
            stages.locate(i + k);
        for (std::ptrdiff_t k = 0; k < 3 * kLead; k += 2)
            stages.comb(i + k);
        stages.state.sections = Pair{shelf, stages.sections[1]};
        stages.state.envelope = stages.envelope;
        stages.state.smoothed = stages.smoothed;
    }

    PipelineStages<kGliding, kSwitching> stages;
};

}  // namespace

template <Gliding kGliding, bool kSwitching>
bool processPipeline(const PipelineSettings& __restrict settings, const Run& run, std::ptrdiff_t length,
                     PipelineState& state) noexcept
{
    PipelineScratch scratch;
    return Pipeline<kGliding, kSwitching>(settings, run, scratch, state).process(length);
}

template bool processPipeline<kNoGlide, false>(const PipelineSettings& __restrict, const Run&, std::ptrdiff_t,
                                               PipelineState&) noexcept;
template bool processPipeline<kNoGlide, true>(const PipelineSettings& __restrict, const Run&, std::ptrdiff_t,
                                              PipelineState&) noexcept;
template bool processPipeline<kSweepGlides, false>(const PipelineSettings& __restrict, const Run&,
                                                   std::ptrdiff_t, PipelineState&) noexcept;
template bool processPipeline<kAllGlide, false>(const PipelineSettings& __restrict, const Run&,
                                                std::ptrdiff_t, PipelineState&) noexcept;
template bool processPipeline<kAllGlide, true>(const PipelineSettings& __restrict, const Run&, std::ptrdiff_t,
                                               PipelineState&) noexcept;
