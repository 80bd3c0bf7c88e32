#pragma once

#include <cstdint>

// Design types of a filter section; any other value of filterPrm_tag::type designs kOnePole.
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

// What a section is designed from. The design brings freq and q into their ranges and writes them back.
struct filterPrm_tag {
    std::int32_t type;  // FilterType; the design uses the low 16 bits
    double freq;        // Hz: corner or centre; 0 and below count as 20, above half the rate as half the rate
    double freqLow;     // Hz: lower edge of kBandPassEdges and kBandStopEdges, used as it is
    double freqHigh;    // Hz: upper edge of kBandPassEdges and kBandStopEdges, used as it is
    double q;           // quality of kLowPassQ to kPeaking; 0 and below count as 1
    double gainDb;      // dB: gain of kPeaking, kLowShelf1 and kHighShelf1
    double sampleRate;  // Hz, above 0
};
