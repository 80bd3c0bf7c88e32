#pragma once

#include "adapters/clap/ClapInterface.h"
#include "effect/Parameters.h"
#include "host/K_TypeBase.h"

#include <array>
#include <atomic>
#include <optional>

// The parameters as a CLAP host sees them. Ids are the effect's indices, values run from 0 to 1; those of
// switches are 0 or 1. "Bypass" is the effect's On/Off the other way round: 1 is off. A modulation is added
// to a value where the effect hears it, and is seen nowhere else.
//
// The audio thread sets single values, by events; the main thread sets all at once and leaves a note of it
// for the audio thread. Neither waits, the last one wins, and any thread reads the values at any time. If
// the main thread sets them all twice within a block, that block may hear values of both.
class ClapParameters
{
public:
    using Values = std::array<double, kNumParams>;  // by id

    ClapParameters() noexcept;

    // These return false for an unknown id, an invalid text or an invalid value. Texts are the effect's,
    // of two decimals. A typed number is rounded to two decimals, so the text of its value is the text of
    // that text. capacity: bytes of text, its zero included.
    static bool getInfo(std::uint32_t index, clap::ParamInfo& info) noexcept;
    static bool valueToText(K_TypeBase& effect, clap::Id id, double value, char* text,
                            std::uint32_t capacity);
    static bool textToValue(clap::Id id, const char* text, double& value) noexcept;

    // Returns true if each value is one that its parameter can have.
    static bool areValid(const Values& values) noexcept;

    // id: known. The value last set.
    double value(clap::Id id) const noexcept { return values[id].load(std::memory_order_relaxed); }
    Values all() const noexcept;

    // [main] Set all values, which are valid, and all but "Bypass" to those of a program of the effect: to
    // try a program must not switch the effect on.
    void setAll(const Values& values) noexcept;
    void setProgram(const std::array<float, kNumParams>& program) noexcept;

    // [audio] Returns true if setAll or setProgram was called since the last call.
    bool takeReload() noexcept;

    // [audio] Takes the event and returns the index of its parameter; nothing if the event is not the value
    // or the modulation of one, if it is NaN, or modulates a switch. A value out of range becomes the
    // nearer end of it; that of a switch is truncated.
    std::optional<VstInt32> take(const clap::Event& event) noexcept;

    // [audio] The value that the effect is to have, as its own setParameter takes it.
    float heard(VstInt32 index) const noexcept;

private:
    std::array<std::atomic<double>, kNumParams> values;
    Values modulations{};  // the audio thread's
    std::atomic<bool> reloaded = false;

    static_assert(std::atomic<double>::is_always_lock_free);
};
