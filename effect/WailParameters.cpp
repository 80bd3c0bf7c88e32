#include "effect/Wail.h"
#include "host/CopyText.h"

#include <algorithm>

namespace
{

// Returns null if the index is out of range.
const Parameter* findParameter(VstInt32 index) noexcept
{
    return index >= 0 && index < kNumParams ? &kParameters[static_cast<std::size_t>(index)] : nullptr;
}

}  // namespace

void Wail::setParameter(VstInt32 index, float value)
{
    const ScopedLock lock(paramMutex);
    storeParameter(index, value);
}

void Wail::storeParameter(VstInt32 index, float value) noexcept
{
    const Parameter* const parameter = findParameter(index);
    if (parameter == nullptr)
        return;
    programs[curProgram].*parameter->value = value;
    live.*parameter->value = value;
    parametersAreNew = true;
}

float Wail::getParameter(VstInt32 index)
{
    const Parameter* const parameter = findParameter(index);
    if (parameter == nullptr)
        return 0.0f;
    return live.*parameter->value;
}

void Wail::getParameterName(VstInt32 index, char* text)
{
    if (const Parameter* const parameter = findParameter(index))
        copyText(text, parameter->name, kVstMaxParamStrLen);
}

void Wail::getParameterLabel(VstInt32 index, char* label)
{
    if (findParameter(index) != nullptr)
        copyText(label, "", 0);
}

void Wail::getParameterDisplay(VstInt32 index, char* text)
{
    getParameterDisplayOf(index, getParameter(index), text);
}

void Wail::getParameterDisplayOf(VstInt32 index, float value, char* text)
{
    const Parameter* const parameter = findParameter(index);
    if (parameter == nullptr || text == nullptr)
        return;
    if (parameter->isSwitch) {
        std::fill_n(text, kVstMaxParamStrLen + 1, '\0');
        copyText(text, value == 1.0f ? "on" : "off", kVstMaxParamStrLen);
    } else {
        float2string(value * 10.0f, text, kVstMaxParamStrLen);
    }
}

bool Wail::getParameterProperties(VstInt32 index, VstParameterProperties* properties)
{
    const Parameter* const parameter = findParameter(index);
    if (parameter == nullptr || properties == nullptr)
        return false;
    *properties = {};
    properties->flags = parameter->isSwitch ? kVstParameterIsSwitch : kVstParameterUsesFloatStep;
    properties->stepFloat = parameter->isSwitch ? 0.0f : 0.01f;
    getParameterLabel(index, properties->label);
    return true;
}
