#include "effect/Wail.h"

#include "effect/FlushToZero.h"

#include <algorithm>
#include <cmath>

namespace
{

constexpr double kReleaseRate = 48000.0;  // Hz: the envelope curve gives the fall of a sample at this rate

}  // namespace

void Wail::processReplacing(float** /*inputs*/, float** /*outputs*/, VstInt32 /*sampleFrames*/) {}

void Wail::processDoubleReplacing(double** inputs, double** outputs, VstInt32 sampleFrames)
{
    if (sampleFrames < 0)
        return;
    const ScopedLock lock(paramMutex);
    if (delayLine == nullptr) {
        if (sampleFrames > 0 && inputs[0] != outputs[0])
            std::copy_n(inputs[0], sampleFrames, outputs[0]);
        return;
    }
    const FlushToZero flushToZero;
    if (parametersAreNew) {
        mapChangedParameters();
        updateSwitches();
        parametersAreNew = std::isnan(fOnOff) || std::isnan(fInvert);  // never equal, so new in every block
    }
    if (sampleFrames > 0 && !processRuns(inputs[0], outputs[0], sampleFrames))
        recover(outputs[0], sampleFrames);
    if (glidesAreStale)
        finishGlides();
}

// A curve costs a power or two, so only those of parameters that moved are evaluated.
void Wail::mapChangedParameters() noexcept
{
    const auto changed = [this](float value, float& last) {
        const bool isNew = value != last;
        glidesAreStale |= isNew;
        last = value;
        return isNew;
    };
    if (changed(fSense, lastSense))
        senseTarget = senseCurve->map(lastSense);
    if (changed(fReso, lastReso))
        resoTarget = resoCurve->map(lastReso);
    if (changed(fRange, lastRange))
        rangeTarget = rangeCurve->map(lastRange);
    if (changed(fBalance, lastBalance)) {
        dryTarget = dryCurve->map(lastBalance);
        wetTarget = wetCurve->map(lastBalance);
    }
    if (changed(fEnvelope, lastEnvelope))
        setRelease(powerOfSingle(envelopeCurve->map(lastEnvelope), kReleaseRate / lastSampleRate));
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

// The next block glides from where this one went.
void Wail::finishGlides() noexcept
{
    senseStart = senseTarget;
    rangeStart = rangeTarget;
    resoStart = resoTarget;
    dryStart = dryTarget;
    wetStart = wetTarget;
}
