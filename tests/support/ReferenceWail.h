#pragma once

#include "effect/FlushToZero.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <utility>
#include <vector>

// An independent model of the effect's sound path, written plainly: it computes every gain, glide and filter anew for
// every sample and uses none of the effect's code. The effect must render the same bits.
class ReferenceWail
{
public:
    // By program and parameter index; the next block uses those of the current program.
    std::vector<std::array<float, 7>> programs{16, {1.0f, 0.84210527f, 0.8f, 0.444f, 1.0f, 0.0f, 1.0f}};
    std::size_t program = 0;

    void setRate(double rate)
    {
        if (rate == fs)
            return;
        const ReferenceWail old = std::exchange(*this, {});
        programs = old.programs;
        program = old.program;
        first = old.first;
        fs = rate;
        const auto warped = [rate](double f) {
            return std::tan(3.141592653589794 * std::min(f, 0.5 * rate) / rate);
        };
        const double V = 1.0 / std::pow(10.0, -9.0 / 20.0);
        shelf = section(warped(90.0), warped(90.0) + V, warped(90.0) - V);
        highpass = section(warped(80.0), 1.0, -1.0);
        lineLength = static_cast<std::size_t>(rate * 0.1);
        fade = static_cast<int>(std::floor(0.016 * rate));
        adoptSwitches();
        resume();
    }

    void resume() { line.assign(lineLength, 0.0); }

    void setInvert()
    {
        if (fs == 0.0)
            return;
        applied = programs[program][5];
        const auto [b, d, low, freq] = applied == 1.0f
                                           ? std::array{0.0003125, 0.001833333333, 0.25, 5.1498405}
                                           : std::array{0.001458333333, 0.001458333333, 0.75, 2.726345};
        base = fs * b;
        depth = fs * d;
        rangeLow = low;
        to[1] = curve(programs[program][3], rangeLow, 1.0, 0.5);
        const double g = 0.5011872337;
        const double cs = std::cos(3.141592653589794 * 2.0 * freq / fs);
        pole = ((g * cs - 1.0) + std::sqrt(((cs - 1.0) * g) * ((g * cs - 2.0) + g))) / -0.4988127663;
    }

    std::vector<double> process(const std::vector<double>& input)
    {
        if (fs == 0.0)
            return input;
        const FlushToZero flush;
        const std::array<float, 7>& values = programs[program];
        const auto& [pOnOff, pSense, pReso, pRange, pBalance, pInvert, pEnvelope] = values;
        const auto isNew = [&](std::size_t i) { return values[i] != std::exchange(mapped[i], values[i]); };
        if (isNew(1))
            to[0] = curve(pSense, 0.630957344, 3.16);
        if (isNew(2))
            to[2] = curve(pReso, 0.250007629627369, 0.935789056062502);
        if (isNew(3))
            to[1] = curve(pRange, rangeLow, 1.0, 0.5);
        if (isNew(4)) {
            const double below = pBalance - 1.0f;
            to[3] = static_cast<float>(1.0 - std::pow(static_cast<double>(pBalance), 2.0));
            to[4] = static_cast<float>(1.0 - std::pow(below, 2.0));
        }
        if (isNew(6))
            release = std::pow(curve(pEnvelope, 0.9, 0.999908444471572), 48000.0 / fs);
        if (std::exchange(first, false))
            adoptSwitches();
        if (pOnOff != onOff.last)
            onOff.state = 1;
        if (pInvert != invert.last && invert.state == 0)
            invert.state = 1;
        onOff.last = pOnOff;
        invert.last = pInvert;

        const double inc = input.size() > 1 ? 1.0 / static_cast<double>(input.size() - 1) : 0.0;
        for (std::size_t v = 0; v < 5; ++v) {
            from[v] = std::isfinite(from[v]) ? from[v] : to[v];
            step[v] = (to[v] - from[v]) * inc;
        }
        const auto isTamed = [](double g) { return std::fabs(g) <= 1.0; };
        const bool stable = isTamed(from[2]) && isTamed(to[2]) && release >= 0.0 && release <= 1.0;
        if (!input.empty() && stable && !wasStable)
            silence();
        wasStable = input.empty() ? wasStable : stable;
        finite = true;
        std::vector<double> output;
        for (const double x : input)
            output.push_back(sample(x, static_cast<double>(output.size())));
        if (!finite) {
            std::ranges::replace_if(
                output, [](double y) { return !std::isfinite(y); }, 0.0);
            silence();
        }
        from = to;
        return output;
    }

private:
    void adoptSwitches()
    {
        onOff.last = programs[program][0];
        invert.last = programs[program][5];
        setInvert();
    }
    void silence()
    {
        shelf.z1 = highpass.z1 = envelope = smoothed = 0.0;
        resume();
    }

