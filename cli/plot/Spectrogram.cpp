#include "cli/plot/Spectrogram.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <numbers>

namespace
{

constexpr double kWindowSeconds = 0.018;  // at least; up to the next power of two
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

Spectrogram::Spectrogram(double sampleRate, std::int64_t frames, std::size_t numColumns)
    : samplesPerColumn(static_cast<double>(frames) / static_cast<double>(numColumns)),
      window(
          hannWindow(std::bit_ceil(static_cast<std::size_t>(std::max(64.0, sampleRate * kWindowSeconds))))),
      binWidth(sampleRate / static_cast<double>(window.size())),
      transform(kiss_fftr_alloc(static_cast<int>(window.size()), 0, nullptr, nullptr), kiss_fft_free),
      hop(std::min(window.size() / 2, static_cast<std::size_t>(samplesPerColumn))),
      untilNext(window.size() / 2), recent(window.size()), windowed(window.size()),
      spectrum(window.size() / 2 + 1), columns(numColumns, {std::vector<float>(spectrum.size()), 0})
{
}

void Spectrogram::add(double sample)
{
    recent[position] = static_cast<float>(sample);
    position = (position + 1) % recent.size();
    if (--untilNext > 0)
        return;
    const auto column = static_cast<std::size_t>(static_cast<double>(centre) / samplesPerColumn);
    if (column < columns.size())
        addSpectrum(columns[column]);
    centre += static_cast<std::int64_t>(hop);
    untilNext = hop;
}

void Spectrogram::finish()
{
    for (std::size_t i = 0; i < window.size() / 2; ++i)
        add(0.0);
}

void Spectrogram::addSpectrum(Column& column)
{
    const std::size_t length = window.size();
    for (std::size_t i = 0; i < length; ++i)
        windowed[i] = window[i] * recent[(position + i) % length];
    kiss_fftr(transform.get(), windowed.data(), spectrum.data());
    // A full-scale sine has the magnitude length / 4 under this window.
    const auto scale = static_cast<float>(16.0 / (static_cast<double>(length) * static_cast<double>(length)));
    for (std::size_t bin = 0; bin < spectrum.size(); ++bin)
        column.power[bin] += scale * (spectrum[bin].r * spectrum[bin].r + spectrum[bin].i * spectrum[bin].i);
    ++column.windows;
}

double Spectrogram::level(std::size_t index, double frequency) const
{
    const Column& column = columns[index];
    const auto bin = std::min(static_cast<std::size_t>(frequency / binWidth), column.power.size() - 2);
    const auto share = static_cast<float>(frequency / binWidth - static_cast<double>(bin));
    const float power = std::lerp(column.power[bin], column.power[bin + 1], share);
    return 10.0 * std::log10(std::max(kSilence,
                                      power / static_cast<float>(std::max<std::size_t>(1, column.windows))));
}
