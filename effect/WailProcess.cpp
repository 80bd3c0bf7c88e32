#include "effect/Wail.h"

#include "effect/FlushToZero.h"

#include <algorithm>
#include <cmath>
#include <mutex>
#include <new>

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

}  // namespace

void Wail::processReplacing(float** /*inputs*/, float** /*outputs*/, VstInt32 /*sampleFrames*/) {}

void Wail::processDoubleReplacing(double** inputs, double** outputs, VstInt32 sampleFrames)
{
    if (sampleFrames < 0)
        return;
    const std::lock_guard lock(paramMutex);
    if (delayLine == nullptr || !fitBlockBuffers(sampleFrames)) {
        if (sampleFrames > 0 && inputs[0] != outputs[0])
            std::copy_n(inputs[0], sampleFrames, outputs[0]);
        return;
    }
    const FlushToZero flushToZero;
    mapChangedParameters();
    runSwitches(sampleFrames);
    if (sampleFrames > 0)
        processSamples(inputs[0], outputs[0], sampleFrames);
    finishBlock(sampleFrames);
}

// Makes the gain buffers anew for another block length; false, with nothing changed, where there is no
// memory for them.
bool Wail::fitBlockBuffers(VstInt32 frames) noexcept
{
    if (frames == lastBlockSize && frames == onOffSwitch->lastBlockSize)
        return true;
    std::unique_ptr<double[]> newOnOffRamp(new (std::nothrow) double[frames]);
    std::unique_ptr<double[]> newInvertRamp(new (std::nothrow) double[frames]);
    std::unique_ptr<float[]> newValues(new (std::nothrow) float[frames]);
    if (newOnOffRamp == nullptr || newInvertRamp == nullptr || newValues == nullptr)
        return false;
    onOffRamp = std::move(newOnOffRamp);
    invertRamp = std::move(newInvertRamp);
    onOffSwitch->valueBuffer = std::move(newValues);
    return true;
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

void Wail::runSwitches(VstInt32 frames)
{
    if (firstBlock) {  // nothing was heard yet, so there is nothing to fade
        onOffSwitch->lastValue = fOnOff;
        invertSwitch->lastValue = fInvert;
        setInvert();
        firstBlock = false;
    }
    onOffSwitch->runOnOff(fOnOff, onOffRamp.get(), frames);
    invertSwitch->runInvert(fInvert, appliedInvert, invertRamp.get(), frames);
}

void Wail::processSamples(const double* input, double* output, VstInt32 frames)
{
    const double inc = frames > 1 ? 1.0 / (frames - 1) : 0.0;
    const Glide sense(senseStart, senseTarget, inc);
    const Glide range(rangeStart, rangeTarget, inc);
    const Glide reso(resoStart, resoTarget, inc);
    const Glide dry(dryStart, dryTarget, inc);
    const Glide wet(wetStart, wetTarget, inc);
    const float* const onOff = onOffSwitch->valueBuffer.get();

    for (VstInt32 i = 0; i < frames; ++i) {
        const double n = i;
        const double x = input[i];
        if (invertRamp[i] <= 0.0)
            setInvert();  // the output is silent here

        const double e = followLevel(x, sense.at(n));
        const double y = readLine(delayFor(e, range.at(n)));
        if (onOff[i] == 1.0f)
            output[i] = invertRamp[i] * onOffRamp[i] * (dry.at(n) * x + wet.at(n) * (x - wetDelayGain * y));
        else
            output[i] = onOffRamp[i] * x;
        writeLine(x - reso.at(n) * y);
    }
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

void Wail::finishBlock(VstInt32 frames) noexcept
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
    lastBlockSize = frames;
}
