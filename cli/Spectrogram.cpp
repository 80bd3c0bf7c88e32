#include "cli/Spectrogram.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <numbers>

namespace
{

constexpr double kWindowSeconds = 0.018;  // at least; up to the next power of two
constexpr std::size_t kFirstHops = 16;    // to a window, for the finest picture
constexpr float kSilence = 1e-20f;        // power

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

Spectrogram::Spectrogram(double sampleRate)
    : rate(sampleRate),
      window(
          hannWindow(std::bit_ceil(static_cast<std::size_t>(std::max(64.0, sampleRate * kWindowSeconds))))),
      transform(kiss_fftr_alloc(static_cast<int>(window.size()), 0, nullptr, nullptr), kiss_fft_free),
      recent(window.size()), hop(window.size() / kFirstHops), untilNext(window.size() / 2),
      windowed(window.size()), spectrum(window.size() / 2 + 1)
{
}

void Spectrogram::add(double sample)
{
    recent[position] = static_cast<float>(sample);
    position = (position + 1) % recent.size();
    if (--untilNext > 0)
        return;
    addSpectrum();
    untilNext = hop;
}

void Spectrogram::addSpectrum()
{
    const std::size_t length = window.size();
    for (std::size_t i = 0; i < length; ++i)
        windowed[i] = window[i] * recent[(position + i) % length];
    kiss_fftr(transform.get(), windowed.data(), spectrum.data());

    if (powers.empty() || inLast == perColumn) {
        if (powers.size() == kMaxColumns)
            mergeColumns();
        powers.emplace_back(spectrum.size());
        inLast = 0;
    }
    // A full-scale sine has the magnitude length / 4 under this window.
    const auto scale = static_cast<float>(16.0 / (static_cast<double>(length) * static_cast<double>(length)));
    const auto share = 1.0f / static_cast<float>(perColumn);
    for (std::size_t bin = 0; bin < spectrum.size(); ++bin) {
        const kiss_fft_cpx value = spectrum[bin];
        powers.back()[bin] += share * scale * (value.r * value.r + value.i * value.i);
    }
    ++inLast;
}

void Spectrogram::mergeColumns()
{
    for (std::size_t column = 0; column < kMaxColumns / 2; ++column) {
        std::ranges::transform(powers[2 * column], powers[2 * column + 1], powers[column].begin(),
                               [](float a, float b) { return 0.5f * (a + b); });
    }
    powers.resize(kMaxColumns / 2);
    (hop < window.size() / 2 ? hop : perColumn) *= 2;
}

double Spectrogram::level(std::size_t column, std::size_t bin) const
{
    return 10.0 * std::log10(std::max(kSilence, powers[column][bin]));
}
