#include "effect/Parameters.h"
#include "tests/support/Allocations.h"
#include "tests/support/ReferenceWail.h"
#include "tests/support/Signals.h"
#include "tests/support/TestHost.h"

#include <gtest/gtest.h>

#include <cfenv>
#include <cfloat>

namespace
{

// Hz: the usual ones, one at which the delay is a sample or two, and the ends.
constexpr float kRates[] = {22050.0f,  32000.0f,  44100.0f, 48000.0f, 88200.0f,  96000.0f,
                            176400.0f, 192000.0f, 1000.0f,  62.5f,    3072000.0f};

// An effect and the reference, whose host does the same to both.
struct Twins {
    // rate: 0 for none yet.
    explicit Twins(float rate, std::initializer_list<std::pair<VstInt32, float>> values = {})
    {
        for (const auto& [index, value] : values)
            set(index, value);
        setRate(rate);
    }
    void set(VstInt32 index, float value)
    {
        plugin.set(index, value);
        reference.programs[reference.program][static_cast<std::size_t>(index)] = value;
    }
    void setProgram(std::size_t program)
    {
        plugin.setProgram(static_cast<VstIntPtr>(program));
        reference.program = program;
    }
    void setRate(float rate)
    {
        plugin.setRate(rate);
        reference.setRate(static_cast<double>(rate));
    }

    // Returns true if both render a block to the same bits. The effect's output is never subnormal or
    // non-finite, and it allocates nothing.
    bool agreeOn(std::vector<double> input, bool inPlace = true)
    {
        const std::vector<double> expected = reference.process(input);
        std::vector<double> another(input.size(), 9.0);
        std::vector<double>& output = inPlace ? input : another;
        double* from = input.data();
        double* to = output.data();
        const std::size_t before = Allocations::count;
        plugin.call<void>(slot::processDoubleReplacing, &from, &to, static_cast<VstInt32>(input.size()));
        EXPECT_EQ(Allocations::count, before);
        EXPECT_TRUE(std::ranges::all_of(output, [](double x) { return std::isnormal(x) || x == 0.0; }));
        return std::ranges::equal(output, expected, {}, bitsOf, bitsOf);
    }

    const Plugin plugin;
    ReferenceWail reference;
};

// Everything that a host may do to an effect between blocks. extreme: parameters are often at their upper end.
void randomHostCalls(Random& random, Twins& twins, bool extreme)
{
    const float positions[] = {0.0f, 1.0f, 0.0f, 1.0f, 0.5f, NAN};  // of a switch
    for (VstInt32 index = 0, count = random.oneIn(3) ? 0 : 7; index < count; ++index) {
        const bool isSwitch = index == kOnOff || index == kInvert;
        if (random.oneIn(isSwitch ? 6 : 2))
            twins.set(index, isSwitch                     ? random.pick(positions)
                             : extreme && random.oneIn(2) ? 1.0f
                                                          : random.share());
    }
    const float wild[] = {-0.5f, -1.0f, 1.25f, 30.0f, 3e38f, INFINITY, NAN};
    if (random.oneIn(20))
        twins.set(random.pick(std::array{kSense, kReso, kRange, kBalance, kEnvelope}), random.pick(wild));
    if (random.oneIn(40)) {
        twins.plugin.dispatch(effMainsChanged, 0, 1);
        twins.reference.resume();
    }
    if (random.oneIn(40)) {
        twins.plugin.call<void>(slot::setInvert);
        twins.reference.setInvert();
    }
    if (random.oneIn(80))
        twins.setProgram(random.next() % 4);
    if (random.oneIn(60))
        twins.setRate(random.pick(kRates));

    const float noRates[] = {0.0f, -48000.0f, 62.4f, 3072001.0f, INFINITY, NAN};
    const VstInt32 silent[] = {effStopProcess, effStartProcess, effMainsChanged, effSetBlockSize};
    if (random.oneIn(20)) {  // these change nothing
        twins.plugin.setRate(random.pick(noRates));
        twins.plugin.dispatch(random.pick(silent));
        twins.plugin.process(nullptr, -5);
    }
}

// A block from the source, at the level or far below, now and then with values that are no sound.
std::vector<double> blockOf(Random& random, const std::vector<double>& source, double level)
{
    const int lengths[] = {0, 1, 2, 3, 7, 64, 480, 1024, 4096};
    const double hostile[] = {1e308, 2e307, -1e200, INFINITY, -INFINITY, NAN, 5e-324};
    const int length = random.oneIn(5) ? static_cast<int>(random.next() % 700) : random.pick(lengths);
    const auto start = source.begin() + random.next() % (source.size() - 4096);
    if (random.oneIn(8))
        level = std::pow(10.0, -static_cast<double>(random.next() % 330));
    std::vector<double> block(start, start + length);
    for (double& sample : block)
        sample *= level;
    if (length > 0 && random.oneIn(20)) {  // a single value or a stretch, of one sign or of both
        const double value = random.pick(hostile);
        const std::size_t from = random.oneIn(3) ? 0 : random.next() % block.size();
        const std::size_t to = random.oneIn(2) ? from + 1 : block.size();
        const bool isSteady = random.oneIn(2);
        for (std::size_t i = from; i < to; ++i)
            block[i] = isSteady || random.oneIn(2) ? value : -value;
    }
    return block;
}

}  // namespace

