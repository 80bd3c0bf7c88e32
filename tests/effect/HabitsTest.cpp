#include "host/VstRecords.h"
#include "tests/support/Allocations.h"
#include "tests/support/Signals.h"
#include "tests/support/TestHost.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <cmath>
#include <filesystem>
#include <thread>

namespace
{

// A setting of its own for each program and parameter, and a name.
void fillPrograms(const Plugin& plugin, Chance& chance)
{
    for (VstInt32 program = 0; program < 16; ++program) {
        plugin.dispatch(effSetProgram, 0, program);
        plugin.rename(std::to_string(chance.random()));
        for (VstInt32 i = 0; i < 7; ++i)
            plugin.set(i, i % 5 == 0 ? static_cast<float>(chance.oneIn(2)) : chance.share());
    }
}

}  // namespace

TEST(Habits, LoadedUsedAndUnloadedAgainAndAgainNothingIsLeft)
{
    const std::string copy = testing::TempDir() + "WailAgain" + std::to_string(getpid()) + ".so";
    std::filesystem::copy_file(WAIL_BUNDLE, copy);
    std::ptrdiff_t before = 0;
    for (int life = 0; life < 100; ++life) {
        if (life == 1)
            before = Allocations::live;  // what the first life made for good is not counted
        void* const bundle = loadLibrary(copy);
        {
            const Plugin plugin(entryPoint("KTypeIF", bundle));
            plugin.setRate(48000.0f);
            std::vector<double> samples = noise(480);
            plugin.process(samples);
        }
        EXPECT_EQ(dlclose(bundle), 0);
        EXPECT_EQ(dlopen(copy.c_str(), RTLD_NOW | RTLD_NOLOAD), nullptr);
        hostCalls = {};
    }
    EXPECT_EQ(Allocations::live, before);
    std::filesystem::remove(copy);
}

// Every length once, the rates in turn. The program and a parameter move before each block, and the level falls
// to nothing.
TEST(Habits, NoBlockAtAnyRateHasANumberThatIsNotOne)
{
    constexpr float kRates[] = {22050.0f, 32000.0f, 44100.0f,  48000.0f,
                                88200.0f, 96000.0f, 176400.0f, 192000.0f};
    Chance chance{std::mt19937(5)};
    for (std::size_t rate = 0; rate < 8; ++rate) {
        const Plugin plugin;
        fillPrograms(plugin, chance);
        plugin.setRate(kRates[rate]);
        for (std::size_t length = rate + 1; length <= 8192; length += 8) {
            plugin.dispatch(effSetProgram, 0, static_cast<VstIntPtr>(chance.random() % 16));
            plugin.set(static_cast<VstInt32>(chance.random() % 7), chance.share());
            std::vector<double> samples =
                noise(length, std::pow(10.0, -static_cast<double>(chance.random() % 330)));
            plugin.process(samples);
            for (const double sample : samples)
                ASSERT_TRUE(std::isnormal(sample) || sample == 0.0) << kRates[rate] << " " << length;
        }
    }
}

TEST(Habits, RestoredFromItsValuesAndNamesANewEffectSoundsAlike)
{
    Chance chance{std::mt19937(6)};
    const Plugin one, other;
    fillPrograms(one, chance);
    for (VstInt32 program = 0; program < 16; ++program) {
        one.dispatch(effSetProgram, 0, program);
        other.dispatch(effSetProgram, 0, program);
        other.rename(one.text(effGetProgramName));
        for (VstInt32 i = 0; i < 7; ++i)
            other.set(i, one.get(i));
    }
    std::vector<double> heard[2] = {strokes(48000, 12000), strokes(48000, 12000)};
    for (const Plugin* const plugin : {&one, &other}) {
        plugin->setRate(48000.0f);
        plugin->dispatch(effSetProgram, 0, 11);
        plugin->process(heard[plugin == &other], 480);
    }
    EXPECT_EQ(heard[0], heard[1]);
    EXPECT_EQ(one.text(effGetProgramName), other.text(effGetProgramName));
}

