#include "tests/support/Rows.h"
#include "tests/support/TableSlots.h"
#include "tests/support/TestHost.h"

#include <gtest/gtest.h>

#include <map>

TEST(PluginRecord, CarriesTheIdentityThatHostsLookFor)
{
    const Plugin plugin;
    const AEffect& r = *plugin.record;
    EXPECT_EQ((std::vector{r.magic, r.uniqueID, r.numPrograms, r.numParams, r.numInputs, r.numOutputs,
                           r.flags, r.version, r.initialDelay, r.realQualities, r.offQualities}),
              (std::vector{0x56737450, 0x5741494C, 16, 7, 1, 1, 4112, 1, 0, 0, 0}));
    EXPECT_EQ(r.ioRatio, 1.0f);
    EXPECT_EQ(r.resvd1 | r.resvd2, 0);
    EXPECT_EQ(r.user, nullptr);
    EXPECT_EQ(std::string(r.future, sizeof r.future), std::string(56, '\0'));
}

TEST(PluginRecord, AnswersEveryOpcodeAndWritesOnlyTextsThatWereAskedFor)
{
    // clang-format off
    const std::map<VstInt32, VstIntPtr> answers{
        {effGetProgram, 2}, {effIdentify, 0x4E764566}, {effCanBeAutomated, 1}, {effGetProgramNameIndexed, 1},
        {effGetPlugCategory, 1}, {effGetEffectName, 1}, {effGetVendorString, 1}, {effGetProductString, 1},
        {effGetVendorVersion, 1000}, {effGetParameterProperties, 1}, {effGetVstVersion, 2400},
        {effGetCurrentMidiProgram, -1}, {effSetTotalSampleToProcess, 2}};
    const std::map<VstInt32, std::string> texts{
        {effGetProgramName, "Init 3"}, {effGetParamLabel, ""}, {effGetParamDisplay, " 8.42"},
        {effGetParamName, "Sense"}, {effGetProgramNameIndexed, "Init"}, {effGetEffectName, "Wail"},
        {effGetVendorString, "KORVA Corporation"}, {effGetProductString, "Wail"}};
    // clang-format on
    const std::string untouched(512, '#');
    const Plugin plugin;
    hostCalls.clear();
    for (VstInt32 opcode = -1; opcode <= effGetNumMidiOutputChannels + 1; ++opcode) {
        if (opcode == effClose || opcode == effSetProgramName || opcode == effGetSpeakerArrangement)
            continue;
        SCOPED_TRACE(opcode);
        plugin.dispatch(effSetProgram, 0, 2);
        std::string buffer = untouched;
        const VstIntPtr answer = plugin.dispatch(opcode, 1, 2, buffer.data(), 48000.0f);
        EXPECT_EQ(answer, answers.contains(opcode) ? answers.at(opcode) : 0);
        if (opcode != effGetParameterProperties) {
            EXPECT_EQ(buffer.c_str(), texts.contains(opcode) ? texts.at(opcode) : untouched);
        }
    }
    EXPECT_TRUE(hostCalls.empty());

    void* slots[] = {&slots, &slots};
    EXPECT_EQ(plugin.dispatch(effGetSpeakerArrangement, 0, reinterpret_cast<VstIntPtr>(&slots[0]), &slots[1]),
              0);
    EXPECT_EQ(slots[0], nullptr);
    EXPECT_EQ(slots[1], nullptr);
    for (VstInt32 opcode = effSetProgram; opcode <= effGetNumMidiOutputChannels; ++opcode)
        plugin.dispatch(opcode);  // null pointers are ignored
}

TEST(PluginRecord, LeavesSinglePrecisionBuffersAsTheyAre)
{
    const Plugin plugin;
    plugin.setRate(48000.0f);
    float sample = 0.25f;
    float* buffer = &sample;
    plugin.record->process(plugin.record, &buffer, &buffer, 1);
    plugin.record->processReplacing(plugin.record, &buffer, &buffer, 1);
    EXPECT_EQ(sample, 0.25f);
}

TEST(PluginRecord, HoldsWhatTheSettersInTheTableStore)
{
    const Plugin plugin;
    AEffect& r = *plugin.record;
    r.flags = 0;
    forEachRow("flags.txt", [&](std::istream& fields) {
        VstInt32 slot = 0, flag = 0;
        fields >> slot >> flag;
        plugin.call<void>(slot, true);
        EXPECT_EQ(r.flags, flag);
        plugin.call<void>(slot, false);
        EXPECT_EQ(r.flags, 0);
    });
    for (const VstInt32 slot : {slot::setUniqueID, slot::setNumInputs, slot::setNumOutputs,
                                slot::setInitialDelay, slot::setRealtimeQualities, slot::setOfflineQualities})
        plugin.call<void>(slot, slot);
    EXPECT_EQ(
        (std::vector{r.uniqueID, r.numInputs, r.numOutputs, r.initialDelay, r.realQualities, r.offQualities}),
        (std::vector{23, 24, 25, 29, 49, 50}));
}

// One jack each way with one signal, numbered from 0, and no dry input, also for a jack that does not exist.
TEST(PluginRecord, DescribesItsJacksThroughTheExtension)
{
    const Plugin plugin;
    plugin.call<void, void*>(slot::setListner, nullptr);
    plugin.call<void>(slot::setTime, 1.5f);
    std::vector<VstInt32> answers;
    for (const VstInt32 slot :
         {slot::getNumOfInJacks, slot::getNumOfOutJacks, slot::getNumOfInSig, slot::getNumOfOutSig,
          slot::getStartNumInSig, slot::getStartNumOutSig, slot::getDryInSigNum, slot::getHeaderVersion})
        answers.push_back(plugin.call<VstInt32>(slot, VstInt32{5}));
    EXPECT_EQ(answers, (std::vector{1, 1, 1, 1, 0, 0, -1, 1}));
}
