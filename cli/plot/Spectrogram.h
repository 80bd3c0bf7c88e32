#pragma once

#include <kiss_fftr.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

// The levels of a signal over time and frequency, for a picture: short-time power spectra under a Hann window
// of 18 to 36 ms, 23 ms at 44.1 kHz. A column holds the mean of the windows whose centres lie in its time;
// they are half a window apart, or closer if a column is shorter.
// Source: J. O. Smith, "Spectral Audio Signal Processing" (spectrograms).
class Spectrogram
{
public:
    // sampleRate: Hz. frames: the length of the signal, at least one sample to a column.
    Spectrogram(double sampleRate, std::int64_t frames, std::size_t columns);

    void add(double sample);
    void finish();  // call once, after the last sample

    // In dB, 0 for a full-scale sine, interpolated between the bins. frequency: 0 Hz to half the sample rate.
    double level(std::size_t column, double frequency) const;

private:
    struct Column {
        std::vector<float> power;  // sum over its windows, by bin; 1 for a full-scale sine
        std::size_t windows = 0;
    };

    void addSpectrum(Column& column);

    double samplesPerColumn;
    std::vector<float> window;
    double binWidth;  // Hz
    std::unique_ptr<kiss_fftr_state, void (*)(void*)> transform;
    std::size_t hop;            // samples from window to window
    std::int64_t centre = 0;    // of the next window, in samples
    std::size_t untilNext;      // samples to the end of the next window
    std::vector<float> recent;  // circular, as long as the window
    std::size_t position = 0;   // of the oldest sample in recent
    std::vector<float> windowed;
    std::vector<kiss_fft_cpx> spectrum;
    std::vector<Column> columns;
};