#ifdef __i386__
// As 32-bit programs did before their compilers aligned it to 16.
TEST(Habits, AHostMayAlignItsStackToFourBytes)
{
    const Plugin usual;
    usual.setRate(48000.0f);
    std::vector<double> expected = noise(256);
    usual.process(expected);
    for (const int misaligned : {0, 4, 8, 12}) {
        const Plugin plugin;
        plugin.setRate(48000.0f);
        std::vector<double> samples = noise(256);
        double* channel = samples.data();
        struct {
            int misaligned;
            AEffect* effect;
            double** inputs;
            double** outputs;
            VstInt32 frames;
        } const call{misaligned, plugin.record, &channel, &channel, 256};
        asm volatile("mov %%esp, %%ebx\n\t"
                     "and $-16, %%esp\n\t"
                     "sub (%0), %%esp\n\t"
                     "push 16(%0)\n\t"
                     "push 12(%0)\n\t"
                     "push 8(%0)\n\t"
                     "push 4(%0)\n\t"
                     "call *%1\n\t"
                     "mov %%ebx, %%esp"
                     :
                     : "S"(&call), "D"(plugin.record->processDoubleReplacing)
                     : "eax", "ebx", "ecx", "edx", "memory", "cc");
        EXPECT_EQ(samples, expected) << misaligned;
    }
}
#endif

// Meant for the thread sanitizer. Parameter i only ever gets values whose 1024ths leave i when divided by 8.
TEST(Threads, PlayWhileOthersSetAndReadEverything)
{
    const auto valueOf = [](int i, int k) { return static_cast<float>(i + 8 * (k % 128)) / 1024.0f; };
    const Plugin plugin;
    plugin.setRate(48000.0f);
    for (VstInt32 program = 15; program >= 0; --program) {
        plugin.dispatch(effSetProgram, 0, program);
        for (VstInt32 i = 0; i < 7; ++i)
            plugin.set(i, valueOf(i, program));
    }
    std::atomic<bool> playing = true;
    const auto setAndRead = [&](int start) {
        for (int k = start; playing; ++k) {
            plugin.set(k % 7, valueOf(k % 7, k / 7));
            const float value = plugin.get(k % 5) * 1024.0f;
            ASSERT_TRUE(value == std::floor(value) && static_cast<int>(value) % 8 == k % 5) << value;
            EXPECT_EQ(plugin.text(effGetParamName, 4), "Balance");
            EXPECT_EQ(plugin.text(effGetParamDisplay, 0), "off");
            VstParameterProperties properties;
            EXPECT_EQ(plugin.dispatch(effGetParameterProperties, k % 7, 0, &properties), 1);
        }
    };
    std::jthread one(setAndRead, 0), other(setAndRead, 3), programs([&] {
        for (int k = 0; playing; ++k) {
            plugin.dispatch(effSetProgram, 0, k % 16);
            const std::string name = std::to_string(k);
            plugin.rename(name);
            EXPECT_EQ(plugin.text(effGetProgramName), name);
            EXPECT_EQ(plugin.text(effGetProgramNameIndexed, k % 16), name);
        }
    });
    std::vector<double> samples = noise(960000);
    plugin.process(samples, 64);
    playing = false;
}

// Sets "On/Off" while a long block is in work, or just before it where the machine lets the threads wait.
TEST(Threads, ABlockHearsAllOrNothingOfAParameterAndTheNextHearsIt)
{
    const std::vector<double> input = noise(1 << 20);
    const Plugin alone, plugin;
    std::vector<double> undisturbed = input, samples = input;
    alone.setRate(48000.0f);
    alone.process(undisturbed);
    plugin.setRate(48000.0f);
    std::atomic<bool> playing = false;
    std::thread audio([&] {
        playing = true;
        plugin.process(samples);
    });
    while (!playing)
        std::this_thread::yield();
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
    plugin.set(0, 0.0f);
    audio.join();
    EXPECT_TRUE(samples == undisturbed || samples == input);
    samples = input;
    plugin.process(samples, 2 * 768);
    EXPECT_TRUE(std::equal(samples.begin() + 2 * 768, samples.end(), input.begin() + 2 * 768));
}
