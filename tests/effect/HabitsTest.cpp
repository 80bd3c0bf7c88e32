#include "host/VstRecords.h"
#include "tests/support/Allocations.h"
#include "tests/support/Signals.h"
#include "tests/support/TestHost.h"

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <memory>
#include <thread>

namespace
{

void play(const Plugin& plugin, std::vector<double>& samples, VstInt32 block = 480)
{
    for (std::size_t n = 0; n + block <= samples.size(); n += block)
        plugin.process(samples.data() + n, block);
}

// A setting of its own for each program and parameter, in 0 .. 1, and a name.
void fillPrograms(const Plugin& plugin, std::mt19937& random)
{
    for (VstInt32 program = 0; program < 16; ++program) {
        plugin.dispatch(effSetProgram, 0, program);
        plugin.dispatch(effSetProgramName, 0, 0, std::to_string(random()).data());
        for (VstInt32 i = 0; i < 7; ++i)
            plugin.set(i, i % 5 == 0 ? static_cast<float>(random() % 2)
                                     : static_cast<float>(random() % 1001) / 1000.0f);
    }
}

}  // namespace

TEST(Habits, OpenedAndClosedAHundredTimesNothingIsLeft)
{
    std::ptrdiff_t before = 0;
    for (int life = 0; life < 101; ++life) {
        if (life == 1)
            before = Allocations::live;  // what the first life made for good is not counted
        const Plugin plugin;
        plugin.setRate(48000.0f);
        std::vector<double> samples = noise(480);
        play(plugin, samples);
        hostCalls = {};
    }
    EXPECT_EQ(Allocations::live, before);
}

// Every length once, the rates in turn; every 31st where the machine is slow. The parameters and the program
// move before each block, and the level falls to nothing.
TEST(Habits, NoBlockAtAnyRateHasANumberThatIsNotOne)
{
    constexpr float kRates[] = {22050.0f, 32000.0f, 44100.0f,  48000.0f,
                                88200.0f, 96000.0f, 176400.0f, 192000.0f};
    std::mt19937 random(5);
    const std::vector<double> source = noise(8192);
    std::vector<double> samples;
    for (VstInt32 rate = 0; rate < 8; ++rate) {
        const Plugin plugin;
        fillPrograms(plugin, random);
        plugin.setRate(kRates[rate]);
        for (VstInt32 length = rate + 1; length <= 8192; length += 8 * WAIL_TEST_STRIDE) {
            plugin.dispatch(effSetProgram, 0, static_cast<VstInt32>(random() % 16));
            plugin.set(static_cast<VstInt32>(random() % 7), static_cast<float>(random() % 5) / 4.0f);
            samples.assign(source.begin(), source.begin() + length);
            const double level = std::pow(10.0, -static_cast<double>(random() % 330));
            for (double& sample : samples)
                sample *= level;
            plugin.process(samples.data(), length);
            for (const double sample : samples)
                ASSERT_TRUE(std::isnormal(sample) || sample == 0.0) << kRates[rate] << " " << length;
        }
    }
}

TEST(Habits, RestoredFromItsValuesAndNamesANewEffectSoundsAlike)
{
    std::mt19937 random(6);
    const Plugin one;
    const Plugin other;
    fillPrograms(one, random);
    one.setRate(44100.0f);
    std::vector<double> samples = noise(48000);
    play(one, samples);
    for (VstInt32 program = 0; program < 16; ++program) {
        one.dispatch(effSetProgram, 0, program);
        other.dispatch(effSetProgram, 0, program);
        other.dispatch(effSetProgramName, 0, 0, one.text(effGetProgramName).data());
        for (VstInt32 i = 0; i < 7; ++i)
            other.set(i, one.get(i));
    }
    for (const VstInt32 program : {3, 11}) {
        std::vector<double> heard[2];
        for (const Plugin* plugin : {&one, &other}) {
            plugin->dispatch(effSetProgram, 0, program);
            plugin->setRate(48000.0f + static_cast<float>(program));  // from silence
            heard[plugin == &other] = strokes(48000, 12000);
            play(*plugin, heard[plugin == &other]);
        }
        EXPECT_EQ(heard[0], heard[1]);
        EXPECT_EQ(one.text(effGetProgramName), other.text(effGetProgramName));
    }
}

