#include "tests/support/TestHost.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

namespace
{

// Slots of the helpers in the effect's table.
enum Helper { kDecibels = 39, kHertz, kMilliseconds, kFloat, kInteger };

std::string text(Helper helper, auto value, VstInt32 maxLen = 8)
{
    static const Plugin plugin;
    char buffer[] = "0123456789abcdef";
    plugin.call<void>(helper, value, buffer, maxLen);
    EXPECT_EQ(buffer[maxLen + 1], "0123456789abcdef"[maxLen + 1]);  // never behind the terminator
    return buffer;
}

// The text of a float below a million. Its hundredths are exact, since 24 bits times 100 fit a double.
std::string expectedText(float value)
{
    const double rounded = std::fabs(value) < 0.005f ? 0.0f : value + std::copysign(0.005f, value);
    char text[16];
    std::snprintf(text, sizeof text, "% .2f", std::trunc(rounded * 100.0) / 100.0);
    return std::string(text).substr(0, 8);
}

}  // namespace

TEST(ValueText, ShowsNumbersWithASignPositionAndTwoDecimals)
{
    const std::pair<float, const char*> examples[] = {
        {0.0f, " 0.00"},         {-0.0f, " 0.00"},         {0.004f, " 0.00"},     {-0.004f, " 0.00"},
        {0.005f, " 0.00"},       {0.006f, " 0.01"},        {1.234f, " 1.23"},     {1.236f, " 1.24"},
        {-1.234f, "-1.23"},      {50.0f, " 50.00"},        {99.999f, " 100.00"},  {-12.5f, "-12.50"},
        {1234.5f, " 1234.50"},   {9999.99f, " 9999.99"},   {0.125f, " 0.12"},     {0.285f, " 0.28"},
        {12345.67f, " 12345.6"}, {-123456.7f, "-123456."}, {1000000.0f, "Huge!"}, {-1000000.0f, "Huge!"},
        {100000000.0f, "Huge!"}, {INFINITY, "Huge!"},      {NAN, "NaN"}};
    for (const auto& [value, expected] : examples)
        EXPECT_EQ(text(kFloat, value), expected) << value;
    EXPECT_EQ(text(kFloat, -12.5f, 4), "-12.");
    EXPECT_EQ(text(kFloat, -12.5f, 5), "-12.5");
    EXPECT_EQ(text(kFloat, 1e30f, 3), "Hug");
    EXPECT_EQ(text(kFloat, 1.0f, 0), "");
}

TEST(ValueText, RoundsThousandsOfValuesHalfAwayFromZero)
{
    std::mt19937 random(7);
    for (int i = 0; i < 20000; ++i) {
        const float magnitude = std::pow(10.0f, static_cast<float>(random() % 9000) / 1000.0f - 3.0f);
        const float value = random() % 2 == 0 ? magnitude : -magnitude;
        ASSERT_EQ(text(kFloat, value), expectedText(value)) << value;
    }
    for (int hundredths = -2000; hundredths <= 2000; ++hundredths) {
        const float half = static_cast<float>(hundredths) / 200.0f;
        ASSERT_EQ(text(kFloat, half), expectedText(half)) << half;
    }
}

TEST(ValueText, ShowsIntegersPlainly)
{
    for (const VstInt32 value : {0, 42, -7, 99999999, -99999999})
        EXPECT_EQ(text(kInteger, value, 9), std::to_string(value));
    EXPECT_EQ(text(kInteger, -999999999, 10), "-999999999");
    EXPECT_EQ(text(kInteger, 12345, 3), "123");
    for (const VstInt32 value : {100000000, -1000000000, std::numeric_limits<VstInt32>::min()})
        EXPECT_EQ(text(kInteger, value), "Huge!");
}

TEST(ValueText, ConvertsGainsPeriodsAndDurations)
{
    EXPECT_EQ(text(kDecibels, 1.0f), " 0.00");
    EXPECT_EQ(text(kDecibels, 10.0f), " 20.00");
    EXPECT_EQ(text(kDecibels, 0.5f), "-6.02");
    for (const float silent : {0.0f, -0.0f, -1.0f})
        EXPECT_EQ(text(kDecibels, silent), "-Inf");
    EXPECT_EQ(text(kHertz, 100.0f), " 441.00");  // at the base's 44.1 kHz
    EXPECT_EQ(text(kHertz, 0.0f), " 0.00");
    EXPECT_EQ(text(kMilliseconds, 441.0f), " 10.00");
}
