#pragma once

#include <array>
#include <cstdint>
#include <vector>

// The effect's sound path again, written the plain way: every gain, glide and filter of a sample worked out
// at that sample, none of the effect's code for it. What the effect renders must be the same to the last bit.
class ReferenceWail
{
public:
    // By parameter index; the next block hears them.
    std::array<float, 7> parameters{1.0f, 0.84210527f, 0.8f, 0.444f, 1.0f, 0.0f, 1.0f};

    void setRate(double rate);
    void resume() { line.assign(line.size(), 0.0); }
    void process(const double* input, double* output, int frames);

private:
    struct Section {  // one-pole: y = b0 y + b1 x; otherwise a first-order section
        bool onePole;
        double b0, b1, fb1;
        double z1 = 0.0;
        double run(double x);
    };
    struct Switch {
        int state = 0, position = 0;
        float last;
        double gain = 1.0;
        void advance(int length);
    };

    void invertSweep();
    static double curve(float p, double atZero, double atOne, double exponent = 1.0);
    static double onePoleAt(double freq, double rate);

    double fs = 0.0;
    bool first = true;
    int fade = 0;
    Switch onOff{}, invert{};
    Section shelf{}, highpass{}, smoother{};
    std::array<float, 7> mapped{};
    std::array<double, 5> from{}, to{};  // sense, range, reso, dry, wet
    double release = 0.0, envelope = 0.0, base = 0.0, depth = 0.0, rangeLow = 0.0;
    float applied = 0.0f;
    std::vector<double> line;
    std::int64_t written = 0;
};
