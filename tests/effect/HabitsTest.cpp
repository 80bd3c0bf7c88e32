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

TEST(Habits, LoadedUsedAndUnloadedAgainAndAgainNothingIsLeft)
{
    const std::string copy = testing::TempDir() + "WailAgain" + std::to_string(getpid()) + ".so";
    std::filesystem::copy_file(WAIL_BUNDLE, copy);
    std::ptrdiff_t before = 0;
    for (int life = 0; life < 20; ++life) {
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
