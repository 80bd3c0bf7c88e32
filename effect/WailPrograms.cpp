#include "effect/Wail.h"

#include "host/CopyText.h"

#include <cstdio>
#include <cstring>

// A block may run between two of the stores and use some new values together with old ones; the next block
// uses the new ones.
void Wail::setProgram(VstInt32 program)
{
    if (program < 0 || program >= kNumPrograms)
        return;
    curProgram = program;
    for (VstInt32 index = 0; index < kNumParams; ++index)
        setParameter(index, programs[program].*kParameters[static_cast<std::size_t>(index)].value);
}

void Wail::setProgramName(char* name)
{
    copyText(programs[curProgram].name, name, kVstMaxProgNameLen - 1);
}

void Wail::getProgramName(char* name)
{
    const VstInt32 program = curProgram;
    const char* const stored = programs[program].name;
    char numbered[kVstMaxProgNameLen + 12];  // 12: a blank and any 32-bit number
    const bool isInit = std::strcmp(stored, "Init") == 0;
    if (isInit)
        std::snprintf(numbered, sizeof numbered, "%s %d", stored, program + 1);
    copyText(name, isInit ? numbered : stored, kVstMaxProgNameLen - 1);
}

bool Wail::getProgramNameIndexed(VstInt32 /*category*/, VstInt32 index, char* text)
{
    return index >= 0 && index < kNumPrograms && copyText(text, programs[index].name, kVstMaxProgNameLen - 1);
}
