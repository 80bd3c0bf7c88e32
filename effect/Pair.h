#pragma once

#include <cstdint>
#include <cstring>

// Two samples side by side, for everything that does not wait for the sample before. Every compiler for
// x86-64 and AArch64 has instructions for such a pair; each of its two lanes rounds as a double does.
using Pair [[gnu::vector_size(16)]] = double;
using IntPair [[gnu::vector_size(8)]] = std::int32_t;

inline Pair inBothLanes(double value)
{
    return Pair{value, value};
}

inline Pair load(const double* samples)
{
    Pair pair;
    std::memcpy(&pair, samples, sizeof pair);
    return pair;
}

inline void store(double* samples, Pair pair)
{
    std::memcpy(samples, &pair, sizeof pair);
}

// `Pair{first[0], second[0]}` would cost two more instructions with g++.
inline Pair lowerLanes(Pair first, Pair second)
{
    return __builtin_shufflevector(first, second, 0, 2);
}

inline Pair upperLanes(Pair first, Pair second)
{
    return __builtin_shufflevector(first, second, 1, 3);
}

inline Pair absolute(Pair pair)
{
    using Bits [[gnu::vector_size(16)]] = std::int64_t;
    return Pair(Bits(pair) & INT64_MAX);
}
