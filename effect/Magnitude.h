#pragma once

#include <algorithm>
#include <cmath>
#include <span>

// The largest magnitude in a stretch of samples, from the best case to the worst. Inspecting every sample
// would cost a tenth of a block's time, so each class says what can be skipped.
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
