#include "filter/IIRFilter.h"

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cmath>
#include <complex>
#include <cstdint>
#include <numbers>

namespace
{

constexpr double kRate = 48000.0;

filterPrm_tag section(int type, double freq = 1000.0, double q = 0.8, double gainDb = 6.0)
{
    return {type, freq, 900.0, 2500.0, q, gainDb, kRate};
}

// Returns the gain at f Hz, from the impulse response: independent of the coefficients' names and signs.
double gainAt(filterPrm_tag prm, double f)
{
    IIRFilter filter(&prm);
    std::complex<double> sum;
    for (int n = 0; n < 20000; ++n) {
        double sample = n == 0 ? 1.0 : 0.0;
        filter.iirProcessing(&sample);
        sum += sample * std::polar(1.0, -2.0 * std::numbers::pi * f * n / kRate);
    }
    return std::abs(sum);
}

// A polynomial in the analogue frequency s: coefficients from the lowest power up.
using Polynomial = std::array<double, 3>;

// Returns the gain of the analogue prototype at f Hz, which the bilinear transform keeps but for warping around fc.
double prototypeGain(double f, double fc, Polynomial numerator, Polynomial denominator)
{
    const std::complex<double> s(0.0, std::tan(std::numbers::pi * f / kRate) /
                                          std::tan(std::numbers::pi * fc / kRate));
    return std::abs((numerator[0] + s * (numerator[1] + s * numerator[2])) /
                    (denominator[0] + s * (denominator[1] + s * denominator[2])));
}

}  // namespace

TEST(IIRFilter, EveryDesignHasTheGainOfItsAnaloguePrototype)
{
    const double fc = 1000.0;
    const double d = 1.0 / 0.8;                   // damping of the designs by quality
    const double b = std::numbers::sqrt2;         // Butterworth damping
    const double V = std::pow(10.0, 6.0 / 20.0);  // +6 dB
    const double K1 = std::tan(std::numbers::pi * 900.0 / kRate);
    const double K2 = std::tan(std::numbers::pi * 2500.0 / kRate);
    const double centre = std::atan(std::sqrt(K1 * K2)) * kRate / std::numbers::pi;
    const double width = (K2 - K1) / std::sqrt(K1 * K2);

    struct Design {
        filterPrm_tag prm;
        double freq;
        Polynomial numerator, denominator;
    };
    for (const Design& design : {Design{section(kLowPass1), fc, {1}, {1, 1}},
                                 {section(kHighPass1), fc, {0, 1}, {1, 1}},
                                 {section(kLowPass2), fc, {1}, {1, b, 1}},
                                 {section(kHighPass2), fc, {0, 0, 1}, {1, b, 1}},
                                 {section(kBandPassEdges), centre, {0, width}, {1, width, 1}},
                                 {section(kBandStopEdges), centre, {1, 0, 1}, {1, width, 1}},
                                 {section(kLowPassQ), fc, {1}, {1, b * d, 1}},
                                 {section(kHighPassQ), fc, {0, 0, 1}, {1, b * d, 1}},
                                 {section(kBandPassQ), fc, {0, d}, {1, d, 1}},
                                 {section(kNotchQ), fc, {1, 0, 1}, {1, d, 1}},
                                 {section(kPeaking), fc, {1, V * d, 1}, {1, d, 1}},
                                 {section(kPeaking, fc, 0.8, -6.0), fc, {1, d, 1}, {1, V * d, 1}},
                                 {section(kLowShelf1), fc, {V, 1}, {1, 1}},
                                 {section(kHighShelf1), fc, {1, V}, {1, 1}}}) {
        for (const double f : {50.0, 900.0, 1000.0, 1500.0, 2500.0, 12000.0})
            EXPECT_NEAR(gainAt(design.prm, f),
                        prototypeGain(f, design.freq, design.numerator, design.denominator), 1e-9)
                << "type " << design.prm.type << " at " << f;
    }
}

TEST(IIRFilter, EveryOtherTypeIsAOnePoleThatIsMinusThreeDecibelsAtItsCorner)
{
    for (const int type : {13, 99, -1, -2, 0x1FFFF}) {
        SCOPED_TRACE(type);
        filterPrm_tag prm = section(type);
        EXPECT_NEAR(gainAt(prm, 0.0), 1.0, 1e-12);
        EXPECT_NEAR(gainAt(prm, 1000.0), std::pow(10.0, -3.0 / 20.0), 1e-8);
        EXPECT_EQ(IIRFilter(&prm).sections, 0);
    }
}

