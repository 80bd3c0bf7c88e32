#include "tests/support/TableSlots.h"
#include "tests/support/TestHost.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace
{

// What one of the helpers writes over "untouched".
std::string text(slot::Slot helper, auto value, VstInt32 maxLen = 8)
{
    static const Plugin plugin;
    char buffer[] = "untouched 0123456";
    plugin.call<void>(helper, value, buffer, maxLen);
    EXPECT_STREQ(buffer + maxLen + 1, &"untouched 0123456"[maxLen + 1]);
    return buffer;
}

}  // namespace

TEST(ValueText, ShowsNumbersWithASignPositionAndTwoDecimals)
{
    const std::pair<float, const char*> examples[] = {
        {0.0f, " 0.00"},         {-0.0f, " 0.00"},        {0.004f, " 0.00"},
        {-0.004f, " 0.00"},      {0.005f, " 0.00"},       {0.006f, " 0.01"},
        {1.234f, " 1.23"},       {1.236f, " 1.24"},       {-1.234f, "-1.23"},
        {50.0f, " 50.00"},       {99.999f, " 100.00"},    {-12.5f, "-12.50"},
        {1234.5f, " 1234.50"},   {9999.99f, " 9999.99"},  {0.125f, " 0.12"},
        {0.285f, " 0.28"},       {-0.005f, "-0.00"},      {-0.125f, "-0.12"},
        {0.375f, " 0.37"},       {-0.625f, "-0.62"},      {0.995f, " 1.00"},
        {9.995f, " 10.00"},      {99.994f, " 99.99"},     {-9999.99f, "-9999.99"},
        {12345.67f, " 12345.6"}, {99999.96f, " 99999.9"}, {-123456.7f, "-123456."},
        {999999.9f, " 999999."}, {1000000.0f, "Huge!"},   {-1000000.0f, "Huge!"},
        {100000000.0f, "Huge!"}, {INFINITY, "Huge!"},     {NAN, "NaN"}};
    for (const auto& [value, expected] : examples)
        EXPECT_EQ(text(slot::float2string, value), expected) << value;
    EXPECT_EQ(text(slot::float2string, -12.5f, 4), "-12.");
    EXPECT_EQ(text(slot::float2string, -12.5f, 5), "-12.5");
    EXPECT_EQ(text(slot::float2string, 1e30f, 3), "Hug");
    EXPECT_EQ(text(slot::float2string, 1.0f, 0), "");
    EXPECT_EQ(text(slot::float2string, 1.0f, -1), "untouched 0123456");
}

TEST(ValueText, ShowsIntegersPlainly)
{
    for (const VstInt32 value : {0, 42, -7, 99999999, -99999999})
        EXPECT_EQ(text(slot::int2string, value, 9), std::to_string(value));
    EXPECT_EQ(text(slot::int2string, -999999999, 10), "-999999999");
    EXPECT_EQ(text(slot::int2string, 12345, 3), "123");
    for (const VstInt32 value : {100000000, -1000000000, std::numeric_limits<VstInt32>::min()})
        EXPECT_EQ(text(slot::int2string, value), "Huge!");
}

TEST(ValueText, ConvertsGainsPeriodsAndDurations)
{
    EXPECT_EQ(text(slot::dB2string, 1.0f), " 0.00");
    EXPECT_EQ(text(slot::dB2string, 10.0f), " 20.00");
    EXPECT_EQ(text(slot::dB2string, 0.5f), "-6.02");
    for (const float silent : {0.0f, -0.0f, -1.0f})
        EXPECT_EQ(text(slot::dB2string, silent), "-Inf");
    EXPECT_EQ(text(slot::Hz2string, 100.0f), " 441.00");  // at the base's 44.1 kHz
    EXPECT_EQ(text(slot::Hz2string, 0.0f), " 0.00");
    EXPECT_EQ(text(slot::ms2string, 441.0f), " 10.00");
}
