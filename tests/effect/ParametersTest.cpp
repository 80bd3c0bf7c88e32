#include "host/VstRecords.h"
#include "tests/support/TableSlots.h"
#include "tests/support/TestHost.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace
{

struct Expected {
    const char* name;
    float initial;
    bool isSwitch;
};
constexpr Expected kExpected[] = {{"On/Off", 1.0f, true},   {"Sense", 0.84210527f, false},
                                  {"Reso", 0.8f, false},    {"Range", 0.444f, false},
                                  {"Balance", 1.0f, false}, {"Invert", 0.0f, true},
                                  {"Envelope", 1.0f, false}};

// Texts of switches and of all others.
constexpr std::pair<float, const char*> kSwitchTexts[] = {{1.0f, "on"},         {0.0f, "off"}, {0.5f, "off"},
                                                          {0.99999994f, "off"}, {2.0f, "off"}, {NAN, "off"}};
constexpr std::pair<float, const char*> kNumberTexts[] = {{0.0f, " 0.00"},        {0.25f, " 2.50"},
                                                          {0.84210527f, " 8.42"}, {1.0f, " 10.00"},
                                                          {1.5f, " 15.00"},       {-0.1f, "-1.00"}};

std::string displayOf(const Plugin& plugin, VstInt32 index, float value)
{
    char text[64] = "untouched";
    plugin.call<void, VstInt32, float, char*>(slot::getParameterDisplayOf, index, value, text);
    return text;
}

}  // namespace

TEST(Parameters, StartAtTheirDefaultsKeepWhateverTheHostSetsAndShowIt)
{
    const Plugin plugin;
    for (VstInt32 i = 0; i < 7; ++i) {
        const auto& [name, initial, isSwitch] = kExpected[i];
        SCOPED_TRACE(name);
        EXPECT_EQ(plugin.get(i), initial);
        EXPECT_EQ(plugin.text(effGetParamName, i), name);
        EXPECT_EQ(plugin.text(effGetParamLabel, i), "");
        for (const auto& [value, text] : isSwitch ? kSwitchTexts : kNumberTexts) {
            plugin.set(i, value);
            EXPECT_EQ(plugin.text(effGetParamDisplay, i), text) << value;
            EXPECT_EQ(displayOf(plugin, i, value), text) << value;
            EXPECT_EQ(std::bit_cast<VstInt32>(plugin.call<float>(slot::getParameter, i)),
                      std::bit_cast<VstInt32>(value));
        }
        VstParameterProperties expected{};
        expected.flags = isSwitch ? 1 : 4;
        expected.stepFloat = isSwitch ? 0.0f : 0.01f;
        std::string properties(160, '#');
        EXPECT_EQ(plugin.dispatch(effGetParameterProperties, i, 0, properties.data()), 1);
        EXPECT_EQ(properties, std::string(reinterpret_cast<char*>(&expected), 152) + "########");
    }
    std::string text(10, '#');
    plugin.dispatch(effGetParamDisplay, 0, 0, text.data());
    EXPECT_EQ(text, std::string("off\0\0\0\0\0\0#", 10));  // a switch clears its nine bytes
}

TEST(Parameters, IgnoreIndicesOutOfRange)
{
    const Plugin plugin;
    for (const VstInt32 index : {-1, 7, std::numeric_limits<VstInt32>::min()}) {
        plugin.set(index, 0.5f);
        EXPECT_EQ(plugin.get(index), 0.0f);
        for (const VstInt32 opcode :
             {effGetParamName, effGetParamLabel, effGetParamDisplay, effGetParameterProperties})
            EXPECT_EQ(plugin.text(opcode, index), "untouched");
        EXPECT_EQ(displayOf(plugin, index, 0.5f), "untouched");
    }
    for (VstInt32 i = 0; i < 7; ++i)
        EXPECT_EQ(plugin.get(i), kExpected[i].initial);
}
