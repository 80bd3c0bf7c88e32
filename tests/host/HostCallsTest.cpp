#include "tests/support/TestHost.h"

#include <gtest/gtest.h>

// Through the slots, as the vendor's host reaches them. The host answers 7: as a truth value that is 1.
TEST(HostCalls, SendTheirOpcodeWithTheirArgumentsAndGiveTheHostsAnswer)
{
    using I = VstInt32;
    using Row = std::pair<int, I>;  // slot and opcode
    const Plugin p;
    AEffect* const e = p.record;
    void* const at = &hostCalls;
    const auto expect = [](VstIntPtr answer, VstIntPtr expected, HostCall sent) {
        EXPECT_EQ(answer, expected) << "opcode " << sent.opcode;
        EXPECT_EQ(hostCalls, std::vector{sent}) << "opcode " << sent.opcode;
        hostCalls.clear();
    };
    hostAnswer = 7;
    hostCalls.clear();
    const Row numbers[] = {{34, 1},  {35, 2},  {63, 17}, {64, 18},  {65, 19},  {76, 23},
                           {77, 24}, {85, 34}, {88, 38}, {127, 11}, {128, 12}, {136, 22}};
    const Row pointers[] = {{92, 41}, {142, 49}, {143, 31}};
    const Row bools[] = {{61, 13}, {106, 42}, {131, 14}};
    const Row boolsOfAPointer[] = {{83, 32}, {84, 33}, {108, 45}, {109, 46}, {145, 40}, {152, 48}};
    for (const auto& [slot, opcode] : numbers)
        expect(p.call<I>(slot), 7, {e, opcode});
    for (const auto& [slot, opcode] : pointers)
        expect(p.call<VstIntPtr>(slot), 7, {e, opcode});
    for (const auto& [slot, opcode] : bools)
        expect(p.call<bool>(slot), 1, {e, opcode});
    for (const auto& [slot, opcode] : {Row{118, 28}, {119, 29}})
        expect(p.call<I>(slot), 1, {e, opcode});
    for (const auto& [slot, opcode] : boolsOfAPointer)
        expect(p.call<bool>(slot, at), 1, {e, opcode, 0, 0, at});
    for (const auto& [slot, opcode] : {Row{54, 43}, {55, 44}})
        expect(p.call<bool>(slot, I{4}), 1, {e, opcode, 4});
    for (const auto& [slot, opcode] : {Row{132, 20}, {133, 21}})
        expect(p.call<VstIntPtr>(slot, I{4}), 7, {e, opcode});
    expect(p.call<bool>(37, I{4}), 0, {e, 4, 4, 0});  // an answer of 0 means connected
    expect(p.call<bool>(38, I{4}), 0, {e, 4, 4, 1});
    expect(p.call<VstIntPtr>(75, I{5}), 7, {e, 7, 0, 5});
    expect(p.call<I>(126, I{5}), 7, {e, 10, 0, 5});
    expect(p.call<I>(87, at), 1, {e, 37, 0, 0, at});
    expect(p.call<VstIntPtr>(144, at), 7, {e, 39, 0, 0, at});
    expect(p.call<bool>(107, I{4}, I{5}), 1, {e, 15, 4, 5});
    expect(p.call<VstIntPtr>(86, I{4}, VstIntPtr{5}, at, 0.5f), 7, {e, 35, 4, 5, at, 0.5f});
    expect(p.call<bool>(115, at, I{5}, true), 1, {e, 26, 1, 5, at});
    expect(p.call<bool>(116, at, I{5}), 1, {e, 27, 0, 5, at});
    expect(p.call<bool>(117, at, I{5}, I{4}), 1, {e, 25, 4, 5, at});
    expect(static_cast<VstIntPtr>(p.call<double>(62)), 7, {e, 16});
    expect((p.call<void>(36), 0), 0, {e, 3});
    expect((p.call<void>(125, I{5}), 0), 0, {e, 6, 0, 5});
    expect((p.call<void>(141, 0.5f), 0), 0, {e, 30, 0, 0, nullptr, 0.5f});
    expect((p.call<void>(13, I{2}, 0.125f), 0), 0, {e, 0, 2, 0, nullptr, 0.125f});
    EXPECT_EQ(p.get(2), 0.125f);  // automation sets the parameter too

    for (const int slot : {108, 109, 152})  // the selectors and the chunk file refuse null and send nothing
        EXPECT_FALSE(p.call<bool>(slot, static_cast<void*>(nullptr)));
    EXPECT_TRUE(hostCalls.empty());

    hostAnswer = 0;
    EXPECT_EQ(p.call<I>(34), 1);  // a version of 1
    EXPECT_TRUE(p.call<bool>(37, I{0}));
    EXPECT_EQ(p.call<double>(62), 44100.0);  // back to the default
    EXPECT_EQ(p.call<I>(63), 7);             // stays
    hostAnswer = 1;
}
