#pragma once

#include <cstdint>
#include <limits>

// Changes a switch without a click, if it is left alone until both fades have ended: a change of its
// parameter fades the output out over length samples, takes place in silence, and fades the output in
// again. The gains of a whole transition are
//
//     1, (N-1)/N, ..., 1/N,    0, 1/N, ..., (N-1)/N,    1        N = length: 16 ms or just under
//
// with the new value in force from the 0 on. A transition may span any number of blocks. Callers cut blocks
// where the state changes: gain() and samplesLeft() hold until then.
struct FadeSwitch {
    enum State : std::int32_t { kIdle = 0, kFadingOut = 1, kFadingIn = 2 };

    // The gain of a state, k samples on. The count is a whole number and therefore exact, so the product does
    // not depend on where a block begins.
    struct Gain {
        double first;
        double perSample;  // -1, 0 or 1
        double unit;

        double at(double k) const noexcept { return (first + k * perSample) * unit; }
    };

    // sampleRate: Hz, at least 62.5. value: the parameter's value at present.
    FadeSwitch(double sampleRate, float value) noexcept;

    Gain gain() const noexcept
    {
        if (state == kIdle)
            return {1.0, 0.0, 1.0};
        return state == kFadingOut ? Gain{static_cast<double>(length - position), -1.0, step}
                                   : Gain{static_cast<double>(position), 1.0, step};
    }

    // Samples until the state changes, at least 1.
    std::int32_t samplesLeft() const noexcept
    {
        return state == kIdle ? std::numeric_limits<std::int32_t>::max() : length - position;
    }

    // True at the first sample of the fade-in, whose gain is 0.
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

    std::int32_t length;         // samples in one fade, at least 1
    double step;                 // 1 / length
    std::int32_t position = 0;   // index within the running fade
    float lastValue;             // parameter value last seen
    std::int32_t state = kIdle;  // set to kFadingOut to start a transition
};
