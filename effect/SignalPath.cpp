#include "effect/SignalPath.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <type_traits>

namespace
{

// One direction of the sweep.
struct Sweep {
    double base;          // delay at rest, s
    double depth;         // delay change of a full sweep, s
    double rangeLow;      // r at "Range" 0
    double smootherFreq;  // Hz
};

constexpr Sweep kDownward{0.001458333333, 0.001458333333, 0.75, 2.726345};  // "Invert" off: louder is shorter
constexpr Sweep kUpward{0.0003125, 0.001833333333, 0.25, 5.1498405};        // "Invert" on: louder is longer

// The longest delay of parameters in 0 .. 1; the other direction's is its base, which is shorter.
constexpr double kLongestDelay = kUpward.base + kUpward.depth;  // s

// Under FlushToZero a result that would be subnormal becomes 0.
float toSingle(double sample) noexcept
{
    constexpr double kLargest = std::numeric_limits<float>::max();
    if (!std::isfinite(sample))
        return 0.0f;  // as the recovery at the end of the block makes it in double precision
    return static_cast<float>(std::clamp(sample, -kLargest, kLargest));
}

}  // namespace

SignalPath::SignalPath(double sampleRate, const ParameterValues& values)
    : lastSampleRate(sampleRate), live(values), delayLine(sampleRate, sampleRate * kLongestDelay),
      follower(sampleRate, kDownward.smootherFreq), parameters(sampleRate),
      onOffSwitch(sampleRate, values.fOnOff), invertSwitch(sampleRate, 0.0f)
{
    setInvert();
    invertSwitch.lastValue = appliedInvert;  // not live.fInvert: another thread may just have changed it
}

void SignalPath::setInvert() noexcept
{
    appliedInvert = live.fInvert;
    const Sweep& sweep = appliedInvert == 1.0f ? kUpward : kDownward;
    sweepBase = lastSampleRate * sweep.base;
    sweepDepth = lastSampleRate * sweep.depth;
    parameters.setRangeLow(sweep.rangeLow, live.fRange);
    glidesAreStale = true;
    follower.setSmoother(sweep.smootherFreq, lastSampleRate);
    follower.writeTo(settings);
    writeSweep();
}

// A change of On/Off during its fade-in turns that into a fade-out from the same index; during its
// fade-out, effect and dry input change places at once. Both jump in level. A change of Invert never
// disturbs a transition.
bool SignalPath::takeParameters(bool firstBlock) noexcept
{
    if (parameters.update(live)) {
        glidesAreStale = true;
        follower.setRelease(parameters.release);
    }
    const float onOff = live.fOnOff;
    const float invert = live.fInvert;
    if (firstBlock) {
        onOffSwitch.lastValue = onOff;
        invertSwitch.lastValue = invert;
        setInvert();
    }
    if (onOff != onOffSwitch.lastValue)
        onOffSwitch.state = FadeSwitch::kFadingOut;
    if (invert != invertSwitch.lastValue && invertSwitch.state == FadeSwitch::kIdle)
        invertSwitch.state = FadeSwitch::kFadingOut;
    onOffSwitch.lastValue = onOff;
    invertSwitch.lastValue = invert;
    return std::isnan(onOff) || std::isnan(invert);
}

// Cuts the block into runs. From the first one whose results are not moderate, the rest of the block is
// processed sample by sample and inspected.
template <typename Sample>
void SignalPath::process(const Sample* input, Sample* output, VstInt32 frames) noexcept
{
    if (frames > 0 && glidesAreStale)
        prepareGlides(frames);
    Magnitude worst = memoryIsModerate && gainsAreModerate ? Magnitude::kSmall : Magnitude::kFinite;
    VstInt32 length = 0;
    for (VstInt32 first = 0; first < frames; first += length) {
        length = runLength(frames - first);
        if (invertSwitch.isSilent())
            setInvert();
        Run run{nullptr, nullptr, delayLine.current(), length, first};
        if constexpr (std::is_same_v<Sample, double>) {
            run.input = input + first;
            run.output = output + first;
            worst = std::max(worst, processRun(run, worst));
        } else {
            std::array<double, kMaxRunLength> samples;
            std::copy_n(input + first, length, samples.begin());
            run.input = run.output = samples.data();
            worst = std::max(worst, processRun(run, worst));
            std::transform(samples.begin(), samples.begin() + length, output + first, toSingle);
        }
        advance(length);
    }
    const bool isModerate = worst <= Magnitude::kModerate && follower.isModerate();
    if (!isModerate && frames > 0 && !staysFinite(worst)) {
        std::replace_if(
            output, output + frames, [](Sample s) { return !std::isfinite(s); }, Sample{0});
        clearMemory();
    }
    if (glidesAreStale)
        parameters.finishGlides();
}

