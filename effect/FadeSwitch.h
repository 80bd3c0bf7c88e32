#pragma once

#include <cstdint>
#include <limits>

// A switch that never clicks: a change of its parameter fades the output out over length samples, takes
// place in silence, and fades the output in again. The gains of a whole transition are
//
//     1, (N-1)/N, ..., 1/N,    0, 1/N, ..., (N-1)/N,    1        N = length: 16 ms or just under
//
// with the new value in force from the 0 on. A transition may span any number of blocks. The switch is
// asked for one state at a time: its gain and how long it lasts.
struct FadeSwitch {
    enum State : std::int32_t { kIdle = 0, kFadingOut = 1, kFadingIn = 2 };

    // The gain k samples on, while the state lasts. The count is a whole number, so it is exact, and the
    // product is the same wherever a block begins.
    struct Gain {
        double first;
        double perSample;  // -1, 0 or 1
        double unit;

        double at(double k) const noexcept { return (first + k * perSample) * unit; }
    };

    // sampleRate: Hz, 62.5 or more. value: what the parameter stands at.
    FadeSwitch(double sampleRate, float value) noexcept;

    Gain gain() const noexcept
    {
        if (state == kIdle)
            return {1.0, 0.0, 1.0};
        return state == kFadingOut ? Gain{static_cast<double>(length - position), -1.0, step}
                                   : Gain{static_cast<double>(position), 1.0, step};
    }

    // Samples of this state, 1 or more.
    std::int32_t samplesLeft() const noexcept
    {
        return state == kIdle ? std::numeric_limits<std::int32_t>::max() : length - position;
    }

    // At the first sample of the fade-in: its gain is 0.
    bool isSilent() const noexcept { return state == kFadingIn && position == 0; }

    // Moves on by at most samplesLeft samples.
    void advance(std::int32_t samples) noexcept
    {
        if (state == kIdle)
            return;
        position += samples;
        if (position == length) {
            position = 0;
            state = state == kFadingOut ? kFadingIn : kIdle;
        }
    }

    // Ends a transition at once.
    void stop() noexcept { position = state = kIdle; }

    std::int32_t length;         // samples in one fade, 1 or more
    double step;                 // 1 / length
    std::int32_t position = 0;   // index within the running fade
    float lastValue;             // parameter value last seen
    std::int32_t state = kIdle;  // set to kFadingOut to start a transition
};
