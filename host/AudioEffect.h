#pragma once

#include "host/AEffect.h"
#include "host/Relaxed.h"

class AEffEditor;

// Root of the effect classes: owns the plug-in record that the host holds, forwards each call on that record
// to a virtual operation, and gives every operation its default.
//
// Hosts call the virtual operations by their position in the object's table, through AudioEffectX and
// K_TypeBase too: none may move, and a new one goes to the end of the effect's own class. The destructor
// takes the table's first two entries; dispatcher is the third.
//
// Texts: the caller's buffer holds 8 characters and a terminator for a parameter's name, label or value, 23
// and a terminator for a program name. A null buffer is ignored. No operation of the base takes a lock: call
// its setters from one thread at a time.
class AudioEffect
{
public:
    // callback: the host's. If it is null, nothing is sent, and the host's services return their defaults.
    AudioEffect(audioMasterCallback callback, VstInt32 programs, VstInt32 params);
    AudioEffect(const AudioEffect&) = delete;
    AudioEffect& operator=(const AudioEffect&) = delete;
    virtual ~AudioEffect();

    // Handles one request of the host (EffectOpcode). Returns 0 if no operation handles it.
    virtual VstIntPtr dispatcher(VstInt32 opcode, VstInt32 index, VstIntPtr value, void* ptr, float opt);

    virtual void open() {}
    virtual void close() {}
    virtual void suspend() {}
    virtual void resume() {}

    virtual void setSampleRate(float rate) { sampleRate = rate; }   // Hz
    virtual void setBlockSize(VstInt32 size) { blockSize = size; }  // longest block to expect, frames

    // inputs, outputs: for each of the record's channels a buffer of sampleFrames samples. Audio thread.
    virtual void processReplacing(float** inputs, float** outputs, VstInt32 sampleFrames) = 0;
    virtual void processDoubleReplacing(double** /*inputs*/, double** /*outputs*/, VstInt32 /*sampleFrames*/)
    {
    }

    virtual void setParameter(VstInt32 /*index*/, float /*value*/) {}
    virtual float getParameter(VstInt32 /*index*/) { return 0.0f; }
    virtual void setParameterAutomated(VstInt32 index, float value);  // sets it and tells the host

    virtual VstInt32 getProgram() { return curProgram; }
    virtual void setProgram(VstInt32 program) { curProgram = program; }
    virtual void setProgramName(char* /*name*/) {}
    virtual void getProgramName(char* name);

    virtual void getParameterLabel(VstInt32 index, char* label);
    virtual void getParameterDisplay(VstInt32 index, char* text);
    virtual void getParameterName(VstInt32 index, char* text);

    // Return the size of the chunk in bytes; 0 if the effect does not support chunks.
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

    // Services of the host.
    virtual VstInt32 getMasterVersion();  // of the interface; 1 if the host returns 0
    virtual VstInt32 getCurrentUniqueId();
    virtual void masterIdle();
    virtual bool isInputConnected(VstInt32 input);    // true also if the host does not know
    virtual bool isOutputConnected(VstInt32 output);  // true also if the host does not know

    // Write a number as text of at most maxLen characters and a terminator.
    //
    // float2string never writes more than 8 characters: a blank or "-", the integer digits, a point, and two
    // decimals as far as they fit, such as " 1.23" and "-12345.6". A magnitude of a million and above is
    // "Huge!", and NaN is "NaN". The first three write their result as float2string does. int2string writes
    // "Huge!" above 99999999 and below -999999999.
    virtual void dB2string(float value, char* text, VstInt32 maxLen);    // of a linear gain; "-Inf" up to 0
    virtual void Hz2string(float samples, char* text, VstInt32 maxLen);  // of a period
    virtual void ms2string(float samples, char* text, VstInt32 maxLen);  // of a duration
    virtual void float2string(float value, char* text, VstInt32 maxLen);
    virtual void int2string(VstInt32 value, char* text, VstInt32 maxLen);

    // Deprecated by the interface; they keep their places in the table.
    virtual void __processDeprecated(float** /*inputs*/, float** /*outputs*/, VstInt32 /*sampleFrames*/) {}
    virtual float __getVuDeprecated() { return 0.0f; }
    virtual void __hasVuDeprecated(bool state = true) { setFlag(effFlagsHasVu, state); }
    virtual void __hasClipDeprecated(bool state = true) { setFlag(effFlagsHasClip, state); }
    virtual void __canMonoDeprecated(bool state = true) { setFlag(effFlagsCanMono, state); }
    virtual void __setRealtimeQualitiesDeprecated(VstInt32 qualities) { cEffect.realQualities = qualities; }
    virtual void __setOfflineQualitiesDeprecated(VstInt32 qualities) { cEffect.offQualities = qualities; }

    // Attaches an editor, which the effect then owns; null detaches it. The editor attached before is not
    // deleted: the caller owns it from then on.
    void setEditor(AEffEditor* newEditor);

protected:
    // Sends one request (HostOpcode) to the host and returns its answer; 0 if there is no callback.
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
