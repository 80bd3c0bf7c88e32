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
// Designing again with the same type keeps the state, so a running section is retuned without a jump; a
// design of another type clears it. Designs are stable for corner frequencies from a millionth of the sample
// rate to just below half of it and, for the types with band edges, for 0 < freqLow < freqHigh < half the
// rate. Nothing here allocates, locks or throws. Not thread-safe: one thread at a time.
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

    // Designs from *prm, as FDexcute does.
    explicit IIRFilter(filterPrm_tag* prm) noexcept;
    virtual ~IIRFilter() = default;

    // "Filter design execute": sets coef from *prm and writes the corrected freq and q back to it. Costs
    // three tangents and more, so call it when a parameter changes, not for every sample.
    void FDexcute(filterPrm_tag* prm) noexcept;

    // Designs likewise, for ipIirProcessing to glide linearly from the previous coefficients to the new ones.
    // samples: length of the glide, at least 1.
    void ipFDexcute(filterPrm_tag* prm, int samples) noexcept;

    // Clears the state; keeps the coefficients.
    void refresh() noexcept { z1 = z2 = 0.0; }

    // Filters *sample in place.
    void iirProcessing(double* sample) noexcept { run(coef, sample); }

    // Filters *sample in place with the glide's coefficients and advances the glide by one sample. After the
    // glide, samples run with exactly the designed coefficients.
    void ipIirProcessing(double* sample) noexcept;

    // Public so that tests and response plots can read them; only the operations above write them.
    Coefficients coef{};       // of the latest design
    Coefficients startCoef{};  // at the start of the glide
    Coefficients coefStep{};   // change per sample during the glide
    double z1 = 0.0;
    double z2 = 0.0;
    double pi = 3.141592653589794;  // 2 ulp above the double nearest to pi; every design uses this value
    std::int16_t type = -1;         // FilterType of the latest design
    std::int16_t lastType = -1;     // FilterType of the design before it
    std::int32_t sections = 0;      // 0: kOnePole; otherwise the order
    double interpPos = 0.0;         // samples run since the glide's start
    double interpLength = 0.0;      // length of the glide, samples

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
        // A first-order section keeps 0, also if x or y is infinite (0 * inf is NaN). Coefficients other
        // than 0 mean that it is still gliding away from a second-order design.
        const bool isFirstOrder = sections == 1 && c.b2 == 0.0 && c.fb2 == 0.0;
        z2 = isFirstOrder ? 0.0 : c.b2 * x + c.fb2 * y;
        *sample = y;
    }

    void designFirstOrder(double K, double b0, double b1) noexcept;
    void designSecondOrder(double K, double damping, double b0, double b1, double b2) noexcept;
    void designBand(double K1, double K2, double b0, double b1, double b2) noexcept;
    void designOnePole(double freq, double sampleRate) noexcept;
};
