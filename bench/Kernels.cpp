#include "bench/Kernels.h"

#include <algorithm>
#include <cmath>

namespace
{

// The sections' designs at 48 kHz, rounded: their speed does not depend on the digits.
constexpr double kShelfB0 = 2.7981, kShelfB1 = -2.7865, kShelfFb1 = 0.98829;
constexpr double kHighpassB0 = 0.99479, kHighpassB1 = -0.99479, kHighpassFb1 = 0.98958;
constexpr double kDetectorGain = 1.584893192;
constexpr double kRelease = 0.999908444471572;
constexpr double kSmootherPole = 0.999642, kSmootherInput = 1.0 - kSmootherPole;
constexpr double kSweepBase = 70.0, kSweepDepth = 70.0;

// A glided value that rests: a host's block sets start and step anew.
struct Glide {
    double start;
    double step = 0.0;
    double at(double n) const { return start + n * step; }
};

}  // namespace

void PlainLoop::process(const double* input, double* output, int frames)
{
    Glide sense{2.63}, range{0.92}, reso{0.8}, dry{0.0}, wet{1.0};
    for (Glide* const glide : {&sense, &range, &reso, &dry, &wet})
        glide->step = (glide->start - glide->start) / frames;
    const int length = static_cast<int>(line.size());
    double z1 = shelf, h1 = highpass, env = envelope, e = smoothed;
    int w = writeIndex;
    for (int i = 0; i < frames; ++i) {
        const double n = i;
        const double x = input[i];
        const double shelved = kShelfB0 * x + z1;
        z1 = kShelfB1 * x + kShelfFb1 * shelved;
        const double t = shelved * kDetectorGain;
        const double y2 = kHighpassB0 * t + h1;
        h1 = kHighpassB1 * t + kHighpassFb1 * y2;
        double level = std::fabs(sense.at(n) * y2);
        if (level > 1.0)
            level = 1.0;
        if (env > level)
            level = kRelease * env;
        env = level;
        e = kSmootherPole * e + kSmootherInput * level;

        const double m = (0.0 - e) * range.at(n);
        double p = kSweepBase + kSweepDepth * m;
        p = p > 0.0 ? std::min(p, static_cast<double>(length - 1)) : 0.0;
        const int D = static_cast<int>(p);
        int k = w - D;
        if (k < 0)
            k += length;
        const int j = k == 0 ? length - 1 : k - 1;
        const double y = line[k] + (line[j] - line[k]) * (p - D);
        output[i] = dry.at(n) * x + wet.at(n) * (x - 1.5 * y);
        line[w] = x - reso.at(n) * y;
        if (++w == length)
            w = 0;
    }
    shelf = z1;
    highpass = h1;
    envelope = env;
    smoothed = e;
    writeIndex = w;
}

void FourChains::process(const double* input, double* output, int frames)
{
    double z1 = shelf, h1 = highpass, env = envelope, e = smoothed;
    for (int i = 0; i < frames; ++i) {
        const double x = input[i];
        const double y1 = x + z1;
        z1 = x + kShelfFb1 * y1;
        const double y2 = x + h1;
        h1 = x + kHighpassFb1 * y2;
        double level = x;
        if (env > level)
            level = kRelease * env;
        env = level;
        e = kSmootherPole * e + level;
    }
    shelf = z1;
    highpass = h1;
    envelope = env;
    smoothed = e;
    output[0] = z1 + h1 + env + e;
}
