#pragma once

#include "filter/filterPrm_tag.h"

#include <cstdint>

// One recursive filter section, one channel, double precision: transposed direct form II
//
//     y = b0 x + z1,    z1 = (b1 x + z2) + fb1 y,    z2 = b2 x + fb2 y
//
// for H(z) = (b0 + b1 z^-1 + b2 z^-2) / (1 - fb1 z^-1 - fb2 z^-2), and for kOnePole
//
//     y = b0 z1 + fb1 x,    z1 = y        (b0: the pole, below 1; fb1 = 1 - b0: the input gain)
//
// A redesign of the same type keeps the state, so that a running section is retuned without a jump;
// another type starts from silence. Designs are stable for corners from a millionth to just below half of
// the sample rate and, where the band's edges count, for 0 < freqLow < freqHigh < half the rate. Nothing
// here allocates, locks or throws; a section belongs to one thread at a time.
//
// Source: U. Zoelzer (ed.), "DAFX - Digital Audio Effects", chapter on filters (bilinear transform with
// prewarping, first-order shelves, peaking filter); form: J. O. Smith, "Introduction to Digital Filters".
class IIRFilter
{
public:
    struct Coefficients {
        double fb1;
        double fb2;
        double b0;
        double b1;
        double b2;
    };

    // prm: read and, where out of range, corrected.
    explicit IIRFilter(filterPrm_tag* prm) noexcept;
    virtual ~IIRFilter() = default;

    // Filter design: from *prm at once, correcting it. Three tangents and more: not for every sample.
    void FDexcute(filterPrm_tag* prm) noexcept;

    // The same design, interpolated: ipIirProcessing then glides there linearly over the next samples, 1 or
    // more.
    void ipFDexcute(filterPrm_tag* prm, int samples) noexcept;

    // Back to silence; the coefficients stay.
    void refresh() noexcept { z1 = z2 = 0.0; }

    // Filters *sample in place.
    void iirProcessing(double* sample) noexcept { run(coef, sample); }

    // Filters *sample in place with the coefficients of the glide, then advances the glide. The samples after
    // its last one run with exactly the coefficients designed.
    void ipIirProcessing(double* sample) noexcept;

    // Open to read, for tests and response plots; written by the operations above alone.
    Coefficients coef{};
    Coefficients startCoef{};  // where the glide began
    Coefficients coefStep{};   // the glide's change for each sample
    double z1 = 0.0;
    double z2 = 0.0;
    double pi = 3.141592653589794;  // two units above the nearest double: designs are made with this one
    std::int16_t type = -1;         // of the latest design
    std::int16_t lastType = -1;     // of the design before it
    std::int32_t sections = 0;      // 0: kOnePole; otherwise the order
    double interpPos = 0.0;         // samples run since the latest ipFDexcute
    double interpLength = 0.0;      // samples of the glide

private:
    void run(const Coefficients& c, double* sample) noexcept
    {
        const double x = *sample;
        if (sections == 0) {
            z1 = c.b0 * z1 + c.fb1 * x;
            *sample = z1;
            return;
        }
        const double y = c.b0 * x + z1;
        z1 = (c.b1 * x + z2) + c.fb1 * y;
        // Of a first-order section it stays 0, where 0 times an overflow would be not-a-number.
        z2 = c.b2 == 0.0 && c.fb2 == 0.0 ? 0.0 : c.b2 * x + c.fb2 * y;
        *sample = y;
    }

    void designFirstOrder(double K, double b0, double b1) noexcept;
    void designSecondOrder(double K, double damping, double b0, double b1, double b2) noexcept;
    void designBand(double K1, double K2, double b0, double b1, double b2) noexcept;
    void designOnePole(double freq, double sampleRate) noexcept;
};
