#pragma once

// The vendor's host calls the effect's virtual operations by their slot in the object's table. These are the ones
// that the tests' code names; tables of the tests have more.
namespace slot
{
// clang-format off
enum Slot : int {
    none = -1, deleteObject = 1, dispatcher = 2, close = 4, suspend = 5, resume = 6, processReplacing = 9,
    processDoubleReplacing = 10, setParameter = 11, getParameter = 12, setParameterAutomated = 13,
    setProgram = 15, setUniqueID = 23, setNumInputs = 24, setNumOutputs = 25, setInitialDelay = 29,
    getEditor = 30, getAeffect = 31, getSampleRate = 32, getBlockSize = 33, getMasterVersion = 34,
    int2string = 43, process = 44, setRealtimeQualities = 49, setOfflineQualities = 50,
    updateSampleRate = 62, updateBlockSize = 63, hostVendorSpecific = 86, canDo = 98,
    openFileSelector = 108, closeFileSelector = 109, allocateArrangement = 111, deallocateArrangement = 112,
    copySpeaker = 113, matchArrangement = 114, wantEvents = 125, setOutputSamplerate = 141,
    setBlockSizeAndSampleRate = 146, getChunkFile = 152, setListner = 160, getParameterDisplayOf = 161,
    setTime = 163, setInvert = 164
};
// clang-format on
}  // namespace slot
