#pragma once

#include "host/AudioEffect.h"
#include "host/Opcodes.h"
#include "host/VstRecords.h"

// The VST 2.x operations: what the host may ask beyond the basics, and the services it offers in return.
//
// The defaults decline, unless said: false, 0 or null, nothing written. An operation that calls the host
// answers what the host answers (as true when it is not 0), and 0, false or null without a callback. The
// order of the operations is called by hosts through the object's table (see AudioEffect).
class AudioEffectX : public AudioEffect
{
public:
    using AudioEffect::AudioEffect;

    // Handles the opcodes from effProcessEvents to effGetNumMidiOutputChannels, but for those that the
    // interface has retired; the base gets all others.
    VstIntPtr dispatcher(VstInt32 opcode, VstInt32 index, VstIntPtr value, void* ptr, float opt) override;

    // Asks the host for MIDI events when the effect is a synth or says that it can receive them.
    void resume() override;

    // Parameters and programs.
    virtual bool canParameterBeAutomated(VstInt32 /*index*/) { return true; }
    virtual bool string2parameter(VstInt32 /*index*/, char* /*text*/) { return false; }
    virtual bool getParameterProperties(VstInt32 /*index*/, VstParameterProperties* /*p*/) { return false; }
    virtual bool beginEdit(VstInt32 index) { return callHost(audioMasterBeginEdit, index) != 0; }
    virtual bool endEdit(VstInt32 index) { return callHost(audioMasterEndEdit, index) != 0; }
    virtual bool getProgramNameIndexed(VstInt32 /*category*/, VstInt32 /*index*/, char* /*text*/)
    {
        return false;
    }
    virtual bool beginSetProgram() { return false; }
    virtual bool endSetProgram() { return false; }
    virtual VstInt32 beginLoadBank(VstPatchChunkInfo* /*info*/) { return 0; }
    virtual VstInt32 beginLoadProgram(VstPatchChunkInfo* /*info*/) { return 0; }

    // Connections and timing. The two updates ask the host and keep an answer above 0.
    virtual bool ioChanged() { return callHost(audioMasterIOChanged) != 0; }
    virtual double updateSampleRate();   // Hz; 44100 when the host does not say
    virtual VstInt32 updateBlockSize();  // frames
    virtual VstInt32 getInputLatency() { return askHost(audioMasterGetInputLatency); }    // frames
    virtual VstInt32 getOutputLatency() { return askHost(audioMasterGetOutputLatency); }  // frames
    virtual bool getInputProperties(VstInt32 /*index*/, VstPinProperties* /*properties*/) { return false; }
    virtual bool getOutputProperties(VstInt32 /*index*/, VstPinProperties* /*properties*/) { return false; }
    virtual bool setSpeakerArrangement(VstSpeakerArrangement* /*pluginInput*/,
                                       VstSpeakerArrangement* /*pluginOutput*/)
    {
        return false;
    }
    virtual bool getSpeakerArrangement(VstSpeakerArrangement** pluginInput,
                                       VstSpeakerArrangement** pluginOutput);
    virtual bool setBypass(bool /*onOff*/) { return false; }
    virtual bool setPanLaw(VstInt32 /*type*/, float /*value*/) { return false; }
    virtual bool setProcessPrecision(VstInt32 /*precision*/) { return false; }
    virtual VstInt32 getNumMidiInputChannels() { return 0; }
    virtual VstInt32 getNumMidiOutputChannels() { return 0; }
    virtual VstTimeInfo* getTimeInfo(VstInt32 filter)
    {
        return askHostFor<VstTimeInfo>(audioMasterGetTime, filter);
    }
    virtual VstInt32 getCurrentProcessLevel() { return askHost(audioMasterGetCurrentProcessLevel); }
    virtual VstInt32 getAutomationState() { return askHost(audioMasterGetAutomationState); }

    // Processing.
    virtual VstInt32 processEvents(VstEvents* /*events*/) { return 0; }
    virtual VstInt32 startProcess() { return 0; }
    virtual VstInt32 stopProcess() { return 0; }
    virtual bool processVariableIo(VstVariableIo* /*varIo*/) { return false; }
    virtual VstInt32 setTotalSampleToProcess(VstInt32 value) { return value; }

    // The host's identity. Texts of up to 64 characters, or what the host writes.
    virtual bool getHostVendorString(char* text)
    {
        return callHost(audioMasterGetVendorString, 0, 0, text) != 0;
    }
    virtual bool getHostProductString(char* text)
    {
        return callHost(audioMasterGetProductString, 0, 0, text) != 0;
    }
    virtual VstInt32 getHostVendorVersion() { return askHost(audioMasterGetVendorVersion); }
    virtual VstIntPtr hostVendorSpecific(VstInt32 lArg1, VstIntPtr lArg2, void* ptrArg, float floatArg)
    {
        return callHost(audioMasterVendorSpecific, lArg1, lArg2, ptrArg, floatArg);
    }
    virtual VstInt32 canHostDo(char* text) { return callHost(audioMasterCanDo, 0, 0, text) != 0; }
    virtual VstInt32 getHostLanguage() { return askHost(audioMasterGetLanguage); }

