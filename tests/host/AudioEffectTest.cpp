#include "host/AEffEditor.h"
#include "host/CanDos.h"
#include "host/K_TypeBase.h"
#include "tests/support/Rows.h"
#include "tests/support/TableSlots.h"
#include "tests/support/TestHost.h"

#include <gtest/gtest.h>

#include <cmath>

namespace
{

std::string events;  // what the host made the effect and its editor do

// The base classes' defaults.
class BareEffect : public K_TypeBase
{
public:
    BareEffect() : K_TypeBase(hostCallback, 3, 2) { events.clear(); }
    ~BareEffect() override { events += " end"; }

    void processReplacing(float**, float**, VstInt32 n) override { events += "single" + std::to_string(n); }
    void processDoubleReplacing(double**, double**, VstInt32 n) override
    {
        events += "double" + std::to_string(n);
    }
    void __processDeprecated(float**, float**, VstInt32 n) override { events += "add" + std::to_string(n); }
    void close() override { events += " close"; }
    VstInt32 canDo(char*) override { return canDoAnswer; }

    VstInt32 canDoAnswer = 0;
};

class Window : public AEffEditor
{
public:
    explicit Window(bool toAnswer) : answer(toAnswer) {}
    ~Window() override { events += " gone"; }

    bool getRect(ERect** rect) override
    {
        *rect = &bounds;
        return answer;
    }
    bool open(void* parent) override { return parent == &bounds && answer; }
    void close() override { events += " closed"; }
    void idle() override { events += " idle"; }
    bool onKeyDown(VstKeyCode& key) override { return note('v', key); }
    bool onKeyUp(VstKeyCode& key) override { return note('^', key); }
    bool setKnobMode(VstInt32 mode) override { return mode == 2 && answer; }

    ERect bounds{};

private:
    bool note(char direction, const VstKeyCode& key)
    {
        for (const int part : {key.character, VstInt32{key.virt}, VstInt32{key.modifier}})
            events += direction + std::to_string(part);
        return answer;
    }

    bool answer;
};

}  // namespace

TEST(AudioEffect, ForwardsEveryFunctionOfTheRecordToItsOperation)
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
    EXPECT_EQ(effect->getNumOfInSig(5), 2);
    char text[] = "untouched";
    effect->getParameterDisplayOf(0, 1.0f, text);
    EXPECT_STREQ(text, "untouched");
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
        EXPECT_EQ(std::pair(effect->getSampleRate(), effect->getBlockSize()), std::pair(96000.0f, 333));
        plugin.call<void>(slot::setBlockSizeAndSampleRate, VstInt32{64}, 32000.0f);
        EXPECT_EQ(std::pair(effect->getSampleRate(), effect->getBlockSize()), std::pair(32000.0f, 64));
    }
    EXPECT_EQ(events, "add1single2double3 close end");
    AEffect* const other = (new BareEffect)->getAeffect();
    EXPECT_EQ(other->dispatcher(other, effClose, 0, 0, nullptr, 0.0f), 1);
}

// A key code takes the low bytes of value and of opt; an opt that is NaN or beyond 32 bits counts as 0.
TEST(AudioEffect, ForwardsRequestsToItsEditorAndDeletesIt)
{
    const VstInt32 questions[] = {effEditGetRect, effEditOpen, effEditKeyDown, effEditKeyUp,
                                  effSetEditKnobMode};
    for (const bool answer : {true, false}) {
        auto* const effect = new BareEffect;
        auto* const window = new Window(answer);
        {
            const Plugin plugin(effect->getAeffect());
            const auto ask = [&](VstInt32 opcode) {
                ERect* rect = nullptr;
                void* const ptr = opcode == effEditGetRect ? static_cast<void*>(&rect) : &window->bounds;
                const VstIntPtr value = opcode == effSetEditKnobMode ? 2 : 0x1FE;
                const VstIntPtr result = plugin.dispatch(opcode, 'k', value, ptr, 515.9f);
                EXPECT_TRUE(rect == nullptr || rect == &window->bounds);
                return result;
            };
            for (const VstInt32 opcode : questions)
                EXPECT_EQ(ask(opcode), 0) << opcode;
            effect->setEditor(window);
            EXPECT_EQ(plugin.record->flags, 16 | 1);
            EXPECT_EQ(plugin.call<AEffEditor*>(slot::getEditor), window);
            for (const VstInt32 opcode : questions)
                EXPECT_EQ(ask(opcode), answer) << opcode;
            for (const float modifier : {-1.0f, 1e20f, NAN})
                plugin.dispatch(effEditKeyUp, 0, 0, nullptr, modifier);
            EXPECT_EQ(plugin.dispatch(effEditIdle) + plugin.dispatch(effEditClose), 0);
            effect->setEditor(nullptr);
            EXPECT_EQ(plugin.record->flags, 16);
            effect->setEditor(window);
        }
        EXPECT_EQ(events, "v107v254v3^107^254^3^0^0^255^0^0^0^0^0^0 idle closed close end gone");
    }
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
    EXPECT_EQ(static_cast<int>(effect.getPlugCategory()), 0);
    effect.isSynth();
    EXPECT_TRUE(eventsWanted());
    EXPECT_EQ(static_cast<int>(effect.getPlugCategory()), 2);
    for (hostAnswer = 2; hostAnswer > 0; --hostAnswer)
        EXPECT_EQ(effect.sendVstEventsToHost(nullptr), hostAnswer == 1);
    hostAnswer = 1;
}

TEST(AudioEffectX, NamesCapabilitiesAsTheInterfaceDoes)
{
    namespace H = HostCanDos;
    namespace P = PlugCanDos;
    // clang-format off
    const std::vector<std::string> names{
        H::canDoSendVstEvents, H::canDoSendVstMidiEvent, H::canDoSendVstTimeInfo,
        H::canDoReceiveVstEvents, H::canDoReceiveVstMidiEvent, H::canDoReportConnectionChanges,
        H::canDoAcceptIOChanges, H::canDoSizeWindow, H::canDoOffline, H::canDoOpenFileSelector,
        H::canDoCloseFileSelector, H::canDoStartStopProcess, H::canDoShellCategory,
        H::canDoSendVstMidiEventFlagIsRealtime, P::canDoSendVstEvents, P::canDoSendVstMidiEvent,
        P::canDoReceiveVstEvents, P::canDoReceiveVstMidiEvent, P::canDoReceiveVstTimeInfo,
        P::canDoOffline, P::canDoMidiProgramNames, P::canDoBypass};
    // clang-format on
    std::vector<std::string> expected;
    forEachRow("can-dos.txt", [&](std::istringstream& fields) { expected.push_back(fields.str()); });
    EXPECT_EQ(names, expected);
}
