#include "effect/Wail.h"

#include <gtest/gtest.h>

#include <array>
#include <bit>

namespace
{

// The places of virtual operations in their objects' table. A pointer to one holds the offset there, and one
// bit that says so, in its first word or (AArch64) its second.
template <typename... Operations>
std::vector<std::size_t> placesOf(Operations... operations)
{
    return {(std::bit_cast<std::array<std::uintptr_t, 2>>(operations)[0] & ~std::uintptr_t{1}) /
            sizeof(void*)...};
}

}  // namespace

// The vendor's host calls operations by their place: the two destructors, then this order.
TEST(VirtualTable, HoldsEveryOperationInItsPlace)
{
    using A = AudioEffect;
    using X = AudioEffectX;
    using K = K_TypeBase;
    // clang-format off
    const std::vector<std::size_t> places = placesOf(
        &A::dispatcher, &A::open, &A::close, &A::suspend, &A::resume, &A::setSampleRate, &A::setBlockSize,
        &A::processReplacing, &A::processDoubleReplacing, &A::setParameter, &A::getParameter,
        &A::setParameterAutomated, &A::getProgram, &A::setProgram, &A::setProgramName, &A::getProgramName,
        &A::getParameterLabel, &A::getParameterDisplay, &A::getParameterName, &A::getChunk, &A::setChunk,
        &A::setUniqueID, &A::setNumInputs, &A::setNumOutputs, &A::canProcessReplacing, &A::canDoubleReplacing,
        &A::programsAreChunks, &A::setInitialDelay, &A::getEditor, &A::getAeffect, &A::getSampleRate,
        &A::getBlockSize, &A::getMasterVersion, &A::getCurrentUniqueId, &A::masterIdle, &A::isInputConnected,
        &A::isOutputConnected, &A::dB2string, &A::Hz2string, &A::ms2string, &A::float2string, &A::int2string,
        &A::__processDeprecated, &A::__getVuDeprecated, &A::__hasVuDeprecated, &A::__hasClipDeprecated,
        &A::__canMonoDeprecated, &A::__setRealtimeQualitiesDeprecated, &A::__setOfflineQualitiesDeprecated,

        &X::canParameterBeAutomated, &X::string2parameter, &X::getParameterProperties, &X::beginEdit, &X::endEdit,
        &X::getProgramNameIndexed, &X::beginSetProgram, &X::endSetProgram, &X::beginLoadBank, &X::beginLoadProgram,
        &X::ioChanged, &X::updateSampleRate, &X::updateBlockSize, &X::getInputLatency, &X::getOutputLatency,
        &X::getInputProperties, &X::getOutputProperties, &X::setSpeakerArrangement, &X::getSpeakerArrangement,
        &X::setBypass, &X::setPanLaw, &X::setProcessPrecision, &X::getNumMidiInputChannels,
        &X::getNumMidiOutputChannels, &X::getTimeInfo, &X::getCurrentProcessLevel, &X::getAutomationState,
        &X::processEvents, &X::startProcess, &X::stopProcess, &X::processVariableIo, &X::setTotalSampleToProcess,
        &X::getHostVendorString, &X::getHostProductString, &X::getHostVendorVersion, &X::hostVendorSpecific,
        &X::canHostDo, &X::getHostLanguage, &X::isSynth, &X::noTail, &X::getGetTailSize, &X::getDirectory,
        &X::getEffectName, &X::getVendorString, &X::getProductString, &X::getVendorVersion, &X::vendorSpecific,
        &X::canDo, &X::getVstVersion, &X::getPlugCategory, &X::getMidiProgramName, &X::getCurrentMidiProgram,
        &X::getMidiProgramCategory, &X::hasMidiProgramsChanged, &X::getMidiKeyName, &X::updateDisplay, &X::sizeWindow,
        &X::openFileSelector, &X::closeFileSelector, &X::getNextShellPlugin, &X::allocateArrangement,
        &X::deallocateArrangement, &X::copySpeaker, &X::matchArrangement, &X::offlineRead, &X::offlineWrite,
        &X::offlineStart, &X::offlineGetCurrentPass, &X::offlineGetCurrentMetaPass, &X::offlineNotify,
        &X::offlinePrepare, &X::offlineRun, &X::offlineGetNumPasses, &X::offlineGetNumMetaPasses,
        &X::__wantEventsDeprecated, &X::__tempoAtDeprecated, &X::__getNumAutomatableParametersDeprecated,
        &X::__getParameterQuantizationDeprecated, &X::__getNumCategoriesDeprecated, &X::__copyProgramDeprecated,
        &X::__needIdleDeprecated, &X::__getPreviousPlugDeprecated, &X::__getNextPlugDeprecated,
        &X::__inputConnectedDeprecated, &X::__outputConnectedDeprecated, &X::__willProcessReplacingDeprecated,
        &X::__wantAsyncOperationDeprecated, &X::__hasExternalBufferDeprecated, &X::__reportCurrentPositionDeprecated,
        &X::__reportDestinationBufferDeprecated, &X::__setOutputSamplerateDeprecated,
        &X::__getInputSpeakerArrangementDeprecated, &X::__getOutputSpeakerArrangementDeprecated,
        &X::__openWindowDeprecated, &X::__closeWindowDeprecated, &X::__setBlockSizeAndSampleRateDeprecated,
        &X::__getErrorTextDeprecated, &X::__getIconDeprecated, &X::__setViewPositionDeprecated, &X::__fxIdleDeprecated,
        &X::__keysRequiredDeprecated, &X::__getChunkFileDeprecated,

        &K::getNumOfInJacks, &K::getNumOfOutJacks, &K::getNumOfInSig, &K::getNumOfOutSig, &K::getStartNumInSig,
        &K::getStartNumOutSig, &K::getDryInSigNum, &K::setListner, &K::getParameterDisplayOf, &K::getHeaderVersion,
        &K::setTime, &Wail::setInvert);
    // clang-format on
    for (std::size_t i = 0; i < places.size(); ++i)
        EXPECT_EQ(places[i], i + 2);
    EXPECT_EQ(places.size() + 2, 165u);
}
