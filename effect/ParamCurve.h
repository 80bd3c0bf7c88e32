#pragma once

#include <cstdint>
#include <memory>

// Maps a normalised parameter value p onto a working range, in single precision.
//
// The curve is shaped upward from the smaller of its end values: with x = p, or 1 - p if the range falls,
// the result is low + f(x) (high - low), and mode selects f:
//
//     0 power law    f = offset + scale (x - center)^exponent     (powers in double precision)
//     1 fixed power  f = x^sqrt(2)
//     2 S-curve      f = (atan(2 (x - center) scale) + atan(scale)) / (2 atan(scale))
//     3 polynomial   f = coefs[0] x^(n-1) + ... + coefs[n-1],  n = coefCount, at least 1
//     other          f = x
//
// p is meant to lie in 0 .. 1 but is not limited; the result is NaN if f is not real there.
struct ParamCurve {
    // Audio thread: no side effects.
    double map(float p) const noexcept;

    std::unique_ptr<float[]> coefs = nullptr;  // highest power first; only in mode 3
    std::int32_t mode = 0;
    double valueAtOne = 1.0;   // result for p = 1
    double valueAtZero = 0.0;  // result for p = 0
    float scale = 1.0f;
    float center = 0.0f;
    float offset = 0.0f;
    float exponent = 1.0f;
    std::int32_t coefCount = 0;

private:
    float shape(float x) const noexcept;
};

// Returns x^exponent with the bits of std::pow rounding to nearest. x: a single-precision number, so that
// its first two powers are exact.
double powerOfSingle(double x, double exponent) noexcept;
