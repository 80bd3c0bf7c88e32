#pragma once

#include "effect/Parameters.h"

// One program: a value for each parameter, and a name. New programs hold the initial values; there are no
// factory programs.
class WailProgram : public ParameterValues
{
public:
    WailProgram() = default;
    virtual ~WailProgram() = default;

    char name[kVstMaxProgNameLen] = "Init";  // shown with the program's number behind it
};
