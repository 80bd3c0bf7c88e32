#include "tests/support/Allocations.h"
#include "tests/support/ReferenceWail.h"
#include "tests/support/Signals.h"
#include "tests/support/TestHost.h"

#include <gtest/gtest.h>

#include <cfenv>
#include <cfloat>
#include <cstring>
#include <limits>

namespace
{

enum { kOnOff, kSense, kReso, kRange, kBalance, kInvert, kEnvelope };

// Dry sound only: for an input of ones, the output is the gain of the switches.
void dryOnly(const Plugin& plugin, float rate)
{
    plugin.set(kBalance, 0.0f);
    plugin.setRate(rate);
    std::vector<double> settle(64, 1.0);
    plugin.process(settle.data(), 64);  // the glides from the start are over
}

// Processes ones in blocks of the given length; set(n) may move parameters before sample n's block.
template <typename Set>
std::vector<double> gains(const Plugin& plugin, int length, int block, Set set)
{
    std::vector<double> samples(static_cast<std::size_t>(length), 1.0);
    for (int n = 0; n < length; n += block) {
        set(n);
        plugin.process(samples.data() + n, std::min(block, length - n));
    }
    return samples;
}

// The gain k samples into a transition of two fades of N samples each.
double transitionGain(int k, int N)
{
    return k < 0 || k >= 2 * N ? 1.0 : static_cast<double>(k < N ? N - k : k - N) / N;
}

bool sameBits(const std::vector<double>& a, const std::vector<double>& b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](double x, double y) { return std::memcmp(&x, &y, sizeof x) == 0; });
}

}  // namespace

// Everything that a host may do between blocks, in every order that chance brings.
TEST(Processing, GivesTheReferencesBitsWhateverTheHostDoes)
{
    const int lengths[] = {0, 1, 2, 3, 7, 64, 480, 1024, 4096};
    const float rates[] = {22050.0f, 44100.0f, 48000.0f, 96000.0f, 192000.0f};
    const float odd[] = {0.5f, NAN};  // of a switch
    const float wild[] = {-0.5f, 1.25f, 30.0f, 3e38f, INFINITY, NAN};
    const double hostile[] = {1e308, 2e307, -1e200, INFINITY, -INFINITY, NAN, 5e-324};
    for (unsigned seed = 0; seed < 24; ++seed) {
        std::mt19937 random(seed);
        const auto oneIn = [&random](unsigned n) { return random() % n == 0; };
        const Plugin plugin;
        ReferenceWail reference;
        const auto set = [&](VstInt32 index, float value) {
            plugin.set(index, value);
            reference.parameters[static_cast<std::size_t>(index)] = value;
        };
        const auto setRate = [&](float rate) {
            plugin.setRate(rate);
            reference.setRate(rate);
        };
        set(kInvert, seed % 2 == 0 ? 0.0f : 1.0f);
        setRate(rates[seed % 5]);
        std::vector<double> source = strokes(1 << 16, 6000, seed + 1);
        if (seed % 3 == 0)  // loud enough to drive the delay below one sample
            std::transform(source.begin(), source.end(), source.begin(), [](double x) { return 8.0 * x; });
        for (int block = 0; block < 300; ++block) {
            for (VstInt32 index = 0, count = oneIn(3) ? 0 : 7; index < count; ++index) {
                const bool isSwitch = index == kOnOff || index == kInvert;
                if (isSwitch && oneIn(6))
                    set(index, oneIn(8) ? odd[random() % 2] : static_cast<float>(random() % 2));
                else if (!isSwitch && oneIn(2))
                    set(index,
                        seed % 3 == 0 && oneIn(2) ? 1.0f : static_cast<float>(random() % 1001) / 1000.0f);
            }
            if (oneIn(20))  // far beyond the range, and no number at all
                set(std::array{kSense, kReso, kRange, kBalance, kEnvelope}[random() % 5], wild[random() % 6]);
            if (oneIn(40)) {
                plugin.dispatch(effMainsChanged, 0, 1);
                reference.resume();
            }
            if (oneIn(60))
                setRate(rates[random() % 5]);
            const int length = oneIn(5) ? static_cast<int>(random() % 700) : lengths[random() % 9];
            const auto start = source.begin() + random() % (source.size() - 4096);
            std::vector<double> input(start, start + length);
            if (length > 0 && oneIn(30)) {
                const double value = hostile[random() % 7];
                for (std::size_t i = random() % input.size(); i < input.size() && !oneIn(200); ++i)
                    input[i] = oneIn(2) ? value : -value;
            }
            std::vector<double> expected(input.size());
            reference.process(input.data(), expected.data(), length);

            std::vector<double> output = input;  // every other block in place
            const double* from = oneIn(2) ? input.data() : output.data();
            double* inputs[] = {const_cast<double*>(from)};
            double* outputs[] = {output.data()};
            plugin.record->processDoubleReplacing(plugin.record, inputs, outputs, length);
            ASSERT_TRUE(sameBits(output, expected)) << "seed " << seed << ", block " << block;
        }
    }
}

