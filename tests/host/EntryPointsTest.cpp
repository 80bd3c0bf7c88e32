#include "tests/support/Allocations.h"
#include "tests/support/TableSlots.h"
#include "tests/support/TestHost.h"

#include <gtest/gtest.h>

namespace
{

// Both entry points do the same, so every test holds for each.
struct EntryPoints : testing::TestWithParam<const char*> {
    const EntryPoint make = entryPoint(GetParam());
};
INSTANTIATE_TEST_SUITE_P(Both, EntryPoints, testing::Values("getinterface", "KTypeIF"));

}  // namespace

TEST_P(EntryPoints, AskTheHostForItsVersionOnceAndAcceptAnyButZero)
{
    hostCalls.clear();
    hostAnswer = -7;
    const Plugin plugin(make);
    hostAnswer = 1;
    EXPECT_EQ(hostCalls, (std::vector<HostCall>{{nullptr, audioMasterVersion}}));
    EXPECT_EQ(plugin.call<AEffect*>(slot::getAeffect), plugin.record);
}

TEST_P(EntryPoints, ReturnNullWithoutAHostThatWorks)
{
    EXPECT_EQ(make(nullptr), nullptr);
    EXPECT_EQ(make([](auto...) -> VstIntPtr { return 0; }), nullptr);
    EXPECT_EQ(make([](auto...) -> VstIntPtr { throw 0; }), nullptr);
}

TEST_P(EntryPoints, ReturnNullAndLeaveNothingWhenMemoryRunsOut)
{
    const auto before = Allocations::live.load();
    const int failures = Allocations::failEach([this] {
        const std::unique_ptr<K_TypeIF> interface(make([](auto...) -> VstIntPtr { return 1; }));
        const bool isMade = interface != nullptr;
        if (isMade)
            Plugin(interface->aeffect);  // which closes it
        return isMade;
    });
    EXPECT_GE(failures, 3);  // the record, the effect and its programs
    EXPECT_EQ(Allocations::live, before);
}
