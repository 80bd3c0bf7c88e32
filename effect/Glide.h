#pragma once

#include <cmath>

// A value that moves linearly through a block: start at the first sample, target at the last.
struct Glide {
    double start = 0.0;
    double target = 0.0;

    bool moves() const noexcept { return start != target; }

    // True if every value of the glide lies in low .. high.
    bool staysWithin(double low, double high) const noexcept
    {
        return start >= low && start <= high && target >= low && target <= high;
    }

    // Ends the glide: the next block starts where this one went.
    void finish() noexcept { start = target; }

    // Drops a start that is not finite: the value is at its target at once.
    void dropInvalidStart() noexcept
    {
        if (!std::isfinite(start))
            start = target;
    }
};