// The comb takes a loud square wave of its own pitch to the end of the numbers, and what overflows is heard only
// after it, within the block or in the next.
TEST(Processing, FindsAnOverflowHoweverLateItComes)
{
    for (const int start : {0, 511}) {
        for (double peak = 1e307; peak < 3e307; peak *= 1.02) {
            const Plugin plugin;
            ReferenceWail reference;
            reference.parameters = {1.0f, 0.0f, 1.0f, 0.0f, 1.0f, 1.0f, 1.0f};
            for (VstInt32 index = 0; index < 7; ++index)
                plugin.set(index, reference.parameters[static_cast<std::size_t>(index)]);
            plugin.setRate(48000.0f);
            reference.setRate(48000.0);
            for (int block = 0; block < 60; ++block) {
                std::vector<double> samples(1024), expected(1024);
                for (int i = 0; i < 1024; ++i) {  // a small signal sets the delay, to 37 samples in the end
                    const int k = i - start;
                    if (block < 50)
                        samples[static_cast<std::size_t>(i)] = i % 2 * 2.0 - 1.0;
                    else if (block == 50 && k >= 0 && k < 511)
                        samples[static_cast<std::size_t>(i)] = (k / 37 % 2 * 2.0 - 1.0) * peak;
                }
                reference.process(samples.data(), expected.data(), 1024);
                plugin.process(samples.data(), 1024);
                ASSERT_TRUE(sameBits(samples, expected)) << peak << " block " << block;
            }
        }
    }
}

// A faint impulse leaves the sweep at rest: 70 samples at 48 kHz, 15 when inverted.
TEST(Processing, CombsWithTheDelayFeedbackAndMixThatItsFormulasGive)
{
    for (const auto& [invert, delay] : {std::pair{0.0f, 70u}, {1.0f, 15u}}) {
        const Plugin plugin;
        plugin.set(kInvert, invert);
        plugin.set(kReso, 0.5f);
        plugin.setRate(48000.0f);
        std::vector<double> samples(512, 0.0);
        plugin.process(samples.data(), 64);
        samples.assign(512, 0.0);
        samples[0] = 1e-7;
        plugin.process(samples.data(), 512);
        const double g = 0.250007629627369 + 0.5 * (0.935789056062502 - 0.250007629627369);
        EXPECT_DOUBLE_EQ(samples[0], 1e-7);
        EXPECT_NEAR(samples[delay] / 1e-7, -1.5, 1e-5);
        EXPECT_NEAR(samples[2 * delay] / 1e-7, 1.5 * g, 1e-5);
        EXPECT_NEAR(samples[3 * delay] / 1e-7, -1.5 * g * g, 1e-5);
        EXPECT_NEAR(samples[delay / 2], 0.0, 1e-12);
    }
}

TEST(Processing, SwitchesFadeOutAndInOverSixteenMillisecondsWhateverTheBlocks)
{
    for (const auto& [rate, N] : {std::pair{44100.0f, 705}, {48000.0f, 768}}) {
        for (const int block : {1, 100, 4096}) {
            for (const int index : {kOnOff, kInvert}) {
                const Plugin plugin;
                dryOnly(plugin, rate);
                const float other = index == kOnOff ? 0.0f : 1.0f;
                plugin.set(index, other);
                const auto result = gains(plugin, 2 * N + 10, block, [](int) {});
                for (int k = 0; k < 2 * N + 10; ++k)
                    ASSERT_NEAR(result[static_cast<std::size_t>(k)], transitionGain(k, N), 1e-15) << k;
            }
        }
    }
}

// Thrown back in the fade-out, a switch completes its transition; in the fade-in, On/Off turns round on the
// spot, and Invert makes up for the change afterwards.
TEST(Processing, SwitchesThrownBackInMidTransitionEndWhereTheHostLeftThem)
{
    constexpr int N = 768;
    for (const int index : {kOnOff, kInvert}) {
        const float start = index == kOnOff ? 1.0f : 0.0f;
        for (const int back : {200, N + 200}) {
            const Plugin plugin;
            dryOnly(plugin, 48000.0f);
            const auto result = gains(plugin, 4 * N + 100, 100, [&](int n) {
                if (n == 0 || n == back - back % 100)
                    plugin.set(index, n == 0 ? 1.0f - start : start);
            });
            const int turn = back - back % 100;
            for (int k = 0; k < 4 * N + 100; ++k) {
                double expected = transitionGain(k, N);
                if (index == kOnOff && back > N && k >= turn)  // fade-out from the fade-in's index
                    expected = transitionGain(k - turn + (turn - N), N);
                if (index == kInvert && back > N && k >= 2 * N)  // a transition of its own
                    expected = transitionGain(k - 2 * N, N);
                ASSERT_NEAR(result[static_cast<std::size_t>(k)], expected, 1e-15)
                    << index << " " << back << " " << k;
            }
        }
    }
}

