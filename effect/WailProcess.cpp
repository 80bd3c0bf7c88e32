#include "effect/Wail.h"

#include "effect/FlushToZero.h"

#include <algorithm>
#include <cmath>
#include <mutex>

namespace
{

constexpr double kDetectorGain = 1.584893192;  // +4 dB, 10^(4/20)
constexpr double kReleaseRate = 48000.0;  // Hz: the envelope curve gives the fall of a sample at this rate

// A value that moves linearly from start, at a block's first sample, to target, at its last.
struct Glide {
    Glide(double from, double to, double inc) : start(from), step((to - from) * inc) {}

    double at(double n) const { return start + n * step; }  // n: sample of the block, from 0

    double start;
    double step;
};

// 0, or not-a-number for a value that is not finite: sums of these hold on to the fact.
double strangeness(double value)
{
    return value - value;
}

}  // namespace

// The glided values of a block.
struct Wail::Glides {
    Glide sense, range, reso, dry, wet;
};

// Samples of a block in which neither switch changes its state.
struct Wail::Run {
    const double* input;
    double* output;
    VstInt32 first;   // place of the first sample in its block
    VstInt32 length;  // samples
    bool effectOn;    // the effect is produced, not the dry input
    FadeSwitch::Gain onOff;
    FadeSwitch::Gain invert;
};

void Wail::processReplacing(float** /*inputs*/, float** /*outputs*/, VstInt32 /*sampleFrames*/) {}

void Wail::processDoubleReplacing(double** inputs, double** outputs, VstInt32 sampleFrames)
{
    if (sampleFrames < 0)
        return;
    const std::lock_guard lock(paramMutex);
    if (delayLine == nullptr) {
        if (sampleFrames > 0 && inputs[0] != outputs[0])
            std::copy_n(inputs[0], sampleFrames, outputs[0]);
        return;
    }
    const FlushToZero flushToZero;
    mapChangedParameters();
    updateSwitches();
    if (sampleFrames > 0 && !processRuns(inputs[0], outputs[0], sampleFrames))
        recover(outputs[0], sampleFrames);
    finishBlock();
}

// A curve costs a power or two, so only those of parameters that moved are evaluated.
void Wail::mapChangedParameters() noexcept
{
    if (fSense != lastSense)
        senseTarget = senseCurve->map(fSense);
    if (fReso != lastReso)
        resoTarget = resoCurve->map(fReso);
    if (fRange != lastRange)
        rangeTarget = rangeCurve->map(fRange);
    if (fBalance != lastBalance) {
        dryTarget = dryCurve->map(fBalance);
        wetTarget = wetCurve->map(fBalance);
    }
    if (fEnvelope != lastEnvelope)
        releaseCoef = std::pow(envelopeCurve->map(fEnvelope), kReleaseRate / lastSampleRate);
}

// A change of On/Off in its fade-in turns it into a fade-out from the same index; a change of Invert never
// disturbs a transition.
void Wail::updateSwitches()
{
    if (firstBlock) {  // nothing was heard yet, so there is nothing to fade
        onOffSwitch->lastValue = fOnOff;
        invertSwitch->lastValue = fInvert;
        setInvert();
        firstBlock = false;
    }
    if (fOnOff != onOffSwitch->lastValue)
        onOffSwitch->state = FadeSwitch::kFadingOut;
    if (fInvert != invertSwitch->lastValue && invertSwitch->state == FadeSwitch::kIdle)
        invertSwitch->state = FadeSwitch::kFadingOut;
    onOffSwitch->lastValue = fOnOff;
    invertSwitch->lastValue = fInvert;
}

// Cuts the block where a switch changes its state. Answers whether all was finite.
bool Wail::processRuns(const double* input, double* output, VstInt32 frames)
{
    const double inc = frames > 1 ? 1.0 / (frames - 1) : 0.0;
    const Glides glides{{senseStart, senseTarget, inc},
                        {rangeStart, rangeTarget, inc},
                        {resoStart, resoTarget, inc},
                        {dryStart, dryTarget, inc},
                        {wetStart, wetTarget, inc}};
    bool finite = true;
    VstInt32 length = 0;
    for (VstInt32 first = 0; first < frames; first += length) {
        length = std::min({frames - first, onOffSwitch->samplesLeft(), invertSwitch->samplesLeft()});
        if (invertSwitch->isSilent())
            setInvert();
        // While On/Off fades out, the value before the change is still in force.
        const bool effectOn = (fOnOff == 1.0f) != (onOffSwitch->state == FadeSwitch::kFadingOut);
        finite &= processRun({input + first, output + first, first, length, effectOn, onOffSwitch->gain(),
                              invertSwitch->gain()},
                             glides);
        onOffSwitch->advance(length);
        invertSwitch->advance(length);
        if (invertSwitch->state == FadeSwitch::kIdle && fInvert != appliedInvert)
            invertSwitch->state = FadeSwitch::kFadingOut;  // it changed after the silent point
    }
    return finite && statesAreFinite();
}

