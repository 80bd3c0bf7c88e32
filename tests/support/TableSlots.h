#pragma once

// The vendor's host calls the effect's virtual operations by their slot in the object's table. These are the ones
// that the tests' code names; tables of the tests have more.
namespace slot
{
// clang-format off
enum Slot : int {
    dispatcher = 2, suspend = 5, setParameterAutomated = 13, setProgram = 15, setUniqueID = 23,
    setNumInputs = 24, setNumOutputs = 25, setInitialDelay = 29, getEditor = 30, getAeffect = 31,
    getBlockSize = 33, getMasterVersion = 34, int2string = 43, setRealtimeQualities = 49,
    setOfflineQualities = 50, updateSampleRate = 62, updateBlockSize = 63, hostVendorSpecific = 86,
    openFileSelector = 108, closeFileSelector = 109, allocateArrangement = 111, deallocateArrangement = 112,
    copySpeaker = 113, matchArrangement = 114, setOutputSamplerate = 141, setBlockSizeAndSampleRate = 146,
    getChunkFile = 152, getNumOfInJacks = 153, getNumOfOutJacks = 154, getNumOfInSig = 155,
    getNumOfOutSig = 156, getStartNumInSig = 157, getStartNumOutSig = 158, getDryInSigNum = 159,
    setListner = 160, getParameterDisplayOf = 161, getHeaderVersion = 162, setTime = 163, count = 165
};
// clang-format on
}  // namespace slot