template void SignalPath::process(const double*, double*, VstInt32) noexcept;
template void SignalPath::process(const float*, float*, VstInt32) noexcept;

// Prepares the glides of a block, which go on even if the silent point of a switch sets a new target.
inline void SignalPath::prepareGlides(VstInt32 frames) noexcept
{
    gainsAreModerate = parameters.areModerate();
    if (!gainsAreModerate) {
        parameters.dropInvalidStarts();
        gainsAreModerate = parameters.areModerate();
    }
    const bool isStable = gainsAreModerate || parameters.areStable();
    if (isStable && !wasStable)
        clearMemory();
    wasStable = isStable;
    parameters.writeTo(settings, frames);
    gliding = parameters.gliding();
    glidesAreStale = gliding != kNoGlide;
    widestRange = std::max(parameters.range.start, parameters.range.target);
}

// Samples until a switch changes its state, the line wraps, or the pipeline's memory is full.
VstInt32 SignalPath::runLength(VstInt32 framesLeft) const noexcept
{
    return std::min({framesLeft, onOffSwitch.samplesLeft(), invertSwitch.samplesLeft(),
                     delayLine.samplesToWrap(), VstInt32{kMaxRunLength}});
}

// soFar: of the block's runs before this one. If the input is small the run is moderate; otherwise the
// line's new entries are inspected, since each input is written there.
inline Magnitude SignalPath::processRun(const Run& run, Magnitude soFar) noexcept
{
    const auto length = static_cast<std::size_t>(run.length);
    const bool effectOn = effectIsOn();
    if (soFar <= Magnitude::kModerate) {
        if (processPipelined(run, effectOn))
            return Magnitude::kSmall;
        if (areModerate({run.line, length}))
            return Magnitude::kModerate;
    } else {
        processEachSample(run, 0, effectOn);
    }
    return areFinite({run.output, length}) && areFinite({run.line, length}) ? Magnitude::kFinite
                                                                            : Magnitude::kNotFinite;
}

// While On/Off fades out, the value before the change is still in force.
bool SignalPath::effectIsOn() const noexcept
{
    return (live.fOnOff == 1.0f) != (onOffSwitch.state == FadeSwitch::kFadingOut);
}

void SignalPath::writeSweep() noexcept
{
    settings.offsetBase = inBothLanes(-sweepBase);
    settings.offsetDepth = inBothLanes(appliedInvert == 1.0f ? -sweepDepth : sweepDepth);
    settings.wetDelayGain = inBothLanes(wetDelayGain);
}

// Moves line and switches on. If "Invert" changed after the silent point of its transition, the sweep does
// not follow it yet, so another transition starts.
inline void SignalPath::advance(VstInt32 samples) noexcept
{
    const bool wasFading = invertSwitch.state != FadeSwitch::kIdle;
    delayLine.advance(samples);
    onOffSwitch.advance(samples);
    invertSwitch.advance(samples);
    const bool changedLate = live.fInvert != appliedInvert && !std::isnan(live.fInvert);
    if (wasFading && invertSwitch.state == FadeSwitch::kIdle && changedLate)
        invertSwitch.state = FadeSwitch::kFadingOut;
}

// The end of a block that was not moderate throughout. worst: the largest Magnitude of its runs. Returns
// true if every sample and every state is finite.
bool SignalPath::staysFinite(Magnitude worst) noexcept
{
    memoryIsModerate = gainsAreModerate && follower.isModerate() && delayLine.isModerate();
    return worst <= Magnitude::kFinite && follower.isFinite();
}

void SignalPath::clearMemory() noexcept
{
    delayLine.clear();
    follower.reset();
    memoryIsModerate = true;
}

void SignalPath::reset() noexcept
{
    takeParameters(true);
    onOffSwitch.stop();
    invertSwitch.stop();
    parameters.finishGlides();
    clearMemory();
}
