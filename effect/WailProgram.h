#pragma once

#include "host/Relaxed.h"
#include "host/VstRecords.h"

// One program: the seven parameter values, in the order of their indices, and a name. The defaults are
// those of a new instance; there are no other factory programs.
class WailProgram
{
public:
    WailProgram() = default;
    virtual ~WailProgram() = default;

    // Normalised, 0 .. 1, kept as the host sent them.
    Relaxed<float> fOnOff = 1.0f;
    Relaxed<float> fSense = 0.84210527f;  // 16/19
    Relaxed<float> fReso = 0.8f;
    Relaxed<float> fRange = 0.444f;
    Relaxed<float> fBalance = 1.0f;
    Relaxed<float> fInvert = 0.0f;
    Relaxed<float> fEnvelope = 1.0f;
    char name[kVstMaxProgNameLen] = "Init";  // which is shown with the program's number behind it
};
