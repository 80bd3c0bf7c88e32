#pragma once

#include "host/Relaxed.h"
#include "host/VstRecords.h"

#include <array>

// Parameter indices: hosts and saved settings know the parameters by them.
enum WailParameter : VstInt32 { kOnOff = 0, kSense, kReso, kRange, kBalance, kInvert, kEnvelope, kNumParams };

// One value for each parameter, normalised to 0 .. 1 and kept as the host sent it. Threads may read and write
// single values at any time.
struct ParameterValues {
    ParameterValues() noexcept;  // the initial values of kParameters

    Relaxed<float> fOnOff;
    Relaxed<float> fSense;
    Relaxed<float> fReso;
    Relaxed<float> fRange;
    Relaxed<float> fBalance;
    Relaxed<float> fInvert;
    Relaxed<float> fEnvelope;
};

struct Parameter {
    const char* name;    // shown by hosts, at most 8 characters
    const char* symbol;  // identifier in interfaces that want one; saved in sessions, so it never changes
    float initial;       // value in a new instance and in every program
    bool isSwitch;       // on at exactly 1, off at any other value
    Relaxed<float> ParameterValues::*value;
};

// All that distinguishes one parameter from another. A row's place is the parameter's index. A new parameter
// gets an index, a field, a row at the end, and its use in MappedParameters or SignalPath.
inline constexpr std::array<Parameter, kNumParams> kParameters{{
    {"On/Off", "enabled", 1.0f, true, &ParameterValues::fOnOff},
    {"Sense", "sense", 0.84210527f, false, &ParameterValues::fSense},  // 16/19
    {"Reso", "reso", 0.8f, false, &ParameterValues::fReso},
    {"Range", "range", 0.444f, false, &ParameterValues::fRange},
    {"Balance", "balance", 1.0f, false, &ParameterValues::fBalance},
    {"Invert", "invert", 0.0f, true, &ParameterValues::fInvert},
    {"Envelope", "envelope", 1.0f, false, &ParameterValues::fEnvelope},
}};

inline ParameterValues::ParameterValues() noexcept
{
    for (const Parameter& parameter : kParameters)
        this->*parameter.value = parameter.initial;
}
