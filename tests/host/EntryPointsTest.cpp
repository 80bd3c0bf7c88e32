#include "tests/support/Allocations.h"
#include "tests/support/TestHost.h"

#include <gtest/gtest.h>

// Both entry points do the same, so every test holds for each.
struct EntryPoints : testing::TestWithParam<const char*> {
    const EntryPoint make = entryPoint(GetParam());
};
INSTANTIATE_TEST_SUITE_P(Both, EntryPoints, testing::Values("getinterface", "KTypeIF"));

TEST_P(EntryPoints, AskTheHostForItsVersionOnceAndAcceptAnyButZero)
{
    hostCalls.clear();
    hostAnswer = -7;
    const Plugin plugin(make);
    hostAnswer = 1;
    EXPECT_EQ(hostCalls, (std::vector<HostCall>{{nullptr, audioMasterVersion}}));
    EXPECT_EQ(plugin.call<AEffect*>(slot::getAeffect), plugin.record);
    EXPECT_EQ(make(nullptr), nullptr);
    EXPECT_EQ(make([](auto...) -> VstIntPtr { return 0; }), nullptr);
    EXPECT_EQ(make([](auto...) -> VstIntPtr { throw 0; }), nullptr);
}

TEST_P(EntryPoints, ReturnNullAndLeaveNothingWhenMemoryRunsOut)
{
    static int asked;
    const auto before = Allocations::live.load();
    const int failures = Allocations::failEach([this] {
        const bool hasAny = Allocations::left != 0;
        asked = 0;
        const std::unique_ptr<K_TypeIF> interface(make([](auto...) -> VstIntPtr { return ++asked; }));
        EXPECT_EQ(asked, hasAny ? 1 : 0);  // not before the interface record exists
        if (interface != nullptr)
            Plugin(interface->aeffect);  // which closes it
        return interface != nullptr;
    });
    EXPECT_GE(failures, 3);  // the interface record, the effect and its programs
    EXPECT_EQ(Allocations::live, before);
}
