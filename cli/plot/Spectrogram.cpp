#include "cli/plot/Spectrogram.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <numbers>

namespace
{

constexpr double kWindowSeconds = 0.018;  // at least; up to the next power of two
constexpr std::size_t kFirstHops = 16;    // to a window, in the finest picture
constexpr float kSilence = 1e-20F;        // power

std::vector<float> hannWindow(std::size_t length)
{
    std::vector<float> window(length);
    for (std::size_t i = 0; i < length; ++i) {
        const double phase = 2.0 * std::numbers::pi * static_cast<double>(i) / static_cast<double>(length);
        window[i] = static_cast<float>(0.5 - 0.5 * std::cos(phase));
    }
    return window;
}

}  // namespace

// The first window's centre is half a hop behind the first sample.
Spectrogram::Spectrogram(double sampleRate)
    : rate(sampleRate),
      window(
          hannWindow(std::bit_ceil(static_cast<std::size_t>(std::max(64.0, sampleRate * kWindowSeconds))))),
      transform(kiss_fftr_alloc(static_cast<int>(window.size()), 0, nullptr, nullptr), kiss_fft_free),
      recent(window.size()), hop(window.size() / kFirstHops), untilNext((window.size() + hop) / 2),
      windowed(window.size()), spectrum(window.size() / 2 + 1)
{
}

void Spectrogram::add(double sample)
{
    recent[position] = static_cast<float>(sample);
    position = (position + 1) % recent.size();
    if (--untilNext > 0)
        return;
    untilNext = hop;
    addSpectrum();
}

void Spectrogram::finish()
{
    for (std::size_t i = 0; i < window.size() / 2; ++i)
        add(0.0);
}

void Spectrogram::addSpectrum()
{
    const std::size_t length = window.size();
    for (std::size_t i = 0; i < length; ++i)
        windowed[i] = window[i] * recent[(position + i) % length];
    kiss_fftr(transform.get(), windowed.data(), spectrum.data());

    if (all.empty() || all.back().windows == windowsPerColumn)
        all.push_back({std::vector<float>(spectrum.size()), 0});
    // A full-scale sine has the magnitude length / 4 under this window.
    const auto scale = static_cast<float>(16.0 / (static_cast<double>(length) * static_cast<double>(length)));
    Column& last = all.back();
    for (std::size_t bin = 0; bin < spectrum.size(); ++bin)
        last.power[bin] += scale * (spectrum[bin].r * spectrum[bin].r + spectrum[bin].i * spectrum[bin].i);
    ++last.windows;
    if (all.size() == kMaxColumns && last.windows == windowsPerColumn)
        mergeColumns();
}

void Spectrogram::mergeColumns()
{
    const bool movesApart = hop < window.size() / 2;
    for (std::size_t i = 0; i < kMaxColumns / 2; ++i) {
        Column& first = all[2 * i];
        const Column& second = all[2 * i + 1];
        std::ranges::transform(first.power, second.power, first.power.begin(),
                               [=](float a, float b) { return movesApart ? (a + b) / 2.0F : a + b; });
        first.windows = movesApart ? 1 : first.windows + second.windows;
        std::swap(all[i], first);
    }
    all.resize(kMaxColumns / 2);
    if (movesApart) {
        untilNext += hop / 2;  // the centre of the next, longer column
        hop *= 2;
    } else {
        windowsPerColumn *= 2;
    }
}

double Spectrogram::level(std::size_t column, std::size_t bin) const
{
    const Column& source = all[column];
    return 10.0 * std::log10(std::max(kSilence, source.power[bin] / static_cast<float>(source.windows)));
}
