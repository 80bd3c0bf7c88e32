#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

// The lowest and highest samples of a signal over time, for a picture: a signal of any length in at most kMaxSpans
// spans of equal length.
class Waveform
{
public:
    static constexpr std::size_t kMaxSpans = 4096;

    struct Span {
        double low = 0.0;
        double high = 0.0;
    };

    void add(double sample)
    {
        if (samplesInLast == spanLength)
            startSpan();
        Span& last = all.back();
        last.low = std::min(last.low, sample);
        last.high = std::max(last.high, sample);
        ++samplesInLast;
    }

    const std::vector<Span>& spans() const { return all; }
    std::size_t samplesPerSpan() const { return spanLength; }

private:
    // If there are too many spans, each pair becomes one of twice the length.
    void startSpan()
    {
        if (all.size() == kMaxSpans) {
            for (std::size_t i = 0; i < kMaxSpans / 2; ++i)
                all[i] = {std::min(all[2 * i].low, all[2 * i + 1].low),
                          std::max(all[2 * i].high, all[2 * i + 1].high)};
            all.resize(kMaxSpans / 2);
            spanLength *= 2;
        }
        all.emplace_back();
        samplesInLast = 0;
    }

    std::vector<Span> all{1};
    std::size_t spanLength = 8;  // samples
    std::size_t samplesInLast = 0;
};
