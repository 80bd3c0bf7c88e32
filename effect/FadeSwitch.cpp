#include "effect/FadeSwitch.h"

#include <cmath>
#include <limits>

FadeSwitch::FadeSwitch(double sampleRate, float value) noexcept
    : length(static_cast<std::int32_t>(std::floor(0.016 * sampleRate))), step(1.0 / length), lastValue(value)
{
}

FadeSwitch::Gain FadeSwitch::gain() const noexcept
{
    switch (state) {
    case kFadingOut: return {static_cast<double>(length - position), -1.0, step};
    case kFadingIn: return {static_cast<double>(position), 1.0, step};
    default: return {1.0, 0.0, 1.0};
    }
}

std::int32_t FadeSwitch::samplesLeft() const noexcept
{
    return state == kIdle ? std::numeric_limits<std::int32_t>::max() : length - position;
}

void FadeSwitch::advance(std::int32_t samples) noexcept
{
    if (state == kIdle)
        return;
    position += samples;
    if (position == length) {
        position = 0;
        state = state == kFadingOut ? kFadingIn : kIdle;
    }
}
