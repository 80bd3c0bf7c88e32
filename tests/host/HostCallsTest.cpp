#include "host/K_TypeBase.h"
#include "tests/support/TableSlots.h"
#include "tests/support/TestHost.h"

#include <gtest/gtest.h>

namespace
{

using I = VstInt32;

// An effect that has no host to call.
class Hostless : public K_TypeBase
{
public:
    Hostless() : K_TypeBase(nullptr, 1, 7) {}
    void processReplacing(float**, float**, VstInt32) override {}
};

// Makes every call to the host through its slot, as the vendor's host would, and checks what is sent and returned.
// answer: the host's. isSent: nothing may be sent otherwise, and the results are those for an answer of 0.
void callEverything(const Plugin& p, VstIntPtr answer, bool isSent)
{
    struct Row {
        slot::Slot slot;
        I opcode;
    };
    AEffect* const e = p.record;
    void* const at = &hostCalls;
    const bool yes = answer != 0;
    const auto expect = [isSent](VstIntPtr result, VstIntPtr expected, HostCall sent) {
        EXPECT_EQ(result, expected) << "opcode " << sent.opcode;
        EXPECT_EQ(hostCalls, isSent ? std::vector{sent} : std::vector<HostCall>{})
            << "opcode " << sent.opcode;
        hostCalls.clear();
    };
    hostAnswer = answer;
    hostCalls.clear();
    for (const auto& [slot, opcode] :
         {Row{slot::getCurrentUniqueId, audioMasterCurrentId},
          {slot::getInputLatency, audioMasterGetInputLatency},
          {slot::getOutputLatency, audioMasterGetOutputLatency},
          {slot::getCurrentProcessLevel, audioMasterGetCurrentProcessLevel},
          {slot::getAutomationState, audioMasterGetAutomationState},
          {slot::getHostVendorVersion, audioMasterGetVendorVersion},
          {slot::getHostLanguage, audioMasterGetLanguage},
          {slot::getNumAutomatableParameters, audioMasterGetNumAutomatableParameters},
          {slot::getParameterQuantization, audioMasterGetParameterQuantization},
          {slot::willProcessReplacing, audioMasterWillReplaceOrAccumulate}})
        expect(p.call<I>(slot), answer, {e, opcode});
    for (const auto& [slot, opcode] :
         {Row{slot::getDirectory, audioMasterGetDirectory},
          {slot::getInputSpeakerArrangement, audioMasterGetInputSpeakerArrangement},
          {slot::getOutputSpeakerArrangement, audioMasterGetOutputSpeakerArrangement},
          {slot::getPreviousPlug, audioMasterGetPreviousPlug},  // whose argument is not sent
          {slot::getNextPlug, audioMasterGetNextPlug}})
        expect(p.call<VstIntPtr>(slot, I{4}), answer, {e, opcode});
    for (const auto& [slot, opcode] : {Row{slot::ioChanged, audioMasterIOChanged},
                                       {slot::updateDisplay, audioMasterUpdateDisplay},
                                       {slot::needIdle, audioMasterNeedIdle}})
        expect(p.call<bool>(slot), yes, {e, opcode});
    for (const auto& [slot, opcode] :
         {Row{slot::offlineGetCurrentPass, audioMasterOfflineGetCurrentPass},
          {slot::offlineGetCurrentMetaPass, audioMasterOfflineGetCurrentMetaPass}})
        expect(p.call<I>(slot), yes, {e, opcode});
    for (const auto& [slot, opcode] : {Row{slot::getHostVendorString, audioMasterGetVendorString},
                                       {slot::getHostProductString, audioMasterGetProductString},
                                       {slot::closeWindow, audioMasterCloseWindow}})
        expect(p.call<bool>(slot, at), yes, {e, opcode, 0, 0, at});
    for (const auto& [slot, opcode] : {Row{slot::openFileSelector, audioMasterOpenFileSelector},
                                       {slot::closeFileSelector, audioMasterCloseFileSelector},
                                       {slot::getChunkFile, audioMasterGetChunkFile}}) {
        expect(p.call<bool>(slot, at), yes, {e, opcode, 0, 0, at});
        EXPECT_FALSE(p.call<bool>(slot, static_cast<void*>(nullptr)));
        EXPECT_TRUE(hostCalls.empty());  // null is not sent
    }
    expect(p.call<bool>(slot::beginEdit, I{4}), yes, {e, audioMasterBeginEdit, 4});
    expect(p.call<bool>(slot::endEdit, I{4}), yes, {e, audioMasterEndEdit, 4});
    expect(p.call<bool>(slot::isInputConnected, I{4}), !yes, {e, audioMasterPinConnected, 4, 0});
    expect(p.call<bool>(slot::isOutputConnected, I{4}), !yes, {e, audioMasterPinConnected, 4, 1});
    expect(p.call<VstIntPtr>(slot::getTimeInfo, I{5}), answer, {e, audioMasterGetTime, 0, 5});
    expect(p.call<I>(slot::tempoAt, I{5}), answer, {e, audioMasterTempoAt, 0, 5});
    expect(p.call<I>(slot::canHostDo, at), yes, {e, audioMasterCanDo, 0, 0, at});
    expect(p.call<VstIntPtr>(slot::openWindow, at), answer, {e, audioMasterOpenWindow, 0, 0, at});
    expect(p.call<bool>(slot::sizeWindow, I{4}, I{5}), yes, {e, audioMasterSizeWindow, 4, 5});
    expect(p.call<VstIntPtr>(slot::hostVendorSpecific, I{4}, VstIntPtr{5}, at, 0.5f), answer,
           {e, audioMasterVendorSpecific, 4, 5, at, 0.5f});
    expect(p.call<bool>(slot::offlineRead, at, I{5}, true), yes, {e, audioMasterOfflineRead, 1, 5, at});
    expect(p.call<bool>(slot::offlineWrite, at, I{5}), yes, {e, audioMasterOfflineWrite, 0, 5, at});
    expect(p.call<bool>(slot::offlineStart, at, I{5}, I{4}), yes, {e, audioMasterOfflineStart, 4, 5, at});
    expect((p.call<void>(slot::masterIdle), 0), 0, {e, audioMasterIdle});
    expect((p.call<void>(slot::wantEvents, I{5}), 0), 0, {e, audioMasterWantMidi, 0, 5});
    expect((p.call<void>(slot::setOutputSamplerate, 0.5f), 0), 0,
           {e, audioMasterSetOutputSampleRate, 0, 0, nullptr, 0.5f});
    expect((p.call<void>(slot::setParameterAutomated, I{2}, 0.125f), 0), 0,
           {e, audioMasterAutomate, 2, 0, nullptr, 0.125f});
    expect(p.call<I>(slot::getMasterVersion), yes ? answer : 1, {e, audioMasterVersion});
    expect(static_cast<VstIntPtr>(p.call<double>(slot::updateSampleRate)), answer > 0 ? answer : 44100,
           {e, audioMasterGetSampleRate});
    const I before = p.call<I>(slot::getBlockSize);
    expect(p.call<I>(slot::updateBlockSize), answer > 0 ? answer : before, {e, audioMasterGetBlockSize});
    hostAnswer = 1;
}

}  // namespace

TEST(HostCalls, SendTheirOpcodeWithTheirArgumentsAndReturnTheHostsAnswer)
{
    const Plugin plugin;
    for (const VstIntPtr answer : {7, 1, -1, 0}) {
        SCOPED_TRACE(answer);
        callEverything(plugin, answer, true);
    }
    EXPECT_EQ(plugin.get(2), 0.125f);  // automation sets the parameter too
    hostAnswer = static_cast<VstIntPtr>(std::int64_t{1} << 32);
    EXPECT_EQ(plugin.call<I>(slot::updateBlockSize), 1);  // which 32 bits do not hold
    hostAnswer = 1;
}

TEST(HostCalls, AreNotMadeWithoutACallback)
{
    const Plugin plugin((new Hostless)->getAeffect());
    EXPECT_EQ(plugin.call<I>(slot::getBlockSize), 1024);
    callEverything(plugin, 0, false);
}
