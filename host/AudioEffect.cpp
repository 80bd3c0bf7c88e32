#include "host/AudioEffect.h"

#include "host/AEffEditor.h"
#include "host/CopyText.h"
#include "host/Opcodes.h"

#include <cstring>

namespace
{

AudioEffect& objectOf(AEffect* effect)
{
    return *static_cast<AudioEffect*>(effect->object);
}

// effClose deletes the object and with it the record.
VstIntPtr dispatchToObject(AEffect* effect, VstInt32 opcode, VstInt32 index, VstIntPtr value, void* ptr,
                           float opt)
{
    AudioEffect& object = objectOf(effect);
    const VstIntPtr answer = object.dispatcher(opcode, index, value, ptr, opt);
    if (opcode != effClose)
        return answer;
    delete &object;
    return 1;
}

void setParameterOfObject(AEffect* effect, VstInt32 index, float value)
{
    objectOf(effect).setParameter(index, value);
}

float getParameterOfObject(AEffect* effect, VstInt32 index)
{
    return objectOf(effect).getParameter(index);
}

void processOfObject(AEffect* effect, float** inputs, float** outputs, VstInt32 sampleFrames)
{
    objectOf(effect).__processDeprecated(inputs, outputs, sampleFrames);
}

void processReplacingOfObject(AEffect* effect, float** inputs, float** outputs, VstInt32 sampleFrames)
{
    objectOf(effect).processReplacing(inputs, outputs, sampleFrames);
}

void processDoubleReplacingOfObject(AEffect* effect, double** inputs, double** outputs, VstInt32 sampleFrames)
{
    objectOf(effect).processDoubleReplacing(inputs, outputs, sampleFrames);
}

}  // namespace

AudioEffect::AudioEffect(audioMasterCallback callback, VstInt32 programs, VstInt32 params)
    : audioMaster(callback), numPrograms(programs), numParams(params)
{
    // Padding too: hosts may copy or compare the record as bytes.
    std::memset(&cEffect, 0, sizeof cEffect);
    cEffect.magic = kEffectMagic;
    cEffect.dispatcher = dispatchToObject;
    cEffect.process = processOfObject;
    cEffect.setParameter = setParameterOfObject;
    cEffect.getParameter = getParameterOfObject;
    cEffect.numPrograms = programs;
    cEffect.numParams = params;
    cEffect.numInputs = 1;
    cEffect.numOutputs = 2;
    cEffect.flags = effFlagsCanReplacing;
    cEffect.ioRatio = 1.0f;
    cEffect.object = this;
    cEffect.uniqueID = fourCharacterCode("NoEf");
    cEffect.version = 1;
    cEffect.processReplacing = processReplacingOfObject;
    cEffect.processDoubleReplacing = processDoubleReplacingOfObject;
}

AudioEffect::~AudioEffect()
{
    delete editor;
}

VstIntPtr AudioEffect::dispatcher(VstInt32 opcode, VstInt32 index, VstIntPtr value, void* ptr, float opt)
{
    char* const text = static_cast<char*>(ptr);
    switch (opcode) {
    case effOpen: open(); return 0;
    case effClose: close(); return 0;
    case effSetProgram:
        if (value >= 0 && value < numPrograms)
            setProgram(static_cast<VstInt32>(value));
        return 0;
    case effGetProgram: return getProgram();
    case effSetProgramName: setProgramName(text); return 0;
    case effGetProgramName: getProgramName(text); return 0;
    case effGetParamLabel: getParameterLabel(index, text); return 0;
    case effGetParamDisplay: getParameterDisplay(index, text); return 0;
    case effGetParamName: getParameterName(index, text); return 0;
    case effSetSampleRate: setSampleRate(opt); return 0;
    case effSetBlockSize: setBlockSize(static_cast<VstInt32>(value)); return 0;
    case effMainsChanged:
        if (value == 0)
            suspend();
        else
            resume();
        return 0;
    case effEditGetRect: return editor != nullptr && editor->getRect(static_cast<ERect**>(ptr));
    case effEditOpen: return editor != nullptr && editor->open(ptr);
    case effEditClose:
        if (editor != nullptr)
            editor->close();
        return 0;
    case effEditIdle:
        if (editor != nullptr)
            editor->idle();
        return 0;
    case effIdentify: return fourCharacterCode("NvEf");
    case effGetChunk: return getChunk(static_cast<void**>(ptr), index != 0);
    case effSetChunk: return setChunk(ptr, static_cast<VstInt32>(value), index != 0);
    default: return 0;
    }
}

void AudioEffect::setParameterAutomated(VstInt32 index, float value)
{
    setParameter(index, value);
    callHost(audioMasterAutomate, index, 0, nullptr, value);
}

void AudioEffect::getProgramName(char* name)
{
    copyText(name, "", 0);
}

void AudioEffect::getParameterLabel(VstInt32 /*index*/, char* label)
{
    copyText(label, "", 0);
}

void AudioEffect::getParameterDisplay(VstInt32 /*index*/, char* text)
{
    copyText(text, "", 0);
}

void AudioEffect::getParameterName(VstInt32 /*index*/, char* text)
{
    copyText(text, "", 0);
}

VstInt32 AudioEffect::getMasterVersion()
{
    const auto version = static_cast<VstInt32>(callHost(audioMasterVersion));
    return version == 0 ? 1 : version;
}

VstInt32 AudioEffect::getCurrentUniqueId()
{
    return static_cast<VstInt32>(callHost(audioMasterCurrentId));
}

void AudioEffect::masterIdle()
{
    callHost(audioMasterIdle);
}

// Here the interface's 0 means connected.
bool AudioEffect::isInputConnected(VstInt32 input)
{
    return callHost(audioMasterPinConnected, input, 0) == 0;
}

bool AudioEffect::isOutputConnected(VstInt32 output)
{
    return callHost(audioMasterPinConnected, output, 1) == 0;
}

void AudioEffect::setEditor(AEffEditor* newEditor)
{
    editor = newEditor;
    setFlag(effFlagsHasEditor, newEditor != nullptr);
}

VstIntPtr AudioEffect::callHost(VstInt32 opcode, VstInt32 index, VstIntPtr value, void* ptr, float opt)
{
    return audioMaster != nullptr ? audioMaster(&cEffect, opcode, index, value, ptr, opt) : 0;
}

void AudioEffect::setFlag(VstAEffectFlags flag, bool state)
{
    if (state)
        cEffect.flags |= flag;
    else
        cEffect.flags &= ~flag;
}
