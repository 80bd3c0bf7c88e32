#include "effect/Wail.h"

#include <algorithm>
#include <new>

namespace
{

constexpr double kDelayLineSeconds = 0.1;

// One direction of the sweep.
struct Sweep {
    double base;          // delay at rest, s
    double depth;         // delay change of a full sweep, s
    double rangeLow;      // share of depth at "Range" 0
    double smootherFreq;  // Hz
};

constexpr Sweep kDownward{0.001458333333, 0.001458333333, 0.75, 2.726345};  // "Invert" off: louder is shorter
constexpr Sweep kUpward{0.0003125, 0.001833333333, 0.25, 5.1498405};        // "Invert" on: louder is longer

filterPrm_tag sectionOf(FilterType type, double freq, double gainDb, double sampleRate)
{
    return {.type = type,
            .freq = freq,
            .freqLow = 0.0,
            .freqHigh = 0.0,
            .q = 0.7,
            .gainDb = gainDb,
            .sampleRate = sampleRate};
}

std::unique_ptr<IIRFilter> makeSection(filterPrm_tag prm)
{
    return std::make_unique<IIRFilter>(&prm);
}

// The power law offset + scale (p - center)^exponent, between the two values.
std::unique_ptr<ParamCurve> makeCurve(double valueAtZero, double valueAtOne, float exponent = 1.0f,
                                      float scale = 1.0f, float center = 0.0f, float offset = 0.0f)
{
    auto curve = std::make_unique<ParamCurve>();
    curve->valueAtOne = valueAtOne;
    curve->valueAtZero = valueAtZero;
    curve->scale = scale;
    curve->center = center;
    curve->offset = offset;
    curve->exponent = exponent;
    return curve;
}

}  // namespace

RateObjects::RateObjects(double rate)
    : delayLength(static_cast<VstInt32>(rate * kDelayLineSeconds)),
      // 2: the older entry of an interpolation, and rounding. The quick form reads no farther back.
      lineMargin(static_cast<VstInt32>(rate * (kUpward.base + kUpward.depth)) + 2),
      delayLine(new double[lineMargin + delayLength]),
      senseCurve(makeCurve(0.630957344, 3.16)),                    // -4 dB to +10 dB
      rangeCurve(makeCurve(0.75, 1.0, 0.5f)),                      // setInvert sets the low end
      envelopeCurve(makeCurve(0.9, 0.999908444471572)),            // per sample at 48 kHz; 32764/32767
      resoCurve(makeCurve(0.250007629627369, 0.935789056062502)),  // 8192/32767 to 30663/32767
      dryCurve(makeCurve(0.0, 1.0, 2.0f, -1.0f, 0.0f, 1.0f)),      // 1 - p^2
      wetCurve(makeCurve(0.0, 1.0, 2.0f, -1.0f, 1.0f, 1.0f)),      // 1 - (p - 1)^2
      detectorShelf(makeSection(sectionOf(kHighShelf1, 90.0, 9.0, rate))),
      detectorHighpass(makeSection(sectionOf(kHighPass1, 80.0, 0.0, rate))),
      envelopeSmoother(makeSection(sectionOf(kOnePole, kDownward.smootherFreq, 0.0, rate))),
      onOffSwitch(std::make_unique<FadeSwitch>(rate, 0.0f)),
      invertSwitch(std::make_unique<FadeSwitch>(rate, 0.0f))
{
}

void Wail::setSampleRate(float newSampleRate)
{
    const double rate = newSampleRate;
    if (!(rate >= kMinSampleRate && rate <= kMaxSampleRate) || rate == lastSampleRate)
        return;
    try {
        static_cast<RateObjects&>(*this) = RateObjects(rate);
    } catch (const std::bad_alloc&) {
        return;
    }
    lastSampleRate = rate;

    stageDetector();
    setRelease(initialRelease);
    writeIndex = 0;
    envelope = 0.0;
    senseTarget = rangeTarget = resoTarget = dryTarget = wetTarget = 0.0;
    lastSense = lastRange = lastEnvelope = lastReso = lastBalance = -1.0f;
    senseStart = rangeStart = resoStart = dryStart = wetStart = 0.0;
    setInvert();
    onOffSwitch->lastValue = fOnOff;
    invertSwitch->lastValue = appliedInvert;  // what the sweep really stands at, whatever the host sets now
    parametersAreNew = true;
    resume();
}

void Wail::setRelease(double factor) noexcept
{
    releaseCoef = factor;
    staged.releaseCoef = inBothLanes(factor);
}

void Wail::resume()
{
    clearLine();
    K_TypeBase::resume();
}

void Wail::clearLine() noexcept
{
    if (delayLine != nullptr)
        std::fill_n(delayLine.get(), lineMargin + delayLength, 0.0);
}

void Wail::setInvert()
{
    const float invert = fInvert;
    const Sweep& sweep = invert == 1.0f ? kUpward : kDownward;
    sweepBase = lastSampleRate * sweep.base;
    sweepDepth = lastSampleRate * sweep.depth;
    rangeCurve->valueAtZero = sweep.rangeLow;
    rangeCurve->valueAtOne = 1.0;
    filterPrm_tag smoother = sectionOf(kOnePole, sweep.smootherFreq, 0.0, lastSampleRate);
    envelopeSmoother->FDexcute(&smoother);
    staged.offsetBase = inBothLanes(-sweepBase);
    staged.offsetDepth = inBothLanes(invert == 1.0f ? -sweepDepth : sweepDepth);
    staged.smootherPole = envelopeSmoother->coef.b0;
    staged.smootherInput = envelopeSmoother->coef.fb1;
    rangeTarget = rangeCurve->map(fRange);
    glidesAreStale = true;
    appliedInvert = invert;
}
