#pragma once

#include <algorithm>
#include <cmath>
#include <span>

// How large the numbers are that a stretch of samples met, from the best case to the worst. Inspecting every
// sample would cost more than a tenth of a block's time, so each level says what need not be inspected.
//
// Moderate numbers are far above any sound and far below the largest double. If input, gains, delay line and
// detector are moderate, no intermediate result of the sample path can overflow.
enum class Magnitude {
    kSmall,     // all inputs lie within (-2, 2); all results are at least moderate
    kModerate,  // all results are moderate
    kFinite,    // all results are finite
    kNotFinite  // a result is infinite or NaN
};

inline constexpr double kSmallLimit = 2.0;
inline constexpr double kModerateLimit = 1e110;

// NaN is neither small nor moderate.
inline bool isSmall(double value) noexcept
{
    return std::fabs(value) < kSmallLimit;
}

inline bool isModerate(double value) noexcept
{
    return std::fabs(value) <= kModerateLimit;
}

inline bool areModerate(std::span<const double> samples) noexcept
{
    return std::ranges::all_of(samples, isModerate);
}

inline bool areFinite(std::span<const double> samples) noexcept
{
    return std::ranges::all_of(samples, [](double sample) { return std::isfinite(sample); });
}
