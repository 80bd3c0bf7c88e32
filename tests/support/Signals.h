#pragma once

#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <random>
#include <vector>

// Random choices, the same for the same seed on every machine.
struct Random {
    auto next() { return random(); }  // of 32 bits
    bool oneIn(unsigned n) { return random() % n == 0; }
    float share() { return static_cast<float>(random() % 1001) / 1000.0f; }  // 0 .. 1
    auto pick(const auto& values) { return values[random() % std::size(values)]; }

    std::mt19937 random;
};

// For comparisons in which 0 and -0 differ and a NaN equals itself.
inline std::uint64_t bitsOf(double sample)
{
    return std::bit_cast<std::uint64_t>(sample);
}

// White noise of the given peak, the same for the same seed on every machine.
inline std::vector<double> noise(std::size_t length, double peak = 1.0, unsigned seed = 1)
{
    std::mt19937 random(seed);
    std::vector<double> samples(length);
    for (double& sample : samples)
        sample = peak * (static_cast<double>(random()) / 2147483648.0 - 1.0);
    return samples;
}

// Strokes of noise, each falling from full level to -80 dB within its period, so that envelopes sweep.
inline std::vector<double> strokes(std::size_t length, std::size_t period, unsigned seed = 1)
{
    std::vector<double> samples = noise(length, 1.0, seed);
    for (std::size_t i = 0; i < length; ++i)
        samples[i] *= std::pow(1e-4, static_cast<double>(i % period) / static_cast<double>(period));
    return samples;
}
