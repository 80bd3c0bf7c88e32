#include "effect/Wail.h"

#include "effect/FlushToZero.h"
#include "effect/StagedRun.h"
#include "effect/WailRun.h"

#include <algorithm>
#include <cmath>
#include <mutex>

namespace
{

constexpr double kReleaseRate = 48000.0;  // Hz: the envelope curve gives the fall of a sample at this rate

bool areFinite(const double* samples, VstInt32 count)
{
    return std::all_of(samples, samples + count, [](double s) { return std::isfinite(s); });
}

}  // namespace

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
    const auto changed = [this](float value, float last) {
        const bool isNew = value != last;
        gainsMayMove |= isNew;
        return isNew;
    };
    if (changed(fSense, lastSense))
        senseTarget = senseCurve->map(fSense);
    if (changed(fReso, lastReso))
        resoTarget = resoCurve->map(fReso);
    if (changed(fRange, lastRange))
        rangeTarget = rangeCurve->map(fRange);
    if (changed(fBalance, lastBalance)) {
        dryTarget = dryCurve->map(fBalance);
        wetTarget = wetCurve->map(fBalance);
    }
    if (changed(fEnvelope, lastEnvelope))
        setRelease(std::pow(envelopeCurve->map(fEnvelope), kReleaseRate / lastSampleRate));
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

// Cuts the block where a switch changes its state and where the line comes round. Answers whether all was
// finite. A look at every sample would cost more than a tenth of the block's time: where the input, the
// gains and what the effect remembers are moderate, nothing can overflow, and only other runs are looked at.
bool Wail::processRuns(const double* input, double* output, VstInt32 frames)
{
    if (gainsMayMove)
        stageGains(frames);
    const bool moderate = memoryIsModerate && gainsAreModerate;
    bool allModerate = moderate;
    bool finite = true;
    VstInt32 length = 0;
    for (VstInt32 first = 0; first < frames; first += length) {
        length = std::min({frames - first, onOffSwitch->samplesLeft(), invertSwitch->samplesLeft(),
                           delayLength - writeIndex, VstInt32{kMaxStagedFrames}});
        if (invertSwitch->isSilent())
            setInvert();
        // While On/Off fades out, the value before the change is still in force.
        const bool effectOn = (fOnOff == 1.0f) != (onOffSwitch->state == FadeSwitch::kFadingOut);
        const Run run{.input = input + first,
                      .output = output + first,
                      .line = lineEntry(writeIndex),
                      .first = first,
                      .length = length,
                      .effectOn = effectOn,
                      .onOff = onOffSwitch->gain(),
                      .invert = invertSwitch->gain()};
        const double peak = moderate ? processPairs(run) : processSamples(run, 0);
        if (!moderate || peak > kModerate) {
            finite &= areFinite(run.output, length) && areFinite(run.line, length);
            allModerate = false;
        }
        advanceLine(length);
        onOffSwitch->advance(length);
        invertSwitch->advance(length);
        if (invertSwitch->state == FadeSwitch::kIdle && fInvert != appliedInvert)
            invertSwitch->state = FadeSwitch::kFadingOut;  // it changed after the silent point
    }
    if (allModerate && detectorIsModerate())
        return true;
    memoryIsModerate = detectorIsModerate() && lineIsModerate();
    return finite && detectorIsFinite();
}

// Nothing that is not finite is heard, and nothing of it is left: the next block starts as after long
// silence. Glides, switches and the write position go on.
void Wail::recover(double* output, VstInt32 frames) noexcept
{
    const auto notFinite = [](double sample) { return !std::isfinite(sample); };
    std::replace_if(output, output + frames, notFinite, 0.0);
    clearLine();
    detectorShelf->refresh();
    detectorHighpass->refresh();
    envelopeSmoother->refresh();
    envelope = 0.0;
    memoryIsModerate = true;
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