// Random calls, values and blocks, with a second instance running beside it. Before the first block, -1 counts as
// the value that was in force, and NaN as a change.
TEST(Processing, GivesTheReferencesBitsWhateverTheHostDoes)
{
    for (unsigned seed = 0; seed < 24; ++seed) {
        Random random{std::mt19937(seed)};
        const std::vector<double> source = strokes(1 << 16, 6000, seed + 1);
        const bool loud = seed % 3 == 0;  // enough to drive the delay below one sample
        const Plugin neighbour;
        neighbour.setRate(kRates[seed % 5]);
        Twins twins(0.0f);
        twins.plugin.call<void>(slot::setInvert);   // nothing, until there is a rate
        ASSERT_TRUE(twins.agreeOn(source, false));  // a copy
        twins.setRate(kRates[seed % 9]);
        for (int block = 0; block < 300; ++block) {
            randomHostCalls(random, twins, loud);
            if (block == 0)
                twins.set(static_cast<VstInt32>(seed % 7), seed % 2 == 0 ? -1.0f : NAN);
            const std::vector<double> input = blockOf(random, source, loud ? 8.0 : 1.0);
            neighbour.set(static_cast<VstInt32>(random.next() % 7), random.share());
            std::vector<double> others = input;
            neighbour.process(others);
            ASSERT_TRUE(twins.agreeOn(input, random.oneIn(2))) << "seed " << seed << ", block " << block;
        }
    }
}

// A Balance far beyond its range makes the output overflow, but neither the line, nor the output to the block's end.
TEST(Processing, FindsAnOverflowThatIsOverBeforeTheBlockEnds)
{
    for (double peak = 1e275; peak < 1e280; peak *= 10.0) {
        Twins twins(48000.0f, {{kBalance, 1e15f}});
        std::vector<double> burst(2048);
        std::fill_n(burst.begin(), 64, peak);
        for (const auto& block : {{}, burst, std::vector<double>(2048)})
            ASSERT_TRUE(twins.agreeOn(block)) << peak;
    }
}

// A full envelope and a range that creeps up take the delay from three samples to one, a block a step.
TEST(Processing, ReadsWhatItHasJustWrittenWhileValuesMove)
{
    Twins twins(48000.0f, {{kSense, 1.0f}, {kEnvelope, 1.0f}});
    std::vector<double> steady(48000, 1.9);
    for (std::size_t i = 0; i < steady.size(); i += 2)
        steady[i] = -1.9;
    ASSERT_TRUE(twins.agreeOn(steady));
    for (float range = 0.68f; range < 0.89f; range += 0.0011f) {
        twins.set(kRange, range);
        ASSERT_TRUE(twins.agreeOn(noise(64, 1.9))) << range;
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
        std::vector<double> samples(64 + 512, 0.0);  // the glides from the start take a block
        samples[64] = 1e-7;
        plugin.process(samples, 64);
        const double g = 0.250007629627369 + 0.5 * (0.935789056062502 - 0.250007629627369);
        EXPECT_DOUBLE_EQ(samples[64], 1e-7);
        for (unsigned echo = 1; echo < 7; ++echo)
            EXPECT_NEAR(samples[64 + echo * delay] / 1e-7, -1.5 * std::pow(-g, echo - 1.0), 1e-5);
        EXPECT_NEAR(samples[64 + delay / 2], 0.0, 1e-12);
    }
}

