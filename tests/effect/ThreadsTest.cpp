#include "host/VstRecords.h"
#include "tests/support/Signals.h"
#include "tests/support/TestHost.h"

#include <gtest/gtest.h>

#include <chrono>
#include <latch>
#include <thread>

// Meant for the thread sanitizer.
TEST(Threads, PlayWhileOthersSetAndReadEverything)
{
    const Plugin plugin;
    plugin.setRate(48000.0f);
    std::atomic<bool> playing = true;
    const auto setAndRead = [&](int start) {
        for (int k = start; playing; ++k) {
            plugin.set(k % 7, static_cast<float>(k % 128) / 128.0f);
            EXPECT_LT(plugin.get(k % 5), 1.01f);
            EXPECT_EQ(plugin.text(effGetParamName, 4), "Balance");
            EXPECT_NE(plugin.text(effGetParamDisplay, k % 7), "untouched");
            VstParameterProperties properties;
            EXPECT_EQ(plugin.dispatch(effGetParameterProperties, k % 7, 0, &properties), 1);
        }
    };
    std::jthread one(setAndRead, 0), other(setAndRead, 3), programs([&] {
        for (int k = 0; playing; ++k) {
            plugin.setProgram(k % 16);
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

// Sets "On/Off" while a long block is being processed, or just before it if the machine makes the threads wait: the
// block is processed throughout, or not at all.
TEST(Threads, AParameterSetDuringABlockTakesEffectWithTheNext)
{
    const std::vector<double> input = noise(1 << 22);
    const Plugin alone, plugin;
    std::vector<double> undisturbed = input, samples = input;
    alone.setRate(48000.0f);
    alone.process(undisturbed, undisturbed.size());
    plugin.setRate(48000.0f);
    std::latch started(1);
    std::jthread audio([&] {
        started.count_down();
        plugin.process(samples, samples.size());
    });
    started.wait();
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
    plugin.set(0, 0.0f);
    audio.join();
    EXPECT_TRUE(samples == undisturbed || samples == input);
    samples = input;
    plugin.process(samples, 2 * 768);
    EXPECT_TRUE(std::equal(samples.begin() + 2 * 768, samples.end(), input.begin() + 2 * 768));
}
