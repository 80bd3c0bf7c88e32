#include "effect/Wail.h"
#include "tests/support/Allocations.h"
#include "tests/support/Signals.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

// What the effect offers to adapters, beside the operations of its record.

namespace
{

constexpr double kLargest = std::numeric_limits<float>::max();

VstIntPtr noHost(AEffect*, VstInt32, VstInt32, VstIntPtr, void*, float)
{
    return 0;
}

// In blocks of the given length; the last one may be shorter.
void process(Wail& effect, std::vector<double>& samples, std::size_t block)
{
    for (std::size_t n = 0; n < samples.size(); n += block) {
        double* channel = samples.data() + n;
        effect.processDoubleReplacing(&channel, &channel,
                                      static_cast<VstInt32>(std::min(block, samples.size() - n)));
    }
}

// Rounded to nearest and limited; what a float holds only as a subnormal number is 0.
float narrowed(double sample)
{
    const auto nearest = static_cast<float>(std::min(std::max(sample, -kLargest), kLargest));
    return std::fpclassify(nearest) == FP_SUBNORMAL ? 0.0f : nearest;
}

}  // namespace

// Blocks of any length, whose values move, with sounds from the limit of float to below its normal numbers.
TEST(SinglePrecision, IsTheDoublePrecisionBlockRounded)
{
    Wail wide(noHost), narrow(noHost);
    for (Wail* const effect : {&wide, &narrow})
        effect->setSampleRate(48000.0f);
    float value = 0.2f;
    for (const std::size_t length : {0, 1, 2, 17, 576, 577, 9000, 70000, 3}) {
        for (const double level : {1.0, 1e-37, 1e-42, 3e38}) {
            SCOPED_TRACE(testing::Message() << length << " samples at " << level);
            std::vector<float> input;
            for (const double sample : noise(length, level, static_cast<unsigned>(length) + 1))
                input.push_back(static_cast<float>(sample));
            std::vector<double> expected(input.begin(), input.end());
            value = 1.0f - value;
            for (Wail* const effect : {&wide, &narrow})
                for (const VstInt32 index : {kSense, kReso, kRange, kInvert})
                    effect->setParameter(index, index == kInvert ? std::round(value) : value);
            double* channel = expected.data();
            wide.processDoubleReplacing(&channel, &channel, static_cast<VstInt32>(length));
            const std::size_t allocations = Allocations::count;
            narrow.processSinglePrecision(input.data(), input.data(), static_cast<VstInt32>(length));
            EXPECT_EQ(Allocations::count, allocations);
            for (std::size_t i = 0; i < length; ++i)
                ASSERT_EQ(input[i], narrowed(expected[i])) << i;
        }
    }
    float canary = 7.0f;
    narrow.processSinglePrecision(&canary, &canary, -1);
    EXPECT_EQ(canary, 7.0f);
}

TEST(SinglePrecision, HasZerosWhereTheBlockRecovers)
{
    Wail effect(noHost);
    effect.setSampleRate(48000.0f);
    effect.reset();
    std::vector<float> samples(100, 0.25f);
    samples[50] = std::numeric_limits<float>::quiet_NaN();
    effect.processSinglePrecision(samples.data(), samples.data(), 100);
    EXPECT_NE(samples[49], 0.0f);
    EXPECT_EQ(samples[50], 0.0f);
}

// In the midst of fades and glides, with new values set since.
TEST(Reset, GivesTheStateOfLongSilenceWithThePresentValues)
{
    Wail used(noHost), fresh(noHost);
    used.reset();  // before there is a rate
    used.setSampleRate(96000.0f);
    std::vector<double> samples = strokes(20000, 4000);
    process(used, samples, 480);
    used.setParameter(kInvert, 1.0f);
    used.setParameter(kOnOff, 0.0f);
    samples = noise(700, 3.0);
    process(used, samples, 700);

    const std::pair<VstInt32, float> values[] = {
        {kOnOff, 1.0f}, {kInvert, 1.0f}, {kReso, 0.3f}, {kRange, 1.0f}};
    for (const auto& [index, value] : values) {
        used.setParameter(index, value);
        fresh.setParameter(index, value);
    }
    const std::size_t allocations = Allocations::count;
    used.reset();
    EXPECT_EQ(Allocations::count, allocations);
    EXPECT_EQ(used.sweep(), 0.0f);
    fresh.setSampleRate(96000.0f);
    fresh.processDoubleReplacing(nullptr, nullptr, 0);  // takes the values without a glide
    for (Wail* const effect : {&used, &fresh})
        effect->setParameter(kReso, 0.9f);  // glides in both
    std::vector<double> one = strokes(9600, 2000), other = one;
    process(used, one, 480);
    process(fresh, other, 480);
    EXPECT_EQ(one, other);
}

// A steady tone drives the envelope to its end if "Sense" is high, and the smoother (2.7 Hz) follows within
// a second; in silence the envelope falls by 1/e in 0.23 s.
TEST(Sweep, FollowsTheLevelAndEndsAtOne)
{
    Wail effect(noHost);
    effect.setSampleRate(48000.0f);
    EXPECT_EQ(effect.sweep(), 0.0f);
    std::vector<double> tone(96000);
    for (std::size_t i = 0; i < tone.size(); ++i)
        tone[i] = std::sin(0.1 * static_cast<double>(i));
    effect.setParameter(kSense, 1.0f);
    process(effect, tone, 480);
    EXPECT_GT(effect.sweep(), 0.98f);
    EXPECT_LE(effect.sweep(), 1.0f);
    std::vector<double> silence(48000, 0.0);
    process(effect, silence, 480);
    EXPECT_GT(effect.sweep(), 0.005f);
    EXPECT_LT(effect.sweep(), 0.05f);
    effect.setParameter(kEnvelope, 1.1f);  // beyond its range: the envelope grows without limit
    process(effect, tone, 480);
    EXPECT_LE(effect.sweep(), 1.0f);
}