TEST(IIRFilter, CorrectsItsRecordAndDesignsFromTheCorrection)
{
    filterPrm_tag low = section(0x10000 + kLowPassQ, 0.0, 0.0);  // only 16 bits of the type count
    filterPrm_tag high = section(kLowPass1, 1e6, -3.0);
    filterPrm_tag plain = section(kLowPass2, 20.0);
    const IIRFilter corrected(&low);
    const IIRFilter butterworth(&plain);
    EXPECT_EQ(IIRFilter(&high).sections, 1);
    EXPECT_EQ((std::array{low.freq, low.q, high.freq, high.q}), (std::array{20.0, 1.0, kRate / 2.0, 1.0}));
    EXPECT_EQ(corrected.coef.b0, butterworth.coef.b0);
    EXPECT_EQ(corrected.coef.fb2, butterworth.coef.fb2);
    EXPECT_EQ(corrected.sections, 2);
}

TEST(IIRFilter, KeepsItsStateForTheSameTypeAndClearsItForAnother)
{
    filterPrm_tag prm = section(kLowPass2);
    IIRFilter filter(&prm);
    double sample = 1.0;
    filter.iirProcessing(&sample);
    const double z1 = filter.z1;
    ASSERT_NE(z1, 0.0);
    prm.freq = 3000.0;
    filter.FDexcute(&prm);
    EXPECT_EQ(filter.z1, z1);
    prm.type = kHighPass2;
    filter.FDexcute(&prm);
    EXPECT_EQ(filter.z1, 0.0);
    EXPECT_EQ(filter.z2, 0.0);
}

// Edges in the wrong order, a tiny quality at half the rate: the normaliser is negative; a corner of NaN.
TEST(IIRFilter, TheMiddleCoefficientOfABandPassIsZeroWhateverTheNormaliser)
{
    filterPrm_tag swapped = section(kBandPassEdges);
    swapped.freqLow = 20000.0;
    for (filterPrm_tag prm : {swapped, section(kBandPassQ, kRate / 2.0, 1e-20), section(kBandPassQ, NAN)})
        EXPECT_EQ(std::bit_cast<std::uint64_t>(IIRFilter(&prm).coef.b1), 0u);  // which -0.0 is not
}

// The first sample of a fresh section's glide has coefficients of 0, and 0 times infinity is NaN.
TEST(IIRFilter, OnlyFirstOrderSectionsKeepTheirSecondStateAtZero)
{
    for (const int type : {kHighShelf1, kLowPass2}) {
        filterPrm_tag prm = section(type);
        IIRFilter filter(&prm);
        double sample = INFINITY;
        filter.ipIirProcessing(&sample);
        EXPECT_EQ(std::isnan(filter.z2), type == kLowPass2);
    }
    filterPrm_tag prm = section(kLowPass2);
    IIRFilter filter(&prm);
    prm.type = kLowPass1;
    filter.ipFDexcute(&prm, 2);
    double sample = 1.0;
    const double y = filter.startCoef.b0;
    const double z2 = filter.startCoef.b2 + filter.startCoef.fb2 * y;
    filter.ipIirProcessing(&sample);
    EXPECT_EQ(filter.z2, z2);  // still gliding away from the second-order design
}

// Samples of 1 into a one-pole section whose state is cleared before each give its input gain 1 - p.
TEST(IIRFilter, GlidesLinearlyAndEndsExactlyOnTheDesign)
{
    filterPrm_tag prm = section(kOnePole);
    IIRFilter filter(&prm);
    const auto nextGain = [&filter] {
        double sample = 1.0;
        filter.refresh();
        filter.ipIirProcessing(&sample);
        return sample;
    };
    const double from = filter.coef.fb1;
    EXPECT_EQ(nextGain(), 0.0);  // a fresh section has no glide to start from
    EXPECT_EQ(nextGain(), from);

    prm.freq = 5000.0;
    filter.ipFDexcute(&prm, 4);
    const double to = filter.coef.fb1;
    for (int t = 0; t <= 4; ++t)
        EXPECT_NEAR(nextGain(), from + (to - from) * t / 4.0, 1e-15) << t;
    EXPECT_EQ(nextGain(), to);
    EXPECT_EQ(nextGain(), to);
}
