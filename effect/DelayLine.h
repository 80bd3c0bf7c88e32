#pragma once

#include "effect/Magnitude.h"
#include "host/VstRecords.h"

#include <algorithm>
#include <memory>

// A circular delay line of 0.1 s, read between its entries. Its newest part is repeated in a margin before
// the first entry, so that any delay up to the margin is read in one piece, without a test for the wrap.
//
// Positions count from the current sample: 0 is the entry that it writes (the oldest until then), 1 the next.
class DelayLine
{
public:
    // Entries that may be prefetched from the current one on, beyond the line's end too.
    static constexpr VstInt32 kPrefetched = 64;

    // sampleRate: Hz. longestDelay: samples, the longest that is read without a test. May throw
    // std::bad_alloc.
    DelayLine(double sampleRate, double longestDelay)
        : delayLength(static_cast<VstInt32>(sampleRate * kSeconds)),
          margin(static_cast<VstInt32>(longestDelay) + 2),  // 2: the older neighbour, and rounding
          delayLine(new double[static_cast<std::size_t>(margin + delayLength + kPrefetched)])
    {
        clear();
    }

    // Entry of the current sample; samplesToWrap() entries follow, the margin and all before it precede.
    double* current() noexcept { return entry(writeIndex); }
    VstInt32 samplesToWrap() const noexcept { return delayLength - writeIndex; }

    // Returns the line's content `delay` samples before the one at `position`, interpolated linearly
    // between the two entries around it. delay: samples, limited to the line; NaN counts as 0. Below 1 the
    // result blends the oldest entry, which that sample is about to replace, with the newest.
    double read(VstInt32 position, double delay) const noexcept
    {
        const double p = delay > 0.0 ? std::min(delay, static_cast<double>(delayLength - 1)) : 0.0;
        const auto D = static_cast<VstInt32>(p);
        VstInt32 k = writeIndex + position - D;
        if (k < 0)
            k += delayLength;
        const VstInt32 j = k == 0 ? delayLength - 1 : k - 1;
        return *entry(k) + (*entry(j) - *entry(k)) * (p - D);
    }

    // Moves on by at most samplesToWrap() samples.
    void advance(VstInt32 samples) noexcept
    {
        writeIndex += samples;
        if (writeIndex == delayLength) {
            std::copy_n(entry(delayLength - margin), margin, entry(-margin));
            writeIndex = 0;
        }
    }

    void clear() noexcept { std::fill_n(entry(-margin), margin + delayLength, 0.0); }

    bool isModerate() const noexcept
    {
        return areModerate({entry(0), static_cast<std::size_t>(delayLength)});
    }

private:
    static constexpr double kSeconds = 0.1;

    double* entry(VstInt32 k) const noexcept { return delayLine.get() + margin + k; }

    VstInt32 delayLength;                 // entries
    VstInt32 margin;                      // entries before the first
    std::unique_ptr<double[]> delayLine;  // margin, line and kPrefetched entries
    VstInt32 writeIndex = 0;              // entry of the current sample
};
