#include "host/K_TypeBase.h"
#include "tests/support/Rows.h"
#include "tests/support/TestHost.h"

#include <map>

namespace
{

using I = VstInt32;

// The base classes alone, without a host to call.
class BareEffect : public K_TypeBase
{
public:
    BareEffect() : K_TypeBase(nullptr, 3, 2) {}
    void processReplacing(float**, float**, VstInt32) override {}
};

// Makes every call to the host through its slot, as the vendor's host would, and checks what is sent and returned.
// answer: the host's. isSent: nothing may be sent otherwise, and the results are those for an answer of 0.
void callEverything(const Plugin& p, VstIntPtr answer, bool isSent)
{
    SCOPED_TRACE(answer);
    hostAnswer = answer;
    hostCalls.clear();
    const bool yes = answer != 0;
    const auto expect = [isSent](VstIntPtr result, VstIntPtr expected, HostCall sent) {
        SCOPED_TRACE(sent.opcode);
        EXPECT_EQ(result, expected);
        EXPECT_EQ(std::exchange(hostCalls, {}), std::vector(isSent ? 1 : 0, sent));
    };
    const auto wordOf = [](const std::string& text) {
        return text == "p" ? reinterpret_cast<VstIntPtr>(&hostCalls) : text == "-" ? 0 : std::stoi(text);
    };
    AEffect* const e = p.record;
    forEachRow("host-calls.txt", [&](std::istream& fields) {
        I slot = 0;
        std::string operation, a, b, c, ptr, kind;
        HostCall sent{e, 0};
        fields >> slot >> operation >> a >> b >> c >> sent.opcode >> sent.index >> sent.value >> ptr >> kind;
        sent.ptr = reinterpret_cast<void*>(wordOf(ptr));
        const auto result = p.call<VstIntPtr>(slot, wordOf(a), wordOf(b), wordOf(c));
        const std::map<std::string, std::pair<VstIntPtr, VstIntPtr>> results{
            {"word", {result, answer}},     {"number", {static_cast<I>(result), answer}},
            {"bool", {result & 0xFF, yes}}, {"1or0", {static_cast<I>(result), yes}},
            {"not", {result & 0xFF, !yes}}, {"void", {0, 0}}};
        const auto& [returned, expected] = results.at(kind);
        expect(returned, expected, sent);
    });
    const I size = p.call<I>(slot::getBlockSize);
    expect(p.call<VstIntPtr>(slot::hostVendorSpecific, I{4}, VstIntPtr{5}, e, 0.5f), answer,
           {e, audioMasterVendorSpecific, 4, 5, e, 0.5f});
    expect((p.call<void>(slot::setOutputSamplerate, 0.5f), 0), 0,
           {e, audioMasterSetOutputSampleRate, 0, 0, nullptr, 0.5f});
    expect((p.call<void>(slot::setParameterAutomated, I{2}, 0.125f), 0), 0,
           {e, audioMasterAutomate, 2, 0, nullptr, 0.125f});
    expect(p.call<I>(slot::getMasterVersion), yes ? answer : 1, {e, audioMasterVersion});
    expect(static_cast<VstIntPtr>(p.call<double>(slot::updateSampleRate)), answer > 0 ? answer : 44100,
           {e, audioMasterGetSampleRate});
    expect(p.call<I>(slot::updateBlockSize), answer > 0 ? answer : size, {e, audioMasterGetBlockSize});
    expect(static_cast<AudioEffectX*>(e->object)->sendVstEventsToHost(nullptr), answer == 1,
           {e, audioMasterProcessEvents});
    for (const int slot : {slot::openFileSelector, slot::closeFileSelector, slot::getChunkFile})
        EXPECT_FALSE(p.call<bool>(slot, static_cast<void*>(nullptr))) << slot;
    EXPECT_TRUE(hostCalls.empty());  // null is not sent
    hostAnswer = 1;
}

}  // namespace

TEST(HostCalls, SendTheirOpcodeWithTheirArgumentsAndReturnTheHostsAnswer)
{
    const Plugin plugin;
    for (const VstIntPtr answer : {7, 1, -1, 0})
        callEverything(plugin, answer, true);
    EXPECT_EQ(plugin.get(2), 0.125f);  // automation sets the parameter too
    hostAnswer = static_cast<VstIntPtr>(std::int64_t{1} << 32);
    EXPECT_EQ(plugin.call<I>(slot::updateBlockSize), 1);  // which 32 bits do not hold
    hostAnswer = 1;
}

// Of the base classes, the defaults that Wail does not have.
TEST(HostCalls, AreNotMadeWithoutACallback)
{
    auto* const effect = new BareEffect;
    const Plugin plugin(effect->getAeffect());
    const AEffect& r = *plugin.record;
    EXPECT_EQ((std::vector{r.uniqueID, r.numPrograms, r.numParams, r.numInputs, r.numOutputs, r.flags}),
              (std::vector{0x4E6F4566, 3, 2, 1, 2, 16}));
    EXPECT_EQ(plugin.call<I>(slot::getBlockSize), 1024);
    EXPECT_EQ(effect->getNumOfInSig(5), 2);
    EXPECT_EQ(plugin.dispatch(effGetPlugCategory), 0);
    effect->isSynth();
    EXPECT_EQ(plugin.dispatch(effGetPlugCategory), 2);
    callEverything(plugin, 0, false);
}
