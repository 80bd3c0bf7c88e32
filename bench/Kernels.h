#pragma once

#include <vector>

// What the effect is measured against: the same arithmetic at 48 kHz without a host's interface, parameters
// or switches, in the settings of the default program.

// The whole sample path in one loop, sample by sample.
class PlainLoop
{
public:
    void process(const double* input, double* output, int frames);

private:
    double shelf = 0.0, highpass = 0.0, envelope = 0.0, smoothed = 0.0;
    std::vector<double> line = std::vector<double>(4800);
    int writeIndex = 0;
};

// Only what each sample needs from the one before: two sections, the follower and the smoother.
class FourChains
{
public:
    void process(const double* input, double* output, int frames);  // writes one sample

private:
    double shelf = 0.0, highpass = 0.0, envelope = 0.0, smoothed = 0.0;
};
