#include "tests/support/ReferenceWail.h"

#include "effect/FlushToZero.h"

#include <algorithm>
#include <cmath>

double ReferenceWail::Section::run(double x)
{
    if (onePole)
        return z1 = b0 * z1 + b1 * x;
    const double y = b0 * x + z1;
    z1 = b1 * x + fb1 * y;
    return y;
}

// Sets the gain of this sample, then the state of the next.
void ReferenceWail::Switch::advance(int length)
{
    const double share = 1.0 / length;
    gain = state == 0 ? 1.0 : state == 1 ? (length - position) * share : share * position;
    if (state != 0 && ++position == length) {
        position = 0;
        state = state == 1 ? 2 : 0;
    }
}

double ReferenceWail::curve(float p, double atZero, double atOne, double exponent)
{
    const auto f = static_cast<float>(std::pow(static_cast<double>(p), exponent));
    return static_cast<float>(atZero) + f * static_cast<float>(atOne - atZero);
}

double ReferenceWail::onePoleAt(double freq, double rate)
{
    const double g = 0.5011872337;
    const double cs = std::cos(3.141592653589794 * 2.0 * freq / rate);
    return ((g * cs - 1.0) + std::sqrt(((cs - 1.0) * g) * ((g * cs - 2.0) + g))) / -0.4988127663;
}

void ReferenceWail::setRate(double rate)
{
    if (rate == fs)
        return;
    fs = rate;
    line.assign(static_cast<std::size_t>(rate * 0.1), 0.0);
    written = 0;
    envelope = 0.0;
    release = 0.9;
    from = to = {};
    mapped.fill(-1.0f);
    const double K90 = std::tan(3.141592653589794 * std::min(90.0, 0.5 * rate) / rate);
    const double K80 = std::tan(3.141592653589794 * std::min(80.0, 0.5 * rate) / rate);
    const double V = 1.0 / std::pow(10.0, -9.0 / 20.0);
    const double n90 = 1.0 / (1.0 + K90);
    const double n80 = 1.0 / (1.0 + K80);
    shelf = {false, (K90 + V) * n90, (K90 - V) * n90, (1.0 - K90) * n90};
    highpass = {false, n80, -n80, (1.0 - K80) * n80};
    smoother = {true, 0.0, 0.0, 0.0};
    invertSweep();
    fade = static_cast<int>(std::floor(0.016 * rate));
    onOff = {.last = parameters[0]};
    invert = {.last = parameters[5]};
}

void ReferenceWail::invertSweep()
{
    applied = parameters[5];
    const bool on = applied == 1.0f;
    base = fs * (on ? 0.0003125 : 0.001458333333);
    depth = fs * (on ? 0.001833333333 : 0.001458333333);
    rangeLow = on ? 0.25 : 0.75;
    smoother.b0 = onePoleAt(on ? 5.1498405 : 2.726345, fs);
    smoother.b1 = 1.0 - smoother.b0;
    to[1] = curve(parameters[3], rangeLow, 1.0, 0.5);
}

void ReferenceWail::process(const double* input, double* output, int frames)
{
    const FlushToZero flush;
    const auto& [pOnOff, pSense, pReso, pRange, pBalance, pInvert, pEnvelope] = parameters;
    if (pSense != mapped[1])
        to[0] = curve(pSense, 0.630957344, 3.16);
    if (pReso != mapped[2])
        to[2] = curve(pReso, 0.250007629627369, 0.935789056062502);
    if (pRange != mapped[3])
        to[1] = curve(pRange, rangeLow, 1.0, 0.5);
    if (pBalance != mapped[4]) {
        const double above = pBalance - 1.0f;
        to[3] = static_cast<float>(1.0 - std::pow(static_cast<double>(pBalance), 2.0));
        to[4] = static_cast<float>(1.0 - std::pow(above, 2.0));
    }
    if (pEnvelope != mapped[6])
        release = std::pow(curve(pEnvelope, 0.9, 0.999908444471572), 48000.0 / fs);
    if (first) {
        onOff.last = pOnOff;
        invert.last = pInvert;
        invertSweep();
        first = false;
    }
    if (pOnOff != onOff.last)
        onOff.state = 1;
    if (pInvert != invert.last && invert.state == 0)
        invert.state = 1;
    onOff.last = pOnOff;
    invert.last = pInvert;

    const double inc = frames > 1 ? 1.0 / (frames - 1) : 0.0;
    std::array<double, 5> step;
    for (std::size_t v = 0; v < 5; ++v)
        step[v] = (to[v] - from[v]) * inc;
    bool finite = true;
    for (int i = 0; i < frames; ++i) {
        const auto glided = [&](std::size_t v) { return from[v] + i * step[v]; };
        const double x = input[i];
        const float on = onOff.state != 1 ? pOnOff : pOnOff == 1.0f ? 0.0f : 1.0f;
        const bool wasFadingIn = invert.state == 2;
        onOff.advance(fade);
        invert.advance(fade);
        if (invert.gain <= 0.0)
            invertSweep();
        if (wasFadingIn && invert.state == 0 && pInvert != applied && !std::isnan(pInvert))
            invert.state = 1;

        const double level = std::fabs(glided(0) * highpass.run(shelf.run(x) * 1.584893192));
        const double limited = level > 1.0 ? 1.0 : level;
        envelope = envelope > limited ? release * envelope : limited;
        const double e = smoother.run(envelope);
        const double p = base + depth * (applied == 1.0f ? e * glided(1) : (0.0 - e) * glided(1));

        const auto length = static_cast<std::int64_t>(line.size());
        const double delay = p > 0.0 ? std::min(p, static_cast<double>(length - 1)) : 0.0;
        const auto D = static_cast<std::int64_t>(delay);
        const auto back = [&](std::int64_t samples) {  // 0: the entry about to be written, the oldest
            return line[static_cast<std::size_t>((written - samples + 2 * length) % length)];
        };
        const double y = back(D) + (back(D + 1) - back(D)) * (delay - static_cast<double>(D));
        const double wet = glided(3) * x + glided(4) * (x - 1.5 * y);
        const double v = x - glided(2) * y;
        line[static_cast<std::size_t>(written++ % length)] = v;
        output[i] = on == 1.0f ? invert.gain * onOff.gain * wet : onOff.gain * x;
        for (const double signal : {x, shelf.z1, highpass.z1, envelope, e, v, output[i]})
            finite = finite && std::isfinite(signal);
    }
    if (!finite) {
        std::replace_if(
            output, output + frames, [](double s) { return !std::isfinite(s); }, 0.0);
        for (Section* section : {&shelf, &highpass, &smoother})
            section->z1 = 0.0;
        envelope = 0.0;
        resume();
    }
    mapped = parameters;
    from = to;
}
