#include "effect/FadeSwitch.h"

#include <cmath>

FadeSwitch::FadeSwitch(double sampleRate, float value)
    : length(static_cast<std::int32_t>(std::floor(0.016 * sampleRate))), fadeIn(new double[length]),
      fadeOut(new double[length]), lastValue(value)
{
    const double step = 1.0 / length;
    for (std::int32_t i = 0; i < length; ++i) {
        fadeIn[i] = step * i;
        fadeOut[i] = (length - i) * step;
    }
}

FadeSwitch::~FadeSwitch()
{
    fadeIn.reset();
    fadeOut.reset();
    valueBuffer.reset();
}

void FadeSwitch::runOnOff(float value, double* gains, std::int32_t frames) noexcept
{
    if (value != lastValue)
        state = kFadingOut;
    lastValue = value;
    lastBlockSize = frames;

    const float valueBefore = value == 1.0f ? 0.0f : 1.0f;
    for (std::int32_t i = 0; i < frames; ++i) {
        valueBuffer[i] = state == kFadingOut ? valueBefore : value;
        gains[i] = nextGain();
    }
}

void FadeSwitch::runInvert(float value, float applied, double* gains, std::int32_t frames) noexcept
{
    if (value != lastValue && state == kIdle)
        state = kFadingOut;
    lastValue = value;
    lastBlockSize = frames;

    for (std::int32_t i = 0; i < frames; ++i) {
        const bool fading = state == kFadingIn;
        if (fading && position == 0)
            applied = value;  // the silent point: this sample sets the sweep up anew
        gains[i] = nextGain();
        if (fading && state == kIdle && applied != value)
            state = kFadingOut;  // the value changed since the silent point
    }
}

// The gain of one sample; the state it leaves holds for the next.
double FadeSwitch::nextGain() noexcept
{
    if (state == kIdle)
        return level;
    const bool out = state == kFadingOut;
    const double gain = (out ? fadeOut : fadeIn)[position];
    if (++position == length) {
        position = 0;
        state = out ? kFadingIn : kIdle;
    }
    return gain;
}