// A neighbour with other settings, and a host that announces short blocks and switches processing off and
// on, change no bit.
TEST(Habits, NeitherANeighbourNorAnnouncementsNorSwitchingOffChangeTheSound)
{
    std::vector<double> heard[2];
    for (const bool busy : {false, true}) {
        const Plugin plugin;
        const Plugin neighbour;
        if (busy)
            plugin.dispatch(effSetBlockSize, 0, 16);
        plugin.setRate(48000.0f);
        heard[busy] = strokes(48000, 6000);
        for (std::size_t n = 0; n < 48000; n += 8000) {
            if (busy) {
                std::mt19937 random(7);
                fillPrograms(neighbour, random);
                neighbour.setRate(static_cast<float>(8000 + n));
                std::vector<double> loud = noise(480, 4.0);
                play(neighbour, loud);
                plugin.dispatch(effStopProcess);
                plugin.dispatch(effMainsChanged, 0, 0);
            }
            plugin.dispatch(effMainsChanged, 0, 1);
            if (busy)
                plugin.dispatch(effStartProcess);
            plugin.process(heard[busy].data() + n, 8000);
        }
        EXPECT_EQ(plugin.text(effGetProgramName), "Init 1");
    }
    EXPECT_EQ(heard[0], heard[1]);
}

TEST(Habits, TheBundleIsUnloadedAndLoadedAgain)
{
    const std::string copy = testing::TempDir() + "WailAgain" + std::to_string(getpid()) + ".so";
    std::filesystem::copy_file(WAIL_BUNDLE, copy);
    for (int time = 0; time < 3; ++time) {
        void* const bundle = dlopen(copy.c_str(), RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(bundle, nullptr) << dlerror();
        {
            const auto make = reinterpret_cast<K_TypeIF* (*)(audioMasterCallback)>(dlsym(bundle, "KTypeIF"));
            const std::unique_ptr<K_TypeIF> interface(make(hostCallback));
            const Plugin plugin(interface->aeffect);
            plugin.setRate(48000.0f);
        }
        EXPECT_EQ(dlclose(bundle), 0);
        EXPECT_EQ(dlopen(copy.c_str(), RTLD_NOW | RTLD_NOLOAD), nullptr);
    }
    std::filesystem::remove(copy);
}

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
    std::thread one(setAndRead, 0), other(setAndRead, 3), programs([&] {
        for (int k = 0; playing; ++k) {
            plugin.dispatch(effSetProgram, 0, k % 16);
            std::string name = std::to_string(k);
            plugin.dispatch(effSetProgramName, 0, 0, name.data());
            EXPECT_EQ(plugin.text(effGetProgramName), name);
            EXPECT_EQ(plugin.text(effGetProgramNameIndexed, k % 16), name);
        }
    });
    std::vector<double> samples = noise(96000);
    for (int time = 0; time < 10; ++time)
        play(plugin, samples, 64);
    playing = false;
    for (std::thread* thread : {&one, &other, &programs})
        thread->join();
}

// Where a set did not wait for the block's end, the block would take it for one that it had heard.
TEST(Threads, AParameterSetDuringABlockIsHeardAfterIt)
{
    const Plugin plugin;
    plugin.setRate(48000.0f);
    std::vector<double> block = noise(1 << 20);
    std::atomic<bool> playing = false;
    std::thread audio([&] {
        playing = true;
        plugin.process(block.data(), 1 << 20);
    });
    while (!playing)
        std::this_thread::yield();
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
    plugin.set(4, 0.0f);  // "Balance": the input alone
    audio.join();
    std::vector<double> samples = noise(960);
    play(plugin, samples);
    const std::vector<double> input = noise(960);
    EXPECT_TRUE(std::equal(samples.begin() + 480, samples.end(), input.begin() + 480));
}