// Of ones, the dry sound is the gain of the switches.
TEST(Processing, SwitchesFadeOutAndInOverSixteenMilliseconds)
{
    for (const auto& [rate, N] : {std::pair{44100.0f, 705}, {48000.0f, 768}}) {
        for (const int index : {kOnOff, kInvert}) {
            const Plugin plugin;
            plugin.set(kBalance, 0.0f);
            plugin.setRate(rate);
            std::vector<double> before(64, 1.0), samples(2000, 1.0);
            plugin.process(before);
            plugin.set(index, index == kOnOff ? 0.0f : 1.0f);
            plugin.process(samples, 100);
            for (int k = 0; k < 2000; ++k)
                ASSERT_NEAR(samples[static_cast<std::size_t>(k)],
                            k < 2 * N ? std::fabs(static_cast<double>(N - k)) / N : 1.0, 1e-15);
        }
    }
}

// However many allocations succeed before memory runs out.
TEST(Processing, StaysAsItWasWhenThereIsNoMemoryForANewRate)
{
    const Plugin other;
    const std::size_t before = Allocations::count;
    other.setRate(48000.0f);
    const auto needed = static_cast<std::ptrdiff_t>(Allocations::count - before);
    EXPECT_EQ(needed > 0, Allocations::seeModules);
    Twins twins(44100.0f);
    ASSERT_TRUE(twins.agreeOn(noise(256)));
    for (std::ptrdiff_t allowed = 0; allowed < needed; ++allowed) {
        Allocations::left = allowed;
        twins.plugin.setRate(48000.0f);
        Allocations::left = -1;
        twins.set(kOnOff, static_cast<float>(allowed % 2));  // fades, since this is not the first block
        ASSERT_TRUE(twins.agreeOn(noise(2048))) << allowed;
    }
}

TEST(Processing, GivesTheCallersFloatingPointStateBack)
{
    const Plugin plugin;
    plugin.setRate(48000.0f);
    std::vector<double> samples = noise(4800, 1e-300);
    std::feclearexcept(FE_ALL_EXCEPT);
    std::fesetround(FE_UPWARD);
    plugin.process(samples);
    EXPECT_EQ(std::fegetround(), FE_UPWARD);
    std::fesetround(FE_TONEAREST);
    EXPECT_EQ(std::fetestexcept(FE_ALL_EXCEPT), 0);
    volatile double tiny = DBL_MIN;
    tiny = tiny / 2.0;
    EXPECT_GT(tiny, 0.0);
}

#ifdef __i386__
// As 32-bit programs have it whose compilers do not align it to 16.
TEST(Processing, TakesCallsFromAStackAlignedToFourBytes)
{
    for (const std::uintptr_t misaligned : {0, 4, 8, 12}) {
        Twins twins(48000.0f);
        std::vector<double> samples = noise(256);
        const std::vector<double> expected = twins.reference.process(samples);
        double* channel = samples.data();
        const auto channels = reinterpret_cast<std::uintptr_t>(&channel);
        const auto record = reinterpret_cast<std::uintptr_t>(twins.plugin.record);
        const std::uintptr_t words[] = {record, channels, channels, samples.size(), misaligned};
        asm volatile("mov %%esp, %%ebx; and $-16, %%esp; sub 16(%0), %%esp\n\t"
                     "push 12(%0); push 8(%0); push 4(%0); push (%0); call *%1; mov %%ebx, %%esp"
                     :
                     : "S"(words), "D"(twins.plugin.record->processDoubleReplacing)
                     : "eax", "ebx", "ecx", "edx", "memory", "cc");
        EXPECT_EQ(samples, expected) << misaligned;
    }
}
#endif