    struct Section {  // of the first order
        double b0, b1, fb1;
        double z1 = 0.0;

        double run(double x)
        {
            const double y = b0 * x + z1;
            z1 = b1 * x + fb1 * y;
            return y;
        }
    };
    struct Switch {
        int state = 0, position = 0;
        float last = 0.0f;
        double gain = 1.0;

        // Sets the gain of this sample, then the state of the next.
        void advance(int length)
        {
            const double share = 1.0 / length;
            gain = state == 0 ? 1.0 : state == 1 ? (length - position) * share : share * position;
            if (state != 0 && ++position == length) {
                position = 0;
                state = state == 1 ? 2 : 0;
            }
        }
    };

    // The output for the input x at sample n of the block.
    double sample(double x, double n)
    {
        const float pOnOff = programs[program][0], pInvert = programs[program][5];
        const auto glided = [&](std::size_t v) { return from[v] + n * step[v]; };
        const float on = onOff.state != 1 ? pOnOff : pOnOff == 1.0f ? 0.0f : 1.0f;
        const bool wasFadingIn = invert.state == 2;
        onOff.advance(fade);
        invert.advance(fade);
        if (invert.gain <= 0.0)
            setInvert();
        if (wasFadingIn && invert.state == 0 && pInvert != applied && !std::isnan(pInvert))
            invert.state = 1;

        const double detected = glided(0) * highpass.run(shelf.run(x) * 1.584893192);
        const double level = std::min(std::fabs(detected), 1.0);
        envelope = envelope > level ? release * envelope : level;
        smoothed = pole * smoothed + (1.0 - pole) * envelope;
        const double p = base + depth * ((applied == 1.0f ? smoothed : 0.0 - smoothed) * glided(1));

        const double delay = p > 0.0 ? std::min(p, static_cast<double>(lineLength - 1)) : 0.0;
        const auto D = static_cast<std::size_t>(delay);
        const auto back = [this](std::size_t k) { return line[line.size() - (k == 0 ? lineLength : k)]; };
        const double y = back(D) + (back(D + 1) - back(D)) * (delay - static_cast<double>(D));
        const double wet = glided(3) * x + glided(4) * (x - 1.5 * y);
        const double v = x - glided(2) * y;
        line.push_back(v);
        const double output = on == 1.0f ? invert.gain * onOff.gain * wet : onOff.gain * x;
        for (const double signal : {x, shelf.z1, highpass.z1, envelope, smoothed, v, output})
            finite = finite && std::isfinite(signal);
        return output;
    }

    static Section section(double K, double b0, double b1)
    {
        const double n = 1.0 / (1.0 + K);
        return {b0 * n, b1 * n, (1.0 - K) * n};
    }
    static double curve(float p, double atZero, double atOne, double exponent = 1.0)
    {
        const auto f = static_cast<float>(std::pow(static_cast<double>(p), exponent));
        return static_cast<float>(atZero) + f * static_cast<float>(atOne - atZero);
    }
    double fs = 0.0;  // 0: none yet
    bool first = true, finite = true, wasStable = true;
    int fade = 0;
    Switch onOff, invert;
    Section shelf{}, highpass{};
    std::array<double, 5> from{}, step{}, to{};  // sense, range, reso, dry, wet
    std::array<float, 7> mapped{-1.0f, -1.0f, -1.0f, -1.0f,
                                -1.0f, -1.0f, -1.0f};  // values of the last blocks
    double release = 0.9, envelope = 0.0, smoothed = 0.0, pole = 0.0;
    double base = 0.0, depth = 0.0, rangeLow = 0.0;
    float applied = 0.0f;
    std::vector<double> line;  // all that was ever written to it, of which the last lineLength entries count
    std::size_t lineLength = 0;
};