bool Wail::processRun(const Run& run, const Glides& glides) noexcept
{
    double strange = 0.0;
    for (VstInt32 i = 0; i < run.length; ++i) {
        const double n = run.first + i;
        const double x = run.input[i];
        const double e = followLevel(x, glides.sense.at(n));
        const double y = readLine(delayFor(e, glides.range.at(n)));
        const double onOff = run.onOff.at(i);
        const double out = run.effectOn
                               ? run.invert.at(i) * onOff *
                                     (glides.dry.at(n) * x + glides.wet.at(n) * (x - wetDelayGain * y))
                               : onOff * x;
        const double v = x - glides.reso.at(n) * y;
        run.output[i] = out;
        writeLine(v);
        strange += strangeness(out) + strangeness(v);
    }
    return strange == 0.0;
}

// What is not finite in the detector or the envelope stays there, so the end of a block tells.
bool Wail::statesAreFinite() const noexcept
{
    double strange = strangeness(envelope) + strangeness(envelopeSmoother->z1);
    for (const auto& section : {detectorShelf.get(), detectorHighpass.get()})
        strange += strangeness(section->z1) + strangeness(section->z2);
    return strange == 0.0;
}

// Nothing that is not finite is heard, and nothing of it is left: the next block starts as after long
// silence. Glides, switches and the write position go on.
void Wail::recover(double* output, VstInt32 frames) noexcept
{
    const auto notFinite = [](double sample) { return !std::isfinite(sample); };
    std::replace_if(output, output + frames, notFinite, 0.0);
    std::fill_n(delayLine.get(), delayLength, 0.0);
    detectorShelf->refresh();
    detectorHighpass->refresh();
    envelopeSmoother->refresh();
    envelope = 0.0;
}

// The envelope of the level, which rises at once and falls by releaseCoef a sample, smoothed: 0 .. 1.
double Wail::followLevel(double x, double sense) noexcept
{
    double t = x;
    detectorShelf->iirProcessing(&t);
    t *= kDetectorGain;
    detectorHighpass->iirProcessing(&t);

    double level = std::fabs(sense * t);
    if (level > 1.0)
        level = 1.0;
    if (envelope > level)
        level = releaseCoef * envelope;
    envelope = level;

    envelopeSmoother->iirProcessing(&level);
    return level;
}

// In samples, limited to the line; parameters beyond 0 .. 1 can ask for more, or for not-a-number.
double Wail::delayFor(double e, double range) const noexcept
{
    const double m = appliedInvert == 1.0f ? e * range : (0.0 - e) * range;
    const double p = sweepBase + sweepDepth * m;
    return p > 0.0 ? std::min(p, static_cast<double>(delayLength - 1)) : 0.0;
}

// Linear between entry k and the entry one sample older. A delay below 1 blends the oldest entry, which the
// current sample is about to replace, with the newest.
double Wail::readLine(double delay) const noexcept
{
    const auto D = static_cast<VstInt32>(delay);
    VstInt32 k = writeIndex - D;
    if (k < 0)
        k += delayLength;
    const VstInt32 j = k == 0 ? delayLength - 1 : k - 1;
    return delayLine[k] + (delayLine[j] - delayLine[k]) * (delay - D);
}

void Wail::writeLine(double sample) noexcept
{
    delayLine[writeIndex] = sample;
    if (++writeIndex == delayLength)
        writeIndex = 0;
}

void Wail::finishBlock() noexcept
{
    lastSense = fSense;
    lastReso = fReso;
    lastRange = fRange;
    lastBalance = fBalance;
    lastEnvelope = fEnvelope;
    senseStart = senseTarget;
    rangeStart = rangeTarget;
    resoStart = resoTarget;
    dryStart = dryTarget;
    wetStart = wetTarget;
}
