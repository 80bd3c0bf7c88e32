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
    EXPECT_EQ(plugin.call<AEffect*>(31), plugin.record);  // getAeffect
}

TEST_P(EntryPoints, AnswerNullWithoutAHostThatWorks)
{
    EXPECT_EQ(make(nullptr), nullptr);
    EXPECT_EQ(make([](auto...) -> VstIntPtr { return 0; }), nullptr);
    EXPECT_EQ(make([](auto...) -> VstIntPtr { throw 0; }), nullptr);
}
