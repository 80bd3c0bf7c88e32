#include "host/VstRecords.h"
#include "tests/support/TestHost.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>
#include <tuple>

// Name, initial value, and whether it is a switch.
constexpr std::tuple<const char*, float, bool> kExpected[] = {
    {"On/Off", 1.0f, true},   {"Sense", 0.84210527f, false}, {"Reso", 0.8f, false},
    {"Range", 0.444f, false}, {"Balance", 1.0f, false},      {"Invert", 0.0f, true},
    {"Envelope", 1.0f, false}};

// A value, and its text for a switch and for any other parameter.
constexpr std::tuple<float, const char*, const char*> kTexts[] = {
    {0.0f, "off", " 0.00"},         {0.25f, "off", " 2.50"},
    {0.84210527f, "off", " 8.42"},  {1.0f, "on", " 10.00"},
    {0.99999994f, "off", " 10.00"}, {1.5f, "off", " 15.00"},
    {-0.1f, "off", "-1.00"},        {NAN, "off", "NaN"}};

TEST(Parameters, StartAtTheirDefaultsKeepWhateverTheHostSetsAndShowIt)
{
    const Plugin plugin;
    for (VstInt32 i = 0; i < 7; ++i) {
        const auto& [name, initial, isSwitch] = kExpected[i];
        SCOPED_TRACE(name);
        EXPECT_EQ(plugin.get(i), initial);
        EXPECT_EQ(plugin.text(effGetParamName, i), name);
        EXPECT_EQ(plugin.text(effGetParamLabel, i), "");
        for (const auto& [value, position, number] : kTexts) {
            char text[] = "#############";
            plugin.set(i, value);
            plugin.call<void>(slot::getParameterDisplayOf, i, value, text);
            EXPECT_STREQ(text, isSwitch ? position : number);
            EXPECT_EQ(plugin.text(effGetParamDisplay, i), text);
            const auto kept = plugin.call<float>(slot::getParameter, i);
            EXPECT_EQ(std::bit_cast<VstInt32>(kept), std::bit_cast<VstInt32>(value));
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
    }
    for (VstInt32 i = 0; i < 7; ++i)
        EXPECT_EQ(plugin.get(i), std::get<float>(kExpected[i]));
}
