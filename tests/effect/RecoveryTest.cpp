#include "effect/Parameters.h"
#include "tests/support/Signals.h"
#include "tests/support/TestHost.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <tuple>

// Feedback beyond 1 makes the line grow, and a release beyond 1 the envelope, by far more than they could
// ever forget. Once the values are stable again, at both ends of their glides, nothing of that is left.
TEST(Recovery, IsCompleteWithTheFirstStableBlockAfterUnstableOnes)
{
    using Wild = std::tuple<VstInt32, float, float>;  // index, value, Invert
    const Wild unstable[] = {{kReso, 1e38f, 0.0f},     {kReso, 10.0f, 1.0f},  {kReso, -3.0f, 0.0f},
                             {kReso, INFINITY, 0.0f},  {kReso, NAN, 1.0f},    {kEnvelope, 1.1f, 0.0f},
                             {kEnvelope, 3e38f, 1.0f}, {kEnvelope, NAN, 0.0f}};
    for (const float rate : {62.5f, 22050.0f, 48000.0f, 192000.0f, 3072000.0f}) {
        for (const auto& [index, value, invert] : unstable) {
            SCOPED_TRACE(testing::Message() << rate << " Hz, parameter " << index << " at " << value);
            const Plugin plugin, undisturbed;
            for (const Plugin* const each : {&plugin, &undisturbed}) {
                each->set(kInvert, invert);
                each->setRate(rate);
            }
            const float usual = plugin.get(index);
            plugin.set(index, value);
            std::vector<double> before = strokes(static_cast<std::size_t>(rate / 4.0f) + 64, 6000);
            plugin.process(before, 480);
            plugin.set(index, usual);
            if (index == kReso && std::isfinite(value)) {
                std::vector<double> glide = noise(480);
                plugin.process(glide);  // from the wild value, so not stable yet
            }
            std::vector<double> silence(480, 0.0), input = strokes(9600, 2000), expected = input;
            undisturbed.process(silence);
            undisturbed.process(expected, 480);
            plugin.process(input, 480);
            EXPECT_EQ(input, expected);
        }
    }
}

// Full scale through a stable comb stays below (1 + 1.5 / (1 - 0.936)), that is 24.4.
TEST(Recovery, IsNotNeededForValuesThatMakeNothingGrow)
{
    for (const VstInt32 index : {kSense, kRange, kBalance}) {
        for (const float value : {-5.0f, 7.0f, 1e38f, -1e38f, INFINITY, NAN}) {
            SCOPED_TRACE(testing::Message() << "parameter " << index << " at " << value);
            const Plugin plugin;
            plugin.setRate(48000.0f);
            const float usual = plugin.get(index);
            plugin.set(index, value);
            std::vector<double> samples = strokes(48000, 6000);
            plugin.process(samples, 480);
            plugin.set(index, usual);
            samples = noise(480);
            plugin.process(samples);  // the glide back
            samples = noise(4800);
            plugin.process(samples, 480);
            EXPECT_LT(std::abs(*std::ranges::max_element(samples, {}, [](double x) { return std::abs(x); })),
                      24.4);
            EXPECT_NE(samples[240], 0.0);
        }
    }
}
