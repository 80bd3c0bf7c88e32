#include "host/VstRecords.h"
#include "tests/support/TableSlots.h"
#include "tests/support/TestHost.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>

namespace
{

constexpr const char* kNames[] = {"On/Off", "Sense", "Reso", "Range", "Balance", "Invert", "Envelope"};
constexpr float kDefaults[] = {1.0f, 0.84210527f, 0.8f, 0.444f, 1.0f, 0.0f, 1.0f};
constexpr bool kSwitches[] = {true, false, false, false, false, true, false};

std::string displayOf(const Plugin& plugin, VstInt32 index, float value)
{
    char text[64] = "untouched";
    plugin.call<void, VstInt32, float, char*>(slot::getParameterDisplayOf, index, value, text);
    return text;
}

}  // namespace

TEST(Parameters, StartAtTheirDefaultsAndKeepWhateverTheHostSets)
{
    const Plugin plugin;
    for (VstInt32 i = 0; i < 7; ++i) {
        SCOPED_TRACE(kNames[i]);
        EXPECT_EQ(plugin.get(i), kDefaults[i]);
        EXPECT_EQ(plugin.text(effGetParamName, i), kNames[i]);
        EXPECT_EQ(plugin.text(effGetParamLabel, i), "");
        for (const float value : {0.3f, 1.5f, -2.0f, INFINITY}) {
            plugin.set(i, value);
            EXPECT_EQ(plugin.get(i), value);
        }
    }
}

TEST(Parameters, IgnoreIndicesOutOfRange)
{
    const Plugin plugin;
    for (const VstInt32 index : {-1, 7, std::numeric_limits<VstInt32>::min()}) {
        plugin.set(index, 0.5f);
        EXPECT_EQ(plugin.get(index), 0.0f);
        for (const VstInt32 opcode : {effGetParamName, effGetParamLabel, effGetParamDisplay})
            EXPECT_EQ(plugin.text(opcode, index), "untouched");
        EXPECT_EQ(displayOf(plugin, index, 0.5f), "untouched");
    }
    for (VstInt32 i = 0; i < 7; ++i)
        EXPECT_EQ(plugin.get(i), kDefaults[i]);
}

TEST(Parameters, ShowSwitchesAsWordsAndNumbersInTenths)
{
    const Plugin plugin;
    const std::pair<float, const char*> numbers[] = {{0.0f, " 0.00"},  {0.25f, " 2.50"},
                                                     {0.5f, " 5.00"},  {0.84210527f, " 8.42"},
                                                     {1.0f, " 10.00"}, {-0.1f, "-1.00"}};
    const std::pair<float, const char*> switches[] = {{1.0f, "on"},         {0.0f, "off"}, {0.5f, "off"},
                                                      {0.99999994f, "off"}, {2.0f, "off"}, {NAN, "off"}};
    for (VstInt32 i = 0; i < 7; ++i) {
        for (const auto& [value, expected] : kSwitches[i] ? switches : numbers) {
            SCOPED_TRACE(testing::Message() << kNames[i] << " at " << value);
            EXPECT_EQ(displayOf(plugin, i, value), expected);
            plugin.set(i, value);
            EXPECT_EQ(plugin.text(effGetParamDisplay, i), expected);
        }
    }
    char nine[] = "##########";
    plugin.dispatch(effGetParamDisplay, 0, 0, nine);
    EXPECT_EQ(std::memcmp(nine, "off\0\0\0\0\0\0#", 10), 0);
}

TEST(Parameters, DescribeThemselvesInExactly152Bytes)
{
    const Plugin plugin;
    std::string answer;
    for (VstInt32 i = 0; i < 7; ++i) {
        VstParameterProperties expected{};
        expected.flags = kSwitches[i] ? 1 : 4;
        expected.stepFloat = kSwitches[i] ? 0.0f : 0.01f;
        answer.assign(160, '#');
        EXPECT_EQ(plugin.dispatch(effGetParameterProperties, i, 0, answer.data()), 1);
        EXPECT_EQ(answer, std::string(reinterpret_cast<char*>(&expected), 152) + "########") << kNames[i];
    }
    for (const VstInt32 index : {-1, 7})
        EXPECT_EQ(plugin.dispatch(effGetParameterProperties, index, 0, answer.data()), 0);
    EXPECT_EQ(plugin.dispatch(effGetParameterProperties, 0, 0, nullptr), 0);
}
