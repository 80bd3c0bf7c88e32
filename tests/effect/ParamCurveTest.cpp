#include "effect/ParamCurve.h"

#include <gtest/gtest.h>

#include <cmath>

TEST(ParamCurve, ShapesItsRangeByMode)
{
    const ParamCurve power{.scale = -2.0f, .center = 0.125f, .offset = 0.5f, .exponent = 3.0f};
    EXPECT_FLOAT_EQ(static_cast<float>(power.map(0.625f)), 0.5f - 2.0f * 0.125f);

    const ParamCurve rising{.mode = 1};
    const ParamCurve falling{.mode = 1, .valueAtOne = 0.0, .valueAtZero = 1.0};
    EXPECT_NEAR(rising.map(0.25f), std::pow(0.25, std::sqrt(2.0)), 1e-7);
    EXPECT_NEAR(falling.map(0.25f), std::pow(0.75, std::sqrt(2.0)), 1e-7);
    EXPECT_EQ(ParamCurve{.mode = 9}.map(0.375f), 0.375);

    const ParamCurve arctangent{.mode = 2, .scale = 3.0f, .center = 0.5f};
    EXPECT_NEAR(arctangent.map(0.5f), 0.5, 1e-7);
    EXPECT_NEAR(arctangent.map(0.75f), (std::atan(1.5) + std::atan(3.0)) / (2.0 * std::atan(3.0)), 1e-7);

    std::unique_ptr<float[]> coefs(new float[4]{8.0f, -4.0f, 2.0f, 0.25f});
    const ParamCurve polynomial{.coefs = std::move(coefs), .mode = 3, .coefCount = 4};
    EXPECT_EQ(polynomial.map(0.5f), 8.0 * 0.125 - 4.0 * 0.25 + 2.0 * 0.5 + 0.25);
}
