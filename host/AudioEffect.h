#pragma once

#include "host/AEffect.h"
#include "host/Relaxed.h"

class AEffEditor;

// Root of the effect classes: owns the plug-in record that the host holds, turns each call on that record
// into a virtual operation, and gives every operation its default.
//
// The order of the virtual operations, here and in the derived AudioEffectX and K_TypeBase, is called by
// hosts through the object's table: a new operation goes to the end of the last class, none ever moves.
// The table's first two entries are the destructor's; dispatcher is the third.
//
// Texts: the caller's buffer holds 8 characters and a terminator for names, labels and values of
// parameters, 23 and a terminator for program names; a null buffer is ignored. The base takes no lock: its
// setters belong to one thread at a time.
class AudioEffect
{
public:
    // callback: the host's; null leaves every call to the host unsent.
    AudioEffect(audioMasterCallback callback, VstInt32 programs, VstInt32 params);
    AudioEffect(const AudioEffect&) = delete;
    AudioEffect& operator=(const AudioEffect&) = delete;
    virtual ~AudioEffect();

    // Runs one request of the host (EffectOpcode); answers 0 for one that nothing handles.
    virtual VstIntPtr dispatcher(VstInt32 opcode, VstInt32 index, VstIntPtr value, void* ptr, float opt);

    virtual void open() {}
    virtual void close() {}
    virtual void suspend() {}
    virtual void resume() {}

    virtual void setSampleRate(float rate) { sampleRate = rate; }   // Hz
    virtual void setBlockSize(VstInt32 size) { blockSize = size; }  // frames that the host announces

    // inputs, outputs: one buffer of sampleFrames samples for each channel of the record. Audio thread.
    virtual void processReplacing(float** inputs, float** outputs, VstInt32 sampleFrames) = 0;
    virtual void processDoubleReplacing(double** /*inputs*/, double** /*outputs*/, VstInt32 /*sampleFrames*/)
    {
    }

    virtual void setParameter(VstInt32 /*index*/, float /*value*/) {}
    virtual float getParameter(VstInt32 /*index*/) { return 0.0f; }
    virtual void setParameterAutomated(VstInt32 index, float value);

    virtual VstInt32 getProgram() { return curProgram; }
    virtual void setProgram(VstInt32 program) { curProgram = program; }
    virtual void setProgramName(char* /*name*/) {}
    virtual void getProgramName(char* name);

    virtual void getParameterLabel(VstInt32 index, char* label);
    virtual void getParameterDisplay(VstInt32 index, char* text);
    virtual void getParameterName(VstInt32 index, char* text);

    // Answer the size in bytes of what was stored or taken; 0 without support for chunks.
    virtual VstInt32 getChunk(void** /*data*/, bool /*isPreset*/) { return 0; }
    virtual VstInt32 setChunk(void* /*data*/, VstInt32 /*byteSize*/, bool /*isPreset*/) { return 0; }

    virtual void setUniqueID(VstInt32 iD) { cEffect.uniqueID = iD; }
    virtual void setNumInputs(VstInt32 inputs) { cEffect.numInputs = inputs; }
    virtual void setNumOutputs(VstInt32 outputs) { cEffect.numOutputs = outputs; }
    virtual void canProcessReplacing(bool state = true) { setFlag(effFlagsCanReplacing, state); }
    virtual void canDoubleReplacing(bool state = true) { setFlag(effFlagsCanDoubleReplacing, state); }
    virtual void programsAreChunks(bool state = true) { setFlag(effFlagsProgramChunks, state); }
    virtual void setInitialDelay(VstInt32 delay) { cEffect.initialDelay = delay; }  // samples

    virtual AEffEditor* getEditor() { return editor; }
    virtual AEffect* getAeffect() { return &cEffect; }
    virtual float getSampleRate() { return sampleRate; }
    virtual VstInt32 getBlockSize() { return blockSize; }

    // Questions to the host.
    virtual VstInt32 getMasterVersion();  // 1 when the host does not say
    virtual VstInt32 getCurrentUniqueId();
    virtual void masterIdle();
    virtual bool isInputConnected(VstInt32 input);    // true when the host does not say
    virtual bool isOutputConnected(VstInt32 output);  // true when the host does not say

    // Numbers as text of at most maxLen characters and a terminator.
    virtual void dB2string(float value, char* text, VstInt32 maxLen);     // value: linear gain
    virtual void Hz2string(float samples, char* text, VstInt32 maxLen);   // samples: a period
    virtual void ms2string(float samples, char* text, VstInt32 maxLen);   // samples: a duration
    virtual void float2string(float value, char* text, VstInt32 maxLen);  // " 1.23", "-1.23"
    virtual void int2string(VstInt32 value, char* text, VstInt32 maxLen);

    // Operations that the interface has retired; hosts still find them in their places.
    virtual void __processDeprecated(float** /*inputs*/, float** /*outputs*/, VstInt32 /*sampleFrames*/) {}
    virtual float __getVuDeprecated() { return 0.0f; }
    virtual void __hasVuDeprecated(bool state = true) { setFlag(effFlagsHasVu, state); }
    virtual void __hasClipDeprecated(bool state = true) { setFlag(effFlagsHasClip, state); }
    virtual void __canMonoDeprecated(bool state = true) { setFlag(effFlagsCanMono, state); }
    virtual void __setRealtimeQualitiesDeprecated(VstInt32 qualities) { cEffect.realQualities = qualities; }
    virtual void __setOfflineQualitiesDeprecated(VstInt32 qualities) { cEffect.offQualities = qualities; }

    // Attaches the editor, which the effect then owns; null detaches. The one that was attached before goes
    // back to the caller.
    void setEditor(AEffEditor* newEditor);

protected:
    // Sends one request to the host (HostOpcode) and answers what it answers; 0 without a callback.
    VstIntPtr callHost(VstInt32 opcode, VstInt32 index = 0, VstIntPtr value = 0, void* ptr = nullptr,
                       float opt = 0.0f);

    // Sets or clears one bit of the record's flags.
    void setFlag(VstAEffectFlags flag, bool state);

    audioMasterCallback audioMaster;  // may be null
    AEffEditor* editor = nullptr;     // owned
    float sampleRate = 44100.0f;      // Hz
    VstInt32 blockSize = 1024;        // frames
    VstInt32 numPrograms;
    VstInt32 numParams;
    Relaxed<VstInt32> curProgram = 0;
    AEffect cEffect;
};
