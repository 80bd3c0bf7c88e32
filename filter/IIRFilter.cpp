#include "filter/IIRFilter.h"

#include <algorithm>
#include <cmath>
#include <numbers>

IIRFilter::IIRFilter(filterPrm_tag* prm) noexcept
{
    FDexcute(prm);
}

// K, K1, K2: prewarped frequencies tan(pi f / fs) of the corner and of the band edges. b0, b1 and b2 go to
// the designs below before normalisation.
void IIRFilter::FDexcute(filterPrm_tag* prm) noexcept
{
    type = static_cast<std::int16_t>(prm->type);
    if (prm->q <= 0.0)
        prm->q = 1.0;
    if (prm->freq <= 0.0)
        prm->freq = 20.0;
    prm->freq = std::min(prm->freq, 0.5 * prm->sampleRate);

    const double fs = prm->sampleRate;
    const double Q = prm->q;
    const double K = std::tan(pi * prm->freq / fs);
    const double K1 = std::tan(pi * prm->freqLow / fs);
    const double K2 = std::tan(pi * prm->freqHigh / fs);
    const double KK = K * K;
    const double butterworth = std::numbers::sqrt2 * K;

    switch (type) {
    case kLowPass1: designFirstOrder(K, K, K); break;
    case kHighPass1: designFirstOrder(K, 1.0, -1.0); break;
    case kLowPass2: designSecondOrder(K, butterworth, KK, 2.0 * KK, KK); break;
    case kHighPass2: designSecondOrder(K, butterworth, 1.0, -2.0, 1.0); break;
    case kBandPassEdges: designBand(K1, K2, K2 - K1, 0.0, -(K2 - K1)); break;
    case kBandStopEdges: designBand(K1, K2, 1.0 + K1 * K2, 2.0 * (K1 * K2 - 1.0), 1.0 + K1 * K2); break;
    case kLowPassQ: designSecondOrder(K, butterworth / Q, KK, 2.0 * KK, KK); break;
    case kHighPassQ: designSecondOrder(K, butterworth / Q, 1.0, -2.0, 1.0); break;
    case kBandPassQ: designSecondOrder(K, K / Q, K / Q, 0.0, -(K / Q)); break;
    case kNotchQ: designSecondOrder(K, K / Q, 1.0 + KK, 2.0 * (KK - 1.0), 1.0 + KK); break;
    case kPeaking: {
        // A boost widens the zeros, a cut the poles, so that a boost and an equal cut cancel.
        const bool boost = prm->gainDb > 0.0;
        const double V = std::pow(10.0, (boost ? prm->gainDb : -prm->gainDb) / 20.0);
        const double zeros = boost ? V * K / Q : K / Q;
        const double poles = boost ? K / Q : V * K / Q;
        designSecondOrder(K, poles, 1.0 + zeros + KK, 2.0 * (KK - 1.0), 1.0 - zeros + KK);
        break;
    }
    case kLowShelf1: {
        const double V = std::pow(10.0, prm->gainDb / 20.0);
        designFirstOrder(K, 1.0 + V * K, V * K - 1.0);
        break;
    }
    case kHighShelf1: {
        const double V = 1.0 / std::pow(10.0, -prm->gainDb / 20.0);
        designFirstOrder(K, K + V, K - V);
        break;
    }
    default: designOnePole(prm->freq, fs); break;
    }

    if (type == kBandPassEdges || type == kBandPassQ)
        coef.b1 = 0.0;  // normalising makes it -0 or NaN if the normaliser is negative or NaN
    if (type != lastType)
        refresh();
    lastType = type;
}

void IIRFilter::ipFDexcute(filterPrm_tag* prm, int samples) noexcept
{
    startCoef = coef;
    FDexcute(prm);
    interpLength = samples;
    const double r = 1.0 / interpLength;
    coefStep = {(coef.fb1 - startCoef.fb1) * r, (coef.fb2 - startCoef.fb2) * r, (coef.b0 - startCoef.b0) * r,
                (coef.b1 - startCoef.b1) * r, (coef.b2 - startCoef.b2) * r};
    interpPos = 0.0;
}

void IIRFilter::ipIirProcessing(double* sample) noexcept
{
    const double t = interpPos;
    run({coefStep.fb1 * t + startCoef.fb1, coefStep.fb2 * t + startCoef.fb2, coefStep.b0 * t + startCoef.b0,
         coefStep.b1 * t + startCoef.b1, coefStep.b2 * t + startCoef.b2},
        sample);
    if (interpPos == interpLength) {
        startCoef = coef;
        coefStep = {};
    }
    if (interpPos <= interpLength)
        interpPos += 1.0;
}

void IIRFilter::designFirstOrder(double K, double b0, double b1) noexcept
{
    const double n = 1.0 / (1.0 + K);
    coef = {(1.0 - K) * n, 0.0, b0 * n, b1 * n, 0.0};
    sections = 1;
}

void IIRFilter::designSecondOrder(double K, double damping, double b0, double b1, double b2) noexcept
{
    const double n = 1.0 / (1.0 + damping + K * K);
    coef = {-2.0 * (K * K - 1.0) * n, -(1.0 - damping + K * K) * n, b0 * n, b1 * n, b2 * n};
    sections = 2;
}

void IIRFilter::designBand(double K1, double K2, double b0, double b1, double b2) noexcept
{
    const double n = 1.0 / (1.0 - K1 + K2 + K1 * K2);
    coef = {-2.0 * (K1 * K2 - 1.0) * n, -(1.0 + K1 - K2 + K1 * K2) * n, b0 * n, b1 * n, b2 * n};
    sections = 2;
}

// The pole p solves (1 - p)^2 / (1 - 2 p cos(w) + p^2) = g for w = 2 pi freq / fs: the power gain is g at
// freq and 1 at DC.
void IIRFilter::designOnePole(double freq, double sampleRate) noexcept
{
    constexpr double g = 0.5011872337;  // -3 dB as a power ratio, 10^(-3/10)
    constexpr double gMinusOne = -0.4988127663;
    const double cs = std::cos(pi * 2.0 * freq / sampleRate);
    const double root = std::sqrt((cs - 1.0) * g * (g * cs - 2.0 + g));
    const double p = (g * cs - 1.0 + root) / gMinusOne;
    coef = {1.0 - p, 0.0, p, 0.0, 0.0};
    sections = 0;
}
