#include "host/AudioEffectX.h"

#include "host/AEffEditor.h"
#include "host/CanDos.h"

#include <cmath>
#include <initializer_list>

namespace
{

template <typename T>
T* recordAt(VstIntPtr address)
{
    return reinterpret_cast<T*>(address);
}

// The modifier keys come as a float, of which the low byte counts; 0 if it is beyond 32 bits or NaN.
VstKeyCode keyCodeOf(VstInt32 character, VstIntPtr virt, float modifier)
{
    const bool isInteger = std::fabs(modifier) < 2147483648.0f;
    const VstInt32 modifiers = isInteger ? static_cast<VstInt32>(modifier) : 0;
    return {character, static_cast<unsigned char>(virt), static_cast<unsigned char>(modifiers)};
}

}  // namespace

VstIntPtr AudioEffectX::dispatcher(VstInt32 opcode, VstInt32 index, VstIntPtr value, void* ptr, float opt)
{
    const auto value32 = static_cast<VstInt32>(value);
    char* const text = static_cast<char*>(ptr);

    switch (opcode) {
    case effProcessEvents: return processEvents(static_cast<VstEvents*>(ptr));
    case effCanBeAutomated: return canParameterBeAutomated(index);
    case effString2Parameter: return string2parameter(index, text);
    case effGetProgramNameIndexed: return getProgramNameIndexed(value32, index, text);
    case effGetInputProperties: return getInputProperties(index, static_cast<VstPinProperties*>(ptr));
    case effGetOutputProperties: return getOutputProperties(index, static_cast<VstPinProperties*>(ptr));
    case effGetPlugCategory: return getPlugCategory();
    case effOfflineNotify: return offlineNotify(static_cast<VstAudioFile*>(ptr), value32, index != 0);
    case effOfflinePrepare: return offlinePrepare(static_cast<VstOfflineTask*>(ptr), value32);
    case effOfflineRun: return offlineRun(static_cast<VstOfflineTask*>(ptr), value32);
    case effProcessVarIo: return processVariableIo(static_cast<VstVariableIo*>(ptr));
    case effSetSpeakerArrangement:
        return setSpeakerArrangement(recordAt<VstSpeakerArrangement>(value),
                                     static_cast<VstSpeakerArrangement*>(ptr));
    case effSetBypass: return setBypass(value != 0);
    case effGetEffectName: return getEffectName(text);
    case effGetVendorString: return getVendorString(text);
    case effGetProductString: return getProductString(text);
    case effGetVendorVersion: return getVendorVersion();
    case effVendorSpecific: return vendorSpecific(index, value, ptr, opt);
    case effCanDo: return canDo(text);
    case effGetTailSize: return getGetTailSize();
    case effGetParameterProperties:
        return getParameterProperties(index, static_cast<VstParameterProperties*>(ptr));
    case effGetVstVersion: return getVstVersion();
    case effEditKeyDown:
    case effEditKeyUp: {
        if (editor == nullptr)
            return 0;
        VstKeyCode key = keyCodeOf(index, value, opt);
        return opcode == effEditKeyDown ? editor->onKeyDown(key) : editor->onKeyUp(key);
    }
    case effSetEditKnobMode: return editor != nullptr && editor->setKnobMode(value32);
    case effGetMidiProgramName: return getMidiProgramName(index, static_cast<MidiProgramName*>(ptr));
    case effGetCurrentMidiProgram: return getCurrentMidiProgram(index, static_cast<MidiProgramName*>(ptr));
    case effGetMidiProgramCategory:
        return getMidiProgramCategory(index, static_cast<MidiProgramCategory*>(ptr));
    case effHasMidiProgramsChanged: return hasMidiProgramsChanged(index);
    case effGetMidiKeyName: return getMidiKeyName(index, static_cast<MidiKeyName*>(ptr));
    case effBeginSetProgram: return beginSetProgram();
    case effEndSetProgram: return endSetProgram();
    case effGetSpeakerArrangement:
        return getSpeakerArrangement(recordAt<VstSpeakerArrangement*>(value),
                                     static_cast<VstSpeakerArrangement**>(ptr));
    case effShellGetNextPlugin: return getNextShellPlugin(text);
    case effStartProcess: return startProcess();
    case effStopProcess: return stopProcess();
    case effSetTotalSampleToProcess: return setTotalSampleToProcess(value32);
    case effSetPanLaw: return setPanLaw(value32, opt);
    case effBeginLoadBank: return beginLoadBank(static_cast<VstPatchChunkInfo*>(ptr));
    case effBeginLoadProgram: return beginLoadProgram(static_cast<VstPatchChunkInfo*>(ptr));
    case effSetProcessPrecision: return setProcessPrecision(value32);
    case effGetNumMidiInputChannels: return getNumMidiInputChannels();
    case effGetNumMidiOutputChannels: return getNumMidiOutputChannels();
    default: return AudioEffect::dispatcher(opcode, index, value, ptr, opt);
    }
}

void AudioEffectX::resume()
{
    // The interface's operations take char*; canDo only reads the text.
    char* const midiEvents = const_cast<char*>(PlugCanDos::canDoReceiveVstMidiEvent);
    if ((cEffect.flags & effFlagsIsSynth) != 0 || canDo(midiEvents) == 1)
        __wantEventsDeprecated(1);
}

double AudioEffectX::updateSampleRate()
{
    sampleRate = 44100.0f;
    const VstIntPtr answer = callHost(audioMasterGetSampleRate);
    if (answer > 0)
        sampleRate = static_cast<float>(answer);
    return sampleRate;
}

VstInt32 AudioEffectX::updateBlockSize()
{
    const VstInt32 answer = askHost(audioMasterGetBlockSize);
    if (answer > 0)
        blockSize = answer;
    return blockSize;
}

bool AudioEffectX::getSpeakerArrangement(VstSpeakerArrangement** pluginInput,
                                         VstSpeakerArrangement** pluginOutput)
{
    for (VstSpeakerArrangement** slot : {pluginInput, pluginOutput}) {
        if (slot != nullptr)
            *slot = nullptr;
    }
    return false;
}

VstPlugCategory AudioEffectX::getPlugCategory()
{
    return (cEffect.flags & effFlagsIsSynth) != 0 ? kPlugCategSynth : kPlugCategUnknown;
}
