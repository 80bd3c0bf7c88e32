#pragma once

#include <kiss_fftr.h>

#include <cstddef>
#include <memory>
#include <vector>

// The levels of a signal over time and frequency, for a picture: short-time power spectra under a Hann window of 18
// to 36 ms, 23 ms at 44.1 kHz. A column holds the mean of the windows whose centres lie in its time. A signal of any
// length gives at most kMaxColumns columns: if there are more, each pair becomes one, and the windows move apart,
// up to half their length.
// Source: J. O. Smith, "Spectral Audio Signal Processing" (spectrograms).
class Spectrogram
{
public:
    static constexpr std::size_t kMaxColumns = 2048;

    // sampleRate: Hz.
    explicit Spectrogram(double sampleRate);

    void add(double sample);
    void finish();  // call once, behind the last sample

    std::size_t columns() const { return all.size(); }
    std::size_t samplesPerColumn() const
    {
        return hop * windowsPerColumn;
    }  // column i begins at i times this
    double binWidth() const { return rate / static_cast<double>(window.size()); }  // Hz

    // In dB, 0 for a full-scale sine; bin 0 is DC.
    double level(std::size_t column, std::size_t bin) const;

private:
    struct Column {
        std::vector<float> power;  // sum over its windows, by bin; 1 for a full-scale sine
        std::size_t windows = 0;
    };

    void addSpectrum();
    void mergeColumns();

    double rate;  // Hz
    std::vector<float> window;
    std::unique_ptr<kiss_fftr_state, void (*)(void*)> transform;
    std::vector<float> recent;  // circular, as long as the window
    std::size_t position = 0;   // of the oldest sample in recent
    std::size_t hop;            // samples from window to window
    std::size_t untilNext;      // samples to the end of the next window
    std::size_t windowsPerColumn = 1;
    std::vector<Column> all;
    std::vector<float> windowed;
    std::vector<kiss_fft_cpx> spectrum;
};
