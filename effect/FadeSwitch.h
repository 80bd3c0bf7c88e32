#pragma once

#include <cstdint>
#include <memory>

// A switch that never clicks: a change of its parameter fades the output out over length samples, takes
// place in silence, and fades the output in again. The gains of a whole transition are
//
//     1, (N-1)/N, ..., 1/N,    0, 1/N, ..., (N-1)/N,    1        N = length: 16 ms or just under
//
// with the new value in force from the 0 on. A transition may span any number of blocks.
struct FadeSwitch {
    // sampleRate: Hz, 62.5 or more. value: what the parameter stands at. May throw std::bad_alloc.
    FadeSwitch(double sampleRate, float value);
    FadeSwitch(const FadeSwitch&) = delete;
    FadeSwitch& operator=(const FadeSwitch&) = delete;
    ~FadeSwitch();

    enum State : std::int32_t { kIdle = 0, kFadingOut = 1, kFadingIn = 2 };

    // On/Off. Fills gains and valueBuffer for the next frames samples, given the parameter's value now. A
    // change during the fade-in turns it into a fade-out from the same index.
    void runOnOff(float value, double* gains, std::int32_t frames) noexcept;

    // Invert. Fills gains for the next frames samples, given the parameter's value now and the one that the
    // sweep is set up for. A change during the fade-out joins the running transition; one that comes after
    // its silent point, and is not taken back before its end, gets a transition of its own right behind it.
    void runInvert(float value, float applied, double* gains, std::int32_t frames) noexcept;

    std::int32_t length;                   // samples in one fade, 1 or more
    double level = 1.0;                    // gain while no fade runs
    std::unique_ptr<double[]> fadeIn;      // length gains, rising from 0
    std::unique_ptr<double[]> fadeOut;     // length gains, falling from 1
    std::int32_t position = 0;             // index within the running fade
    std::int32_t lastBlockSize = 0;        // samples that valueBuffer was made for
    float lastValue;                       // parameter value last seen
    std::unique_ptr<float[]> valueBuffer;  // On/Off value in force at each sample of a block
    std::int32_t state = kIdle;

private:
    double nextGain() noexcept;
};
