#include "effect/FadeSwitch.h"

#include <cmath>

FadeSwitch::FadeSwitch(double sampleRate, float value) noexcept
    : length(static_cast<std::int32_t>(std::floor(0.016 * sampleRate))), step(1.0 / length), lastValue(value)
{
}
