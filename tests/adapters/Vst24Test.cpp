#include "tests/adapters/Vst24Host.h"
#include "tests/support/Allocations.h"
#include "tests/support/ShippedPresets.h"

#include <gtest/gtest.h>

TEST(Vst24, ReturnsNoEffectWithoutAHostThatWorks)
{
    EXPECT_EQ(makeVst24(nullptr), nullptr);
    EXPECT_EQ(makeVst24([](auto...) -> VstIntPtr { return 0; }), nullptr);
    EXPECT_EQ(makeVst24([](auto...) -> VstIntPtr { throw 0; }), nullptr);
}

TEST(Vst24, ListsTheShippedPresetsAndThenNumberedPrograms)
{
    const Plugin effect(makeVst24(hostCallback));
    EXPECT_EQ(effect.text(effGetProgramName), "Gentle Sweep");
    std::map<std::string, std::array<float, 7>> programs, expected;
    for (VstInt32 program = 0; program < 16; ++program) {
        effect.dispatch(effSetProgram, 0, program);
        const std::string name = effect.text(effGetProgramName);
        EXPECT_EQ(effect.text(effGetProgramNameIndexed, program), name);
        for (VstInt32 index = 0; index < 7; ++index)
            programs[name][static_cast<std::size_t>(index)] = effect.get(index);
    }
    for (const auto& [id, preset] : shippedPresets())
        expected[preset.name] = preset.values;
    for (const char* const name : {"Init 11", "Init 12", "Init 13", "Init 14", "Init 15", "Init 16"})
        expected[name] = {1.0f, 0.84210527f, 0.8f, 0.444f, 1.0f, 0.0f, 1.0f};
    EXPECT_EQ(programs, expected);
}

TEST(Vst24, ASwitchIsOnFromTheMiddleOfItsSlider)
{
    const Plugin effect(makeVst24(hostCallback));
    for (const float value : {0.0f, 0.49f, 0.5f, 0.7f, 1.0f}) {
        effect.set(0, value);
        EXPECT_EQ(effect.get(0), value < 0.5f ? 0.0f : 1.0f);
        EXPECT_EQ(effect.text(effGetParamDisplay, 0), value < 0.5f ? "off" : "on");
    }
}

// Also in double precision: a constant input with Balance at 0 and the effect switched on again.
TEST(Vst24, StartsAtItsSettingsWheneverItIsSwitchedOn)
{
    const Plugin effect(makeVst24(hostCallback));
    effect.setRate(48000.0f);
    for (const float balance : {0.0f, 1.0f}) {
        effect.dispatch(effMainsChanged, 0, 1);
        effect.set(4, balance);
        std::vector<double> block(20, 0.5);
        effect.process(block);
        EXPECT_EQ(block, std::vector(20, 0.5));  // too short for the comb to add anything
        effect.dispatch(effMainsChanged, 0, 0);
    }
}

TEST(Vst24, TakesNullBuffersForEmptyBlocksAndIgnoresNegativeLengths)
{
    const Plugin effect(makeVst24(hostCallback));
    for (const float rate : {0.0f, 48000.0f}) {  // 0: none yet
        effect.setRate(rate);
        effect.record->processReplacing(effect.record, nullptr, nullptr, 0);
        effect.record->processDoubleReplacing(effect.record, nullptr, nullptr, 0);
        float sample = 0.25f;
        float* buffer = &sample;
        effect.record->processReplacing(effect.record, &buffer, &buffer, -1);
        EXPECT_EQ(sample, 0.25f);
    }
}

TEST(Vst24, ReturnsNoEffectAndLeavesNothingWhenMemoryRunsOut)
{
    const auto before = Allocations::live.load();
    const int failures = Allocations::failEach([] {
        AEffect* const made = makeVst24([](auto...) -> VstIntPtr { return 1; });
        if (made != nullptr)
            Plugin{made};  // which closes it
        return made != nullptr;
    });
    EXPECT_GE(failures, 2);
    EXPECT_EQ(Allocations::live, before);
}