TEST(Processing, CopiesItsInputUntilARateIsSetAndIgnoresNegativeCounts)
{
    const Plugin plugin;
    std::vector<double> input = noise(32);
    std::vector<double> output(32, 9.0);
    double* in = input.data();
    double* out = output.data();
    plugin.record->processDoubleReplacing(plugin.record, &in, &out, 32);
    EXPECT_EQ(output, input);

    plugin.setRate(48000.0f);
    const std::vector<double> before = output;
    plugin.record->processDoubleReplacing(plugin.record, &in, &out, -5);
    EXPECT_EQ(output, before);
}

// The same rate, or one that cannot be, leaves even the sound in the delay line; resume clears that.
TEST(Processing, KeepsItsSoundThroughRatesThatChangeNothing)
{
    const auto tail = [](auto interrupt) {
        const Plugin plugin;
        plugin.setRate(48000.0f);
        std::vector<double> samples = noise(256);
        plugin.process(samples.data(), 256);
        interrupt(plugin);
        samples.assign(256, 0.0);
        plugin.process(samples.data(), 256);
        return samples;
    };
    const std::vector<double> plain = tail([](const Plugin&) {});
    for (const float rate : {48000.0f, 0.0f, -48000.0f, 62.0f, 3072001.0f, NAN, INFINITY})
        EXPECT_EQ(tail([rate](const Plugin& plugin) { plugin.setRate(rate); }), plain) << rate;
    for (const float rate : {62.5f, 3072000.0f})
        EXPECT_NE(tail([rate](const Plugin& plugin) { plugin.setRate(rate); }), plain) << rate;
    EXPECT_EQ(tail([](const Plugin& plugin) { plugin.dispatch(effMainsChanged, 0, 1); }),
              std::vector<double>(256, 0.0));
}

TEST(Processing, AllocatesNothingWhateverTheBlocks)
{
    const Plugin plugin;
    plugin.setRate(48000.0f);
    std::vector<double> samples = noise(9000);
    const std::size_t before = Allocations::count;
    for (int block = 0; block < 1000; ++block) {
        plugin.set(kRange, static_cast<float>(block) / 1000.0f);
        plugin.set(kInvert, static_cast<float>(block / 10 % 2));
        plugin.set(kOnOff, static_cast<float>(block / 7 % 2));
        plugin.process(samples.data(), block * 7919 % 9000);
    }
    EXPECT_EQ(Allocations::count, before);
}

// However many of its allocations succeed before memory runs out, a set-up happens wholly or not at all.
TEST(Processing, StaysAsItWasWhenMemoryRunsOut)
{
    const std::vector<double> input = noise(512);
    const auto blockAfter = [&input](std::ptrdiff_t allocations) {
        const Plugin plugin;
        plugin.setRate(44100.0f);
        std::vector<double> samples = input;
        plugin.process(samples.data(), 256);
        Allocations::left = allocations;
        plugin.setRate(allocations == 0 ? 44100.0f : 48000.0f);
        Allocations::left = -1;
        plugin.process(samples.data() + 256, 256);
        return samples;
    };
    const std::vector<double> before = blockAfter(0);
    const std::vector<double> after = blockAfter(-1);
    std::ptrdiff_t needed = 1;
    for (std::vector<double> result = blockAfter(needed); result != after; result = blockAfter(++needed))
        ASSERT_EQ(result, before) << needed;
    EXPECT_GT(needed, 10);
}

// Long silence leaves nothing behind but the position in the line, which nobody hears.
TEST(Processing, ComesBackFromAnythingAsIfAfterLongSilence)
{
    for (const double poison : std::initializer_list<double>{NAN, INFINITY, 1e308}) {
        const Plugin poisoned;
        const Plugin silent;
        std::vector<double> first = noise(480, 0.5);
        first[200] = poison;
        std::vector<double> silence(1 << 18, 0.0);
        poisoned.setRate(48000.0f);
        silent.setRate(48000.0f);
        poisoned.process(first.data(), 480);
        silent.process(silence.data(), 1 << 18);
        for (const double sample : first)
            ASSERT_TRUE(std::isfinite(sample));
        std::vector<double> one = noise(4096, 0.5, 2);
        std::vector<double> other = one;
        poisoned.process(one.data(), 4096);
        silent.process(other.data(), 4096);
        EXPECT_EQ(one, other) << poison;
    }
}

TEST(Processing, FlushesSubnormalsAndGivesTheCallersFloatingPointStateBack)
{
    const Plugin plugin;
    plugin.set(kReso, 0.0f);
    plugin.setRate(48000.0f);
    std::vector<double> samples(1 << 17, 0.0);
    samples[0] = 1.0;
    std::feclearexcept(FE_ALL_EXCEPT);
    std::fesetround(FE_UPWARD);
    plugin.process(samples.data(), static_cast<VstInt32>(samples.size()));
    EXPECT_EQ(std::fegetround(), FE_UPWARD);
    std::fesetround(FE_TONEAREST);
    EXPECT_EQ(std::fetestexcept(FE_ALL_EXCEPT), 0);
    volatile double tiny = DBL_MIN;
    tiny = tiny / 2.0;
    EXPECT_GT(tiny, 0.0);
    for (const double sample : samples)
        ASSERT_NE(std::fpclassify(sample), FP_SUBNORMAL);
    EXPECT_EQ(samples.back(), 0.0);
}
