#include "tests/support/Rows.h"
#include "tests/support/TableSlots.h"
#include "tests/support/TestHost.h"

#include <gtest/gtest.h>

#include <iomanip>

// What the helpers of the effect write over "untouched 0123456"; the durations are at the base's 44.1 kHz.
TEST(ValueText, ShowsNumbersGainsPeriodsAndDurationsInTheSpaceGiven)
{
    const Plugin plugin;
    forEachRow("value-texts.txt", [&](std::istream& fields) {
        VstInt32 slot = 0, length = 0;
        std::string value, expected;
        fields >> slot >> value >> length >> std::quoted(expected);
        char buffer[] = "untouched 0123456";
        if (slot == slot::int2string)
            plugin.call<void>(slot, VstInt32{std::stoi(value)}, buffer, length);
        else
            plugin.call<void>(slot, std::stof(value), buffer, length);
        EXPECT_EQ(buffer, expected);
        EXPECT_STREQ(buffer + length + 1, &"untouched 0123456"[length + 1]);
    });
}
