#pragma once

#include "host/AudioEffect.h"
#include "host/Opcodes.h"
#include "host/VstRecords.h"

// The VST 2.x operations: further requests of the host, and the services that it offers.
//
// Unless declared otherwise, an operation does nothing and returns false, 0 or null. An operation that
// calls the host returns the host's answer; as a bool, and from the three operations marked "1 or 0", it is
// true or 1 for any answer but 0. Without a callback it returns 0, false or null. Hosts call the operations
// by their position in the object's table (see AudioEffect).
class AudioEffectX : public AudioEffect
{
public:
    using AudioEffect::AudioEffect;

    // Handles the opcodes from effProcessEvents to effGetNumMidiOutputChannels except the deprecated ones,
    // and passes all others to AudioEffect.
    VstIntPtr dispatcher(VstInt32 opcode, VstInt32 index, VstIntPtr value, void* ptr, float opt) override;

    // Asks the host for MIDI events if the effect is a synth or its canDo returns 1 for receiving them.
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

    // Connections and timing. The two update operations ask the host and store its answer if it is above 0.
    virtual bool ioChanged() { return callHost(audioMasterIOChanged) != 0; }
    virtual double updateSampleRate();   // Hz; stores 44100 otherwise
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
    // Sets both *pluginInput and *pluginOutput to null and returns false.
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

    // The host's identity. text: a buffer of at least 64 bytes, terminator included; hosts are not told its
    // size, so allow for more.
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
    // text: from HostCanDos. Returns 1 or 0: 1 also if the host answers -1, for "no".
    virtual VstInt32 canHostDo(char* text) { return callHost(audioMasterCanDo, 0, 0, text) != 0; }
    virtual VstInt32 getHostLanguage() { return askHost(audioMasterGetLanguage); }

    // The effect's identity and capabilities. Texts go into buffers of 64 bytes.
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
    virtual VstInt32 canDo(char* /*text*/) { return 0; }  // of PlugCanDos: 1 yes, -1 no, 0 unknown
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

    // The host's windows. A null selection is not sent and returns false.
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

    // Speaker arrangements that the effect owns. *arrangement and *to: an arrangement, or null.

    // Replaces *arrangement with a new one of nbChannels speakers, all bytes 0 but the count. Returns false
    // and leaves null if there is no memory or nbChannels is negative.
    virtual bool allocateArrangement(VstSpeakerArrangement** arrangement, VstInt32 nbChannels);
    // Frees *arrangement and sets it to null. Returns true.
    virtual bool deallocateArrangement(VstSpeakerArrangement** arrangement);
    // Copies all fields, of the name at most 63 characters. Returns false if a pointer is null.
    virtual bool copySpeaker(VstSpeakerProperties* to, VstSpeakerProperties* from);
    // Replaces *to with a copy of from, which must not be *to. Returns false if from is null, or at the first
    // step that fails, with *to null or incomplete.
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
    virtual VstInt32 offlineGetCurrentPass()  // 1 or 0
    {
        return callHost(audioMasterOfflineGetCurrentPass) != 0;
    }
    virtual VstInt32 offlineGetCurrentMetaPass()  // 1 or 0
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

    // Deprecated by the interface; they keep their places in the table. The two that ask for a neighbouring
    // plug-in do not send their argument.
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

    // Sends events to the host. Returns true only if the host answers exactly 1.
    bool sendVstEventsToHost(VstEvents* events)
    {
        return callHost(audioMasterProcessEvents, 0, 0, events) == 1;
    }

private:
    // Call the host and return its answer as a number, or as the address of one of the host's records.
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
