#include "effect/Wail.h"

#include "host/CopyText.h"
#include "host/PluginFactory.h"

#include <new>

AudioEffect* createPluginFilter(audioMasterCallback audioMaster)
{
    return new (std::nothrow) Wail(audioMaster);
}

Wail::Wail(audioMasterCallback callback)
    : K_TypeBase(callback, kNumPrograms, kNumParams), programs(new WailProgram[kNumPrograms])
{
    Wail::setProgram(0);
    setUniqueID(fourCharacterCode("WAIL"));
    setNumInputs(1);
    setNumOutputs(1);
    canDoubleReplacing(true);
}

bool Wail::getEffectName(char* name)
{
    return copyText(name, "Wail", kVstMaxNameLen - 1);
}

bool Wail::getProductString(char* text)
{
    return copyText(text, "Wail", kVstMaxNameLen - 1);
}

bool Wail::getVendorString(char* text)
{
    return copyText(text, "KORVA Corporation", kVstMaxNameLen - 1);
}
