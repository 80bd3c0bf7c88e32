#include "effect/SignalPath.h"

// The samples of one run: two at a time through the pipeline, or one by one.

// The quick form of processEachSample, for moderate gains and memory. Short runs, a last odd sample and
// runs in which both switches fade are passed to processEachSample. Returns true if every input is small.
bool SignalPath::processPipelined(const Run& run, bool effectOn) noexcept
{
    const bool onOffFades = onOffSwitch.state != FadeSwitch::kIdle;
    const bool invertFades = invertSwitch.state != FadeSwitch::kIdle;
    if (run.length < kMinPipelinedLength || (onOffFades && invertFades && effectOn))
        return processEachSample(run, 0, effectOn);
    const bool switching = onOffFades || invertFades || !effectOn;
    if (switching)
        writeFades(effectOn);

    // This stretch of the line was last touched a lap ago: it arrives while the pipeline fills.
    for (std::ptrdiff_t i = 0; i < DelayLine::kPrefetched; i += 8)
        __builtin_prefetch(run.line + i, 1);

    settings.delayStaysAboveTwo = gliding != kNoGlide && delayStaysAboveTwo();
    PipelineState state = follower.state();
    const std::ptrdiff_t paired = run.length - run.length % 2;
    static constexpr decltype(&processPipeline<kNoGlide, false>) kPipelines[][2] = {
        {processPipeline<kNoGlide, false>, processPipeline<kNoGlide, true>},
        {processPipeline<kSweepGlides, false>, processPipeline<kAllGlide, true>},
        {processPipeline<kAllGlide, false>, processPipeline<kAllGlide, true>}};
    const bool inputIsSmall = kPipelines[gliding][switching ? 1 : 0](settings, run, paired, state);
    follower.setState(state);
    if (paired == run.length)
        return inputIsSmall;
    return processEachSample(run, paired, effectOn) && inputIsSmall;
}

// The samples of a run from index `from` on, as the formulas have them. Returns true if every input is small.
bool SignalPath::processEachSample(const Run& run, std::ptrdiff_t from, bool effectOn) noexcept
{
    const FadeSwitch::Gain onOffGain = onOffSwitch.gain();
    const FadeSwitch::Gain invertGain = invertSwitch.gain();
    bool inputIsSmall = true;
    for (std::ptrdiff_t i = from; i < run.length; ++i) {
        const auto n = static_cast<double>(run.placeInBlock + i);
        const auto k = static_cast<double>(i);
        const double x = run.input[i];
        inputIsSmall = inputIsSmall && isSmall(x);
        const double e = follower.follow(x, settings.sense.at(n));
        const double y = delayLine.read(static_cast<VstInt32>(i), delayFor(e, settings.range.at(n)));
        run.output[i] = effectOn ? invertGain.at(k) * onOffGain.at(k) *
                                       (settings.dry.at(n) * x + settings.wet.at(n) * (x - wetDelayGain * y))
                                 : onOffGain.at(k) * x;
        run.line[i] = x - settings.reso.at(n) * y;
    }
    return inputIsSmall;
}

// In samples. Parameters beyond 0 .. 1 can make it longer than the line, negative or NaN.
double SignalPath::delayFor(double e, double range) const noexcept
{
    const double m = appliedInvert == 1.0f ? e * range : (0.0 - e) * range;
    return sweepBase + sweepDepth * m;
}

// True if no delay of this block is below two samples, whatever the envelope; with room for rounding.
bool SignalPath::delayStaysAboveTwo() const noexcept
{
    const double shortest = sweepBase - (appliedInvert == 1.0f ? 0.0 : sweepDepth * widestRange);
    return shortest > 2.001;
}

// At most one switch fades, or the dry input is produced, which only On/Off fades.
void SignalPath::writeFades(bool effectOn) noexcept
{
    const bool isOnOff = onOffSwitch.state != FadeSwitch::kIdle || !effectOn;
    const FadeSwitch::Gain gain = isOnOff ? onOffSwitch.gain() : invertSwitch.gain();
    settings.fadeCount = Pair{gain.first, gain.first + gain.perSample};
    settings.fadeStep = inBothLanes(2.0 * gain.perSample);
    settings.fadeUnit = inBothLanes(gain.unit);
    settings.effectOn = effectOn;
}
