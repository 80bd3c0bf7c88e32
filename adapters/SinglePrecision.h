#pragma once

#include "host/AEffect.h"

#include <algorithm>
#include <array>
#include <limits>

// Single-precision blocks for an effect that works in double precision: widens a piece of the block into a
// buffer of its own, has the effect process it there, and narrows the result, rounding to nearest. A result
// beyond the single-precision range becomes the largest number that it holds.
//
// A piece is the whole block up to 8192 frames, so that what glides through a block glides as it does in
// double precision. One channel, one thread at a time.
class SinglePrecision
{
public:
    static constexpr VstInt32 kLongestPiece = 8192;  // frames

    // input, output: frames samples each; they may be the same buffer. frames: below 0 nothing happens; a
    // block of 0 frames reaches the effect. Audio thread: no allocation, no lock but the effect's own.
    void process(AEffect& effect, const float* input, float* output, VstInt32 frames)
    {
        if (frames < 0)
            return;
        double* samples = piece.data();
        VstInt32 done = 0;
        do {
            const VstInt32 length = std::min(frames - done, kLongestPiece);
            std::copy_n(input + done, length, samples);
            effect.processDoubleReplacing(&effect, &samples, &samples, length);
            std::transform(samples, samples + length, output + done, narrow);
            done += length;
        } while (done < frames);
    }

private:
    static float narrow(double sample) noexcept
    {
        constexpr double kLargest = std::numeric_limits<float>::max();
        return static_cast<float>(std::clamp(sample, -kLargest, kLargest));
    }

    std::array<double, kLongestPiece> piece{};
};
