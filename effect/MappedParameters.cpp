#include "effect/MappedParameters.h"

namespace
{

constexpr double kReleaseRate = 48000.0;  // Hz: the envelope curve gives the release per sample at this rate

// The power law offset + scale (p - center)^exponent between the two values.
ParamCurve curve(double valueAtZero, double valueAtOne, float exponent = 1.0f, float scale = 1.0f,
                 float center = 0.0f, float offset = 0.0f)
{
    return {.valueAtOne = valueAtOne,
            .valueAtZero = valueAtZero,
            .scale = scale,
            .center = center,
            .offset = offset,
            .exponent = exponent};
}

constexpr unsigned bitOf(WailParameter index)
{
    return 1u << index;
}

}  // namespace

MappedParameters::MappedParameters(double sampleRate) noexcept
    : senseCurve(curve(0.630957344, 3.16)),                    // -4 dB to +10 dB
      rangeCurve(curve(0.75, 1.0, 0.5f)),                      // setRangeLow sets the low end
      envelopeCurve(curve(0.9, 0.999908444471572)),            // 32764/32767
      resoCurve(curve(0.250007629627369, 0.935789056062502)),  // 8192/32767 to 30663/32767
      dryCurve(curve(0.0, 1.0, 2.0f, -1.0f, 0.0f, 1.0f)),      // 1 - p^2
      wetCurve(curve(0.0, 1.0, 2.0f, -1.0f, 1.0f, 1.0f)),      // 1 - (p - 1)^2
      releaseExponent(kReleaseRate / sampleRate)
{
}

bool MappedParameters::update(const ParameterValues& values) noexcept
{
    bool anyIsNew = false;
    const auto isNew = [&anyIsNew, this](WailParameter index, float value, float& last) {
        if (value == last)
            return false;
        last = value;  // NaN is always new
        note(index, value);
        return anyIsNew = true;
    };
    if (isNew(kSense, values.fSense, lastSense))
        sense.target = senseCurve.map(lastSense);
    if (isNew(kReso, values.fReso, lastReso))
        reso.target = resoCurve.map(lastReso);
    if (isNew(kRange, values.fRange, lastRange))
        range.target = rangeCurve.map(lastRange);
    if (isNew(kBalance, values.fBalance, lastBalance)) {
        dry.target = dryCurve.map(lastBalance);
        wet.target = wetCurve.map(lastBalance);
    }
    if (isNew(kEnvelope, values.fEnvelope, lastEnvelope))
        release = powerOfSingle(envelopeCurve.map(lastEnvelope), releaseExponent);
    return anyIsNew;
}

void MappedParameters::note(WailParameter index, float value) noexcept
{
    mapped |= bitOf(index);
    if (value >= 0.0f && value <= 1.0f)
        outside &= ~bitOf(index);
    else
        outside |= bitOf(index);
}

void MappedParameters::setRangeLow(double valueAtZero, float fRange) noexcept
{
    rangeCurve.valueAtZero = valueAtZero;
    range.target = rangeCurve.map(fRange);
    note(kRange, fRange);
}

void MappedParameters::writeTo(PipelineSettings& settings, VstInt32 frames) noexcept
{
    const double inc = frames > 1 ? 1.0 / (frames - 1) : 0.0;
    const auto inPairs = [inc](const Glide& glide) {
        return PairGlide{inBothLanes(glide.start), inBothLanes((glide.target - glide.start) * inc)};
    };
    const unsigned stale = mapped | resting;
    resting = mapped;
    mapped = 0;
    settings.releaseCoef = inBothLanes(release);
    if ((stale & bitOf(kSense)) != 0)
        settings.sense = inPairs(sense);
    if ((stale & bitOf(kRange)) != 0)
        settings.range = inPairs(range);
    if ((stale & bitOf(kReso)) != 0)
        settings.reso = inPairs(reso);
    if ((stale & bitOf(kBalance)) != 0) {
        settings.dry = inPairs(dry);
        settings.wet = inPairs(wet);
    }
}
