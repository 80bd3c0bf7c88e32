#include "effect/ParamCurve.h"

#include <gtest/gtest.h>

#include <cmath>

namespace
{

ParamCurve curve(std::int32_t mode, double atZero, double atOne)
{
    ParamCurve made;
    made.mode = mode;
    made.valueAtZero = atZero;
    made.valueAtOne = atOne;
    return made;
}

}  // namespace

TEST(ParamCurve, ShapesItsRangeByMode)
{
    ParamCurve power = curve(0, 0.0, 1.0);
    power.offset = 0.5f;
    power.scale = -2.0f;
    power.center = 0.125f;
    power.exponent = 3.0f;
    EXPECT_FLOAT_EQ(static_cast<float>(power.map(0.625f)), 0.5f - 2.0f * 0.125f);

    EXPECT_NEAR(curve(1, 0.0, 1.0).map(0.25f), std::pow(0.25, std::sqrt(2.0)), 1e-7);
    EXPECT_NEAR(curve(1, 1.0, 0.0).map(0.25f), std::pow(0.75, std::sqrt(2.0)), 1e-7);
    EXPECT_EQ(curve(9, 0.0, 1.0).map(0.375f), 0.375);

    ParamCurve arctangent = curve(2, 0.0, 1.0);
    arctangent.center = 0.5f;
    arctangent.scale = 3.0f;
    EXPECT_NEAR(arctangent.map(0.5f), 0.5, 1e-7);
    EXPECT_NEAR(arctangent.map(0.75f), (std::atan(1.5) + std::atan(3.0)) / (2.0 * std::atan(3.0)), 1e-7);

    ParamCurve polynomial = curve(3, 0.0, 1.0);
    polynomial.coefs.reset(new float[4]{8.0f, -4.0f, 2.0f, 0.25f});
    polynomial.coefCount = 4;
    EXPECT_EQ(polynomial.map(0.5f), 8.0 * 0.125 - 4.0 * 0.25 + 2.0 * 0.5 + 0.25);
}

// 0.1f + 0.2f rounds up in single precision; a curve worked out in double precision would not show it.
TEST(ParamCurve, WorksInSinglePrecision)
{
    EXPECT_EQ(curve(9, 0.1, 0.3).map(1.0f), static_cast<double>(0.1f + static_cast<float>(0.3 - 0.1)));
    EXPECT_NE(curve(9, 0.1, 0.3).map(1.0f), 0.3);
}
