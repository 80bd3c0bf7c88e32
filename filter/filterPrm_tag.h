#pragma once

#include <cstdint>

// Design types of a filter section. Every other value of filterPrm_tag::type designs a kOnePole.
enum FilterType : std::int32_t {
    kLowPass1 = 0,   // first order
    kHighPass1,      // first order
    kLowPass2,       // Butterworth
    kHighPass2,      // Butterworth
    kBandPassEdges,  // from freqLow to freqHigh
    kBandStopEdges,  // from freqLow to freqHigh
    kLowPassQ,       // q 1 is Butterworth
    kHighPassQ,      // q 1 is Butterworth
    kBandPassQ,      // bandwidth freq / q
    kNotchQ,         // bandwidth freq / q
    kPeaking,        // gainDb at freq, bandwidth freq / q
    kLowShelf1,      // gainDb at DC, first order
    kHighShelf1,     // gainDb at the Nyquist frequency, first order
    kOnePole         // y[n] = p y[n-1] + (1 - p) x[n], -3 dB at freq
};

// Parameters of a design, which corrects freq and q if they are out of range and writes them back.
struct filterPrm_tag {
    std::int32_t type;  // FilterType; the design uses the low 16 bits
    double freq;        // corner or centre, Hz; corrected to 20 if 0 or below, to sampleRate / 2 if above it
    double freqLow;     // lower band edge of kBandPassEdges and kBandStopEdges, Hz; not corrected
    double freqHigh;    // upper band edge of kBandPassEdges and kBandStopEdges, Hz; not corrected
    double q;           // quality factor of kLowPassQ to kPeaking; corrected to 1 if 0 or below
    double gainDb;      // gain of kPeaking, kLowShelf1 and kHighShelf1, dB
    double sampleRate;  // Hz, above 0
};
