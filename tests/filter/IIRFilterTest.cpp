#include "filter/IIRFilter.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <complex>
#include <numbers>

namespace
{

constexpr double kRate = 48000.0;

filterPrm_tag section(int type, double freq = 1000.0, double q = 0.8, double gainDb = 6.0)
{
    return {type, freq, 900.0, 2500.0, q, gainDb, kRate};
}

double filtered(IIRFilter& filter, double sample)
{
    filter.iirProcessing(&sample);
    return sample;
}

double glided(IIRFilter& filter, double sample)
{
    filter.ipIirProcessing(&sample);
    return sample;
}

// Returns the gain at f Hz, from the impulse response: independent of the coefficients' names and signs.
double gainAt(filterPrm_tag prm, double f)
{
    IIRFilter filter(&prm);
    std::complex<double> sum;
    for (int n = 0; n < 20000; ++n)
        sum +=
            filtered(filter, n == 0 ? 1.0 : 0.0) * std::polar(1.0, -2.0 * std::numbers::pi * f * n / kRate);
    return std::abs(sum);
}

// The frequency axis of analogue prototypes, which the bilinear transform maps f Hz to.
double warped(double f)
{
    return std::tan(std::numbers::pi * f / kRate);
}

// An analogue prototype: its centre in Hz, and polynomials in the frequency s from the lowest power up.
struct Prototype {
    filterPrm_tag prm;
    std::array<double, 3> numerator, denominator;
    double centre = 1000.0;

    double gainAt(double f) const
    {
        const std::complex<double> s(0.0, warped(f) / warped(centre));
        const auto at = [s](const auto& p) { return std::abs(p[0] + s * (p[1] + s * p[2])); };
        return at(numerator) / at(denominator);
    }
};

}  // namespace

TEST(IIRFilter, EveryDesignHasTheGainOfItsAnaloguePrototype)
{
    const double d = 1.0 / 0.8;                   // damping of the designs by quality
    const double b = std::numbers::sqrt2;         // Butterworth damping
    const double V = std::pow(10.0, 6.0 / 20.0);  // +6 dB
    const double middle = std::sqrt(warped(900.0) * warped(2500.0));
    const double centre = std::atan(middle) * kRate / std::numbers::pi;
    const double width = (warped(2500.0) - warped(900.0)) / middle;
    for (const Prototype& design : {Prototype{section(kLowPass1), {1}, {1, 1}},
                                    {section(kHighPass1), {0, 1}, {1, 1}},
                                    {section(kLowPass2), {1}, {1, b, 1}},
                                    {section(kHighPass2), {0, 0, 1}, {1, b, 1}},
                                    {section(kBandPassEdges), {0, width}, {1, width, 1}, centre},
                                    {section(kBandStopEdges), {1, 0, 1}, {1, width, 1}, centre},
                                    {section(kLowPassQ), {1}, {1, b * d, 1}},
                                    {section(kHighPassQ), {0, 0, 1}, {1, b * d, 1}},
                                    {section(kBandPassQ), {0, d}, {1, d, 1}},
                                    {section(kNotchQ), {1, 0, 1}, {1, d, 1}},
                                    {section(kPeaking), {1, V * d, 1}, {1, d, 1}},
                                    {section(kPeaking, 1000.0, 0.8, -6.0), {1, d, 1}, {1, V * d, 1}},
                                    {section(kLowShelf1), {V, 1}, {1, 1}},
                                    {section(kHighShelf1), {1, V}, {1, 1}}}) {
        for (const double f : {50.0, 900.0, 1000.0, 1500.0, 2500.0, 12000.0})
            EXPECT_NEAR(gainAt(design.prm, f), design.gainAt(f), 1e-9)
                << "type " << design.prm.type << " at " << f;
    }
    for (const int type : {13, 99, -1, 0x1FFFF}) {  // all others are one pole
        EXPECT_NEAR(gainAt(section(type), 0.0), 1.0, 1e-12) << type;
        EXPECT_NEAR(gainAt(section(type), 1000.0), std::pow(10.0, -3.0 / 20.0), 1e-8) << type;
    }
}