    // The effect's identity and capabilities (host/CanDos.h).
    virtual void isSynth(bool state = true) { setFlag(effFlagsIsSynth, state); }
    virtual void noTail(bool state = true) { setFlag(effFlagsNoSoundInStop, state); }
    virtual VstInt32 getGetTailSize() { return 0; }  // frames
    virtual void* getDirectory() { return askHostFor<void>(audioMasterGetDirectory); }
    virtual bool getEffectName(char* /*name*/) { return false; }
    virtual bool getVendorString(char* /*text*/) { return false; }
    virtual bool getProductString(char* /*text*/) { return false; }
    virtual VstInt32 getVendorVersion() { return 0; }
    virtual VstIntPtr vendorSpecific(VstInt32 /*lArg*/, VstIntPtr /*lArg2*/, void* /*ptrArg*/,
                                     float /*floatArg*/)
    {
        return 0;
    }
    virtual VstInt32 canDo(char* /*text*/) { return 0; }  // 1 yes, -1 no, 0 unknown
    virtual VstInt32 getVstVersion() { return kVstVersion; }
    virtual VstPlugCategory getPlugCategory();

    // MIDI programs.
    virtual VstInt32 getMidiProgramName(VstInt32 /*channel*/, MidiProgramName* /*name*/) { return 0; }
    virtual VstInt32 getCurrentMidiProgram(VstInt32 /*channel*/, MidiProgramName* /*program*/) { return -1; }
    virtual VstInt32 getMidiProgramCategory(VstInt32 /*channel*/, MidiProgramCategory* /*category*/)
    {
        return 0;
    }
    virtual bool hasMidiProgramsChanged(VstInt32 /*channel*/) { return false; }
    virtual bool getMidiKeyName(VstInt32 /*channel*/, MidiKeyName* /*keyName*/) { return false; }

    // The host's windows. A null selection is refused and not sent.
    virtual bool updateDisplay() { return callHost(audioMasterUpdateDisplay) != 0; }
    virtual bool sizeWindow(VstInt32 width, VstInt32 height)
    {
        return callHost(audioMasterSizeWindow, width, height) != 0;
    }
    virtual bool openFileSelector(VstFileSelect* selection)
    {
        return selection != nullptr && callHost(audioMasterOpenFileSelector, 0, 0, selection) != 0;
    }
    virtual bool closeFileSelector(VstFileSelect* selection)
    {
        return selection != nullptr && callHost(audioMasterCloseFileSelector, 0, 0, selection) != 0;
    }
    virtual VstInt32 getNextShellPlugin(char* /*name*/) { return 0; }

    // Speaker arrangements that the effect owns. The slot *arrangement holds one, or null.
    //
    // allocateArrangement replaces what the slot holds by a zeroed arrangement of nbChannels speakers; it
    // answers false and leaves null where there is no memory for it. matchArrangement makes *to a copy of
    // from, which is not *to itself; it answers false at the first step that fails and leaves *to as far as
    // it came.
    virtual bool allocateArrangement(VstSpeakerArrangement** arrangement, VstInt32 nbChannels);
    virtual bool deallocateArrangement(VstSpeakerArrangement** arrangement);
    virtual bool copySpeaker(VstSpeakerProperties* to, VstSpeakerProperties* from);
    virtual bool matchArrangement(VstSpeakerArrangement** to, VstSpeakerArrangement* from);

    // Offline processing.
    virtual bool offlineRead(VstOfflineTask* offline, VstOfflineOption option, bool readSource = true)
    {
        return callHost(audioMasterOfflineRead, readSource, option, offline) != 0;
    }
    virtual bool offlineWrite(VstOfflineTask* offline, VstOfflineOption option)
    {
        return callHost(audioMasterOfflineWrite, 0, option, offline) != 0;
    }
    virtual bool offlineStart(VstAudioFile* files, VstInt32 numAudioFiles, VstInt32 numNewAudioFiles)
    {
        return callHost(audioMasterOfflineStart, numNewAudioFiles, numAudioFiles, files) != 0;
    }
    virtual VstInt32 offlineGetCurrentPass() { return callHost(audioMasterOfflineGetCurrentPass) != 0; }
    virtual VstInt32 offlineGetCurrentMetaPass()
    {
        return callHost(audioMasterOfflineGetCurrentMetaPass) != 0;
    }
    virtual bool offlineNotify(VstAudioFile* /*file*/, VstInt32 /*numAudioFiles*/, bool /*start*/)
    {
        return false;
    }
    virtual bool offlinePrepare(VstOfflineTask* /*offline*/, VstInt32 /*count*/) { return false; }
    virtual bool offlineRun(VstOfflineTask* /*offline*/, VstInt32 /*count*/) { return false; }
    virtual VstInt32 offlineGetNumPasses() { return 0; }
    virtual VstInt32 offlineGetNumMetaPasses() { return 0; }

