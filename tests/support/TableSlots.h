#pragma once

// The vendor's host calls the effect's virtual operations by their slot in the object's table: the two destructors,
// then AudioEffect, AudioEffectX, K_TypeBase and the effect.
namespace slot
{
// clang-format off
enum Slot : int {
    dispatcher = 2, open, close, suspend, resume, setSampleRate, setBlockSize, processReplacing,
    processDoubleReplacing, setParameter, getParameter, setParameterAutomated, getProgram, setProgram,
    setProgramName, getProgramName, getParameterLabel, getParameterDisplay, getParameterName, getChunk, setChunk,
    setUniqueID, setNumInputs, setNumOutputs, canProcessReplacing, canDoubleReplacing, programsAreChunks,
    setInitialDelay, getEditor, getAeffect, getSampleRate, getBlockSize, getMasterVersion, getCurrentUniqueId,
    masterIdle, isInputConnected, isOutputConnected, dB2string, Hz2string, ms2string, float2string, int2string,
    process, getVu, hasVu, hasClip, canMono, setRealtimeQualities, setOfflineQualities,

    canParameterBeAutomated, string2parameter, getParameterProperties, beginEdit, endEdit, getProgramNameIndexed,
    beginSetProgram, endSetProgram, beginLoadBank, beginLoadProgram, ioChanged, updateSampleRate, updateBlockSize,
    getInputLatency, getOutputLatency, getInputProperties, getOutputProperties, setSpeakerArrangement,
    getSpeakerArrangement, setBypass, setPanLaw, setProcessPrecision, getNumMidiInputChannels,
    getNumMidiOutputChannels, getTimeInfo, getCurrentProcessLevel, getAutomationState, processEvents, startProcess,
    stopProcess, processVariableIo, setTotalSampleToProcess, getHostVendorString, getHostProductString,
    getHostVendorVersion, hostVendorSpecific, canHostDo, getHostLanguage, isSynth, noTail, getGetTailSize,
    getDirectory, getEffectName, getVendorString, getProductString, getVendorVersion, vendorSpecific, canDo,
    getVstVersion, getPlugCategory, getMidiProgramName, getCurrentMidiProgram, getMidiProgramCategory,
    hasMidiProgramsChanged, getMidiKeyName, updateDisplay, sizeWindow, openFileSelector, closeFileSelector,
    getNextShellPlugin, allocateArrangement, deallocateArrangement, copySpeaker, matchArrangement, offlineRead,
    offlineWrite, offlineStart, offlineGetCurrentPass, offlineGetCurrentMetaPass, offlineNotify, offlinePrepare,
    offlineRun, offlineGetNumPasses, offlineGetNumMetaPasses, wantEvents, tempoAt, getNumAutomatableParameters,
    getParameterQuantization, getNumCategories, copyProgram, needIdle, getPreviousPlug, getNextPlug, inputConnected,
    outputConnected, willProcessReplacing, wantAsyncOperation, hasExternalBuffer, reportCurrentPosition,
    reportDestinationBuffer, setOutputSamplerate, getInputSpeakerArrangement, getOutputSpeakerArrangement,
    openWindow, closeWindow, setBlockSizeAndSampleRate, getErrorText, getIcon, setViewPosition, fxIdle,
    keysRequired, getChunkFile,

    getNumOfInJacks, getNumOfOutJacks, getNumOfInSig, getNumOfOutSig, getStartNumInSig, getStartNumOutSig,
    getDryInSigNum, setListner, getParameterDisplayOf, getHeaderVersion, setTime,

    setInvert, count
};
// clang-format on
static_assert(setOfflineQualities == 50 && getChunkFile == 152 && setTime == 163 && count == 165);
}  // namespace slot