// Only 16 bits of the type count.
TEST(IIRFilter, CorrectsItsRecordAndDesignsFromTheCorrection)
{
    filterPrm_tag low = section(0x10000 + kLowPassQ, 0.0, 0.0), high = section(kLowPass1, 1e6, -3.0);
    const IIRFilter corrected(&low), limited(&high);
    EXPECT_EQ((std::array{low.freq, low.q, high.freq, high.q}), (std::array{20.0, 1.0, kRate / 2.0, 1.0}));
    EXPECT_EQ((std::array{corrected.sections, limited.sections}), (std::array{2, 1}));
    filterPrm_tag plain = section(kLowPass2, 20.0);
    const IIRFilter butterworth(&plain);
    EXPECT_EQ(corrected.coef.b0, butterworth.coef.b0);
    EXPECT_EQ(corrected.coef.fb2, butterworth.coef.fb2);
}

TEST(IIRFilter, KeepsItsStateForTheSameTypeAndClearsItForAnother)
{
    filterPrm_tag prm = section(kLowPass2);
    IIRFilter filter(&prm);
    filtered(filter, 1.0);
    const double z1 = filter.z1;
    ASSERT_NE(z1, 0.0);
    prm.freq = 3000.0;
    filter.FDexcute(&prm);
    EXPECT_EQ(filter.z1, z1);
    prm.type = kHighPass2;
    filter.FDexcute(&prm);
    EXPECT_EQ(std::pair(filter.z1, filter.z2), std::pair(0.0, 0.0));
}

// Edges in the wrong order, a tiny quality at half the rate: the normaliser is negative; a corner of NaN.
TEST(IIRFilter, TheMiddleCoefficientOfABandPassIsZeroWhateverTheNormaliser)
{
    filterPrm_tag swapped = section(kBandPassEdges);
    swapped.freqLow = 20000.0;
    for (filterPrm_tag prm : {swapped, section(kBandPassQ, kRate / 2.0, 1e-20), section(kBandPassQ, NAN)}) {
        const double b1 = IIRFilter(&prm).coef.b1;
        EXPECT_TRUE(b1 == 0.0 && !std::signbit(b1));
    }
}

// The first sample of a fresh section's glide has coefficients of 0, and 0 times infinity is NaN.
TEST(IIRFilter, OnlyFirstOrderSectionsKeepTheirSecondStateAtZero)
{
    filterPrm_tag prm = section(kHighShelf1);
    IIRFilter shelf(&prm);
    glided(shelf, INFINITY);
    EXPECT_EQ(shelf.z2, 0.0);
    prm.type = kLowPass2;
    IIRFilter fresh(&prm), filter(&prm);
    glided(fresh, INFINITY);
    EXPECT_TRUE(std::isnan(fresh.z2));
    prm.type = kLowPass1;
    filter.ipFDexcute(&prm, 2);
    const double y = glided(filter, 1.0);
    EXPECT_EQ(filter.z2,
              filter.startCoef.b2 + filter.startCoef.fb2 * y);  // still gliding away from the second order
}

// Samples of 1 into a one-pole section whose state is cleared before each give its input gain 1 - p.
TEST(IIRFilter, GlidesLinearlyAndEndsExactlyOnTheDesign)
{
    filterPrm_tag prm = section(kOnePole);
    IIRFilter filter(&prm);
    const auto nextGain = [&filter] {
        filter.refresh();
        return glided(filter, 1.0);
    };
    const double from = filter.coef.fb1;
    EXPECT_EQ(nextGain(), 0.0);  // a fresh section has no glide to start from
    EXPECT_EQ(nextGain(), from);
    prm.freq = 5000.0;
    filter.ipFDexcute(&prm, 4);
    const double to = filter.coef.fb1;
    for (int t = 0; t <= 4; ++t)
        EXPECT_NEAR(nextGain(), from + (to - from) * t / 4.0, 1e-15) << t;
    for (int t = 5; t < 7; ++t)
        EXPECT_EQ(nextGain(), to);
}
