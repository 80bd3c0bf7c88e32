#include "host/K_TypeBase.h"
#include "tests/support/TestHost.h"

#include <gtest/gtest.h>

#include <map>

namespace
{

// The base classes as they are, and what the host made them do.
class BareEffect : public K_TypeBase
{
public:
    BareEffect() : K_TypeBase(hostCallback, 3, 2) { log.clear(); }
    ~BareEffect() override { log += " end"; }

    void processReplacing(float**, float**, VstInt32 n) override { log += "single" + std::to_string(n); }
    void processDoubleReplacing(double**, double**, VstInt32 n) override
    {
        log += "double" + std::to_string(n);
    }
    void __processDeprecated(float**, float**, VstInt32 n) override { log += "add" + std::to_string(n); }
    void close() override { log += " close"; }
    VstInt32 canDo(char*) override { return canDoAnswer; }

    VstInt32 canDoAnswer = 0;
    static inline std::string log;
};

}  // namespace

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

TEST(PluginRecord, AnswersEveryOpcodeAndWritesOnlyWhereOneAsksForIt)
{
    const std::map<VstInt32, VstIntPtr> answers{{3, 2},     {22, 0x4E764566}, {26, 1}, {29, 1},    {35, 1},
                                                {45, 1},    {47, 1},          {48, 1}, {49, 1000}, {56, 1},
                                                {58, 2400}, {63, -1},         {73, 2}};
    const std::map<VstInt32, std::string> texts{{5, "Init 3"},
                                                {6, ""},
                                                {7, " 8.42"},
                                                {8, "Sense"},
                                                {29, "Init"},
                                                {45, "Wail"},
                                                {47, "KORVA Corporation"},
                                                {48, "Wail"}};
    const std::string untouched(512, '#');
    const Plugin plugin;
    hostCalls.clear();
    for (VstInt32 opcode = -1; opcode <= 80; ++opcode) {
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
    for (VstInt32 opcode = 2; opcode <= 80; ++opcode)
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

TEST(AudioEffect, TurnsEveryEntryOfTheRecordIntoItsOperation)
{
    auto* const effect = new BareEffect;
    AEffect* const record = effect->getAeffect();
    EXPECT_EQ((std::vector{record->uniqueID, record->numPrograms, record->numParams, record->numInputs,
                           record->numOutputs, record->flags}),
              (std::vector{0x4E6F4566, 3, 2, 1, 2, 16}));
    record->process(record, nullptr, nullptr, 1);
    record->processReplacing(record, nullptr, nullptr, 2);
    record->processDoubleReplacing(record, nullptr, nullptr, 3);
    EXPECT_EQ(record->getParameter(record, 0), 0.0f);
    {
        const Plugin plugin(record);
        for (const VstInt32 opcode :
             {effGetProgramName, effGetParamLabel, effGetParamDisplay, effGetParamName})
            EXPECT_EQ(plugin.text(opcode), "");
        for (const VstIntPtr program : {2, -1, 3})
            plugin.dispatch(effSetProgram, 0, program);
        EXPECT_EQ(plugin.dispatch(effGetProgram), 2);
        plugin.setRate(96000.0f);
        plugin.dispatch(effSetBlockSize, 0, 333);
        EXPECT_EQ(effect->getSampleRate(), 96000.0f);
        EXPECT_EQ(effect->getBlockSize(), 333);
    }
    EXPECT_EQ(BareEffect::log, "add1single2double3 close end");
    AEffect* const other = (new BareEffect)->getAeffect();
    EXPECT_EQ(other->dispatcher(other, effClose, 0, 0, nullptr, 0.0f), 1);
}

TEST(PluginRecord, TakesWhatTheSettersInTheTableGiveIt)
{
    const Plugin plugin;
    AEffect& r = *plugin.record;
    const std::pair<int, VstInt32> flags[] = {{47, 2},   {46, 4},   {48, 8},     {26, 16},    {28, 32},
                                              {89, 256}, {90, 512}, {137, 1024}, {138, 2048}, {27, 4096}};
    r.flags = 0;
    for (const auto& [slot, flag] : flags) {
        plugin.call<void>(slot, true);
        EXPECT_EQ(r.flags, flag);
        plugin.call<void>(slot, false);
        EXPECT_EQ(r.flags, 0);
    }
    for (const int slot : {23, 24, 25, 29, 49, 50})
        plugin.call<void>(slot, slot);
    EXPECT_EQ(
        (std::vector{r.uniqueID, r.numInputs, r.numOutputs, r.initialDelay, r.realQualities, r.offQualities}),
        (std::vector{23, 24, 25, 29, 49, 50}));
}

TEST(AudioEffectX, AsksForMidiEventsOnlyAsASynthOrWhenItCanReceiveThem)
{
    BareEffect effect;
    const auto eventsWanted = [&effect] {
        hostCalls.clear();
        effect.AudioEffectX::resume();
        return hostCalls == std::vector<HostCall>{{effect.getAeffect(), audioMasterWantMidi, 0, 1}};
    };
    for (const VstInt32 answer : {0, -1, 1}) {
        effect.canDoAnswer = answer;
        EXPECT_EQ(eventsWanted(), answer == 1) << answer;
    }
    effect.canDoAnswer = 0;
    effect.isSynth();
    EXPECT_TRUE(eventsWanted());
    EXPECT_EQ(effect.getPlugCategory(), kPlugCategSynth);
    for (hostAnswer = 2; hostAnswer > 0; --hostAnswer)
        EXPECT_EQ(effect.sendVstEventsToHost(nullptr), hostAnswer == 1);
    hostAnswer = 1;
}

TEST(K_TypeBase, TellsJacksSignalsAndItsVersion)
{
    BareEffect base;
    const Plugin plugin;
    char text[] = "untouched";
    base.getParameterDisplayOf(0, 1.0f, text);
    EXPECT_STREQ(text, "untouched");
    EXPECT_EQ(base.getNumOfInSig(5), 2);
    const VstInt32 answers[] = {1, 1, 1, 1, 0, 0, -1};
    for (int i = 0; i < 7; ++i)
        EXPECT_EQ((plugin.call<VstInt32, VstInt32>(153 + i, 5)), answers[i]) << i;
    plugin.call<void, void*>(160, nullptr);  // setListner
    plugin.call<void, float>(163, 1.5f);     // setTime
    EXPECT_EQ(plugin.call<VstInt32>(162), 1);
}
