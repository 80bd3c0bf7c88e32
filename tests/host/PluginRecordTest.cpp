#include "tests/support/Rows.h"
#include "tests/support/TestHost.h"

#include <iomanip>

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
    const std::string untouched(512, '#');
    const Plugin plugin;
    hostCalls.clear();
    forEachRow("answers.txt", [&](std::istream& fields) {
        VstInt32 opcode = 0;
        VstIntPtr answer = 0;
        std::string text, buffer = untouched;
        fields >> opcode >> answer >> std::quoted(text);
        plugin.setProgram(2);
        EXPECT_EQ(plugin.dispatch(opcode, 1, 2, buffer.data(), 48000.0f), answer);
        if (opcode != effGetParameterProperties) {
            EXPECT_EQ(buffer.c_str(), text == "-" ? untouched : text);
        }
    });
    EXPECT_TRUE(hostCalls.empty());

    void* slots[] = {&slots, &slots};
    EXPECT_EQ(plugin.dispatch(effGetSpeakerArrangement, 0, reinterpret_cast<VstIntPtr>(&slots[0]), &slots[1]),
              0);
    EXPECT_TRUE(slots[0] == nullptr && slots[1] == nullptr);
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
TEST(PluginRecord, AnswersThroughTheTableAlone)
{
    const Plugin plugin;
    plugin.call<void, void*>(slot::setListner, nullptr);
    plugin.call<void>(slot::setTime, 1.5f);
    plugin.dispatch(effSetBlockSize, 0, 333);
    EXPECT_EQ(plugin.call<VstInt32>(slot::getBlockSize), 333);
    plugin.call<void>(slot::setBlockSizeAndSampleRate, VstInt32{64}, 32000.0f);
    EXPECT_EQ(plugin.call<VstInt32>(slot::getBlockSize), 64);
    EXPECT_EQ(plugin.call<float>(slot::getSampleRate), 32000.0f);
    forEachRow("table-answers.txt", [&](std::istream& fields) {
        VstInt32 slot = 0, bits = 0, expected = 0;
        fields >> slot >> bits >> expected;
        const auto answer = static_cast<VstInt32>(plugin.call<VstIntPtr>(slot, VstIntPtr{5}, VstIntPtr{5}));
        EXPECT_EQ(bits == 8 ? answer & 0xFF : answer, expected);
    });
}

// What the helpers of the effect write over "untouched 0123456"; the durations are at the base's 44.1 kHz.
TEST(PluginRecord, ShowsNumbersGainsPeriodsAndDurationsInTheSpaceGiven)
{
    const Plugin plugin;
    forEachRow("value-texts.txt", [&](std::istream& fields) {
        VstInt32 slot = 0, length = 0;
        std::string value, expected;
        fields >> slot >> value >> length >> std::quoted(expected);
        char buffer[] = "untouched 0123456";
        if (slot == slot::int2string)
            plugin.call<void>(slot, VstInt32{std::stoi(value)}, buffer, length);
        else
            plugin.call<void>(slot, std::stof(value), buffer, length);
        EXPECT_EQ(buffer, expected);
        EXPECT_STREQ(buffer + length + 1, &"untouched 0123456"[length + 1]);
    });
}
