#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <span>

// The largest magnitude; 0 of none. It keeps several maxima, because each waits for its own last comparison.
inline double peakOf(std::span<const double> samples)
{
    std::array<double, 8> peaks{};
    for (; samples.size() >= peaks.size(); samples = samples.subspan(peaks.size()))
        for (std::size_t i = 0; i < peaks.size(); ++i)
            peaks[i] = std::max(peaks[i], std::fabs(samples[i]));
    for (const double sample : samples)
        peaks[0] = std::max(peaks[0], std::fabs(sample));
    return std::ranges::max(peaks);
}