    // Operations that the interface has retired; hosts still find them in their places.
    virtual void __wantEventsDeprecated(VstInt32 filter = 1) { callHost(audioMasterWantMidi, 0, filter); }
    virtual VstInt32 __tempoAtDeprecated(VstInt32 pos) { return askHost(audioMasterTempoAt, pos); }
    virtual VstInt32 __getNumAutomatableParametersDeprecated()
    {
        return askHost(audioMasterGetNumAutomatableParameters);
    }
    virtual VstInt32 __getParameterQuantizationDeprecated()
    {
        return askHost(audioMasterGetParameterQuantization);
    }
    virtual VstInt32 __getNumCategoriesDeprecated() { return 1; }
    virtual bool __copyProgramDeprecated(VstInt32 /*destination*/) { return false; }
    virtual bool __needIdleDeprecated() { return callHost(audioMasterNeedIdle) != 0; }
    virtual AEffect* __getPreviousPlugDeprecated(VstInt32 /*input*/)
    {
        return askHostFor<AEffect>(audioMasterGetPreviousPlug);
    }
    virtual AEffect* __getNextPlugDeprecated(VstInt32 /*output*/)
    {
        return askHostFor<AEffect>(audioMasterGetNextPlug);
    }
    virtual void __inputConnectedDeprecated(VstInt32 /*index*/, bool /*state*/) {}
    virtual void __outputConnectedDeprecated(VstInt32 /*index*/, bool /*state*/) {}
    virtual VstInt32 __willProcessReplacingDeprecated()
    {
        return askHost(audioMasterWillReplaceOrAccumulate);
    }
    virtual void __wantAsyncOperationDeprecated(bool state = true) { setFlag(effFlagsExtIsAsync, state); }
    virtual void __hasExternalBufferDeprecated(bool state = true) { setFlag(effFlagsExtHasBuffer, state); }
    virtual VstInt32 __reportCurrentPositionDeprecated() { return 0; }
    virtual float* __reportDestinationBufferDeprecated() { return nullptr; }
    virtual void __setOutputSamplerateDeprecated(float samplerate)
    {
        callHost(audioMasterSetOutputSampleRate, 0, 0, nullptr, samplerate);
    }
    virtual VstSpeakerArrangement* __getInputSpeakerArrangementDeprecated()
    {
        return askHostFor<VstSpeakerArrangement>(audioMasterGetInputSpeakerArrangement);
    }
    virtual VstSpeakerArrangement* __getOutputSpeakerArrangementDeprecated()
    {
        return askHostFor<VstSpeakerArrangement>(audioMasterGetOutputSpeakerArrangement);
    }
    virtual void* __openWindowDeprecated(__VstWindowDeprecated* window)
    {
        return askHostFor<void>(audioMasterOpenWindow, 0, window);
    }
    virtual bool __closeWindowDeprecated(__VstWindowDeprecated* window)
    {
        return callHost(audioMasterCloseWindow, 0, 0, window) != 0;
    }
    virtual void __setBlockSizeAndSampleRateDeprecated(VstInt32 size, float rate)
    {
        blockSize = size;
        sampleRate = rate;
    }
    virtual bool __getErrorTextDeprecated(char* /*text*/) { return false; }
    virtual void* __getIconDeprecated() { return nullptr; }
    virtual bool __setViewPositionDeprecated(VstInt32 /*x*/, VstInt32 /*y*/) { return false; }
    virtual VstInt32 __fxIdleDeprecated() { return 0; }
    virtual bool __keysRequiredDeprecated() { return false; }
    virtual bool __getChunkFileDeprecated(void* nativePath)
    {
        return nativePath != nullptr && callHost(audioMasterGetChunkFile, 0, 0, nativePath) != 0;
    }

    // Hands events to the host, which takes them by answering exactly 1.
    bool sendVstEventsToHost(VstEvents* events)
    {
        return callHost(audioMasterProcessEvents, 0, 0, events) == 1;
    }

private:
    // The host's answer as a number, and as the address of a record of the host's.
    VstInt32 askHost(VstInt32 opcode, VstIntPtr value = 0)
    {
        return static_cast<VstInt32>(callHost(opcode, 0, value));
    }
    template <typename T>
    T* askHostFor(VstInt32 opcode, VstIntPtr value = 0, void* ptr = nullptr)
    {
        return reinterpret_cast<T*>(callHost(opcode, 0, value, ptr));
    }
};
