#include "effect/ParamCurve.h"

#include <cfloat>
#include <cmath>
#include <numbers>

static_assert(FLT_EVAL_METHOD == 0, "each operation must round to its own type, as SSE2 does");

double ParamCurve::map(float p) const noexcept
{
    const bool falling = valueAtZero > valueAtOne;
    const double low = falling ? valueAtOne : valueAtZero;
    const double high = falling ? valueAtZero : valueAtOne;
    const auto span = static_cast<float>(high - low);
    return static_cast<float>(low) + shape(falling ? 1.0f - p : p) * span;
}

double powerOfSingle(double x, double exponent) noexcept
{
    if (exponent == 1.0)
        return x;
    return exponent == 2.0 ? x * x : std::pow(x, exponent);
}

float ParamCurve::shape(float x) const noexcept
{
    switch (mode) {
    case 0: {
        const double d = x - center;
        // The root of a single-precision number is never close enough to the midpoint of two such numbers
        // for the last bits of pow to matter.
        if (exponent == 0.5f && scale == 1.0f && offset == 0.0f && d >= 0.0)
            return static_cast<float>(std::sqrt(d));
        return static_cast<float>(static_cast<double>(offset) +
                                  static_cast<double>(scale) * powerOfSingle(d, exponent));
    }
    case 1: return std::pow(x, std::numbers::sqrt2_v<float>);
    case 2: {
        const float t = std::atan(scale);
        const float u = (x - center) * 2.0f * scale;
        return static_cast<float>((std::atan(static_cast<double>(u)) + static_cast<double>(t)) /
                                  static_cast<double>(t + t));
    }
    case 3: {
        float sum = coefs[coefCount - 1];
        float power = 1.0f;
        for (std::int32_t k = coefCount - 2; k >= 0; --k) {
            power *= x;
            sum += coefs[k] * power;
        }
        return sum;
    }
    default: return x;
    }
}
