#include "tests/support/TestHost.h"

#include <gtest/gtest.h>

#include <memory>

namespace
{

// Both entry points do the same, so every test holds for each.
class EntryPoints : public testing::TestWithParam<const char*>
{
protected:
    EntryPoints() { hostCalls.clear(); }
    ~EntryPoints() override
    {
        hostAnswer = 1;
        hostThrows = false;
    }

    std::unique_ptr<K_TypeIF> open(audioMasterCallback callback = hostCallback)
    {
        return std::unique_ptr<K_TypeIF>(entryPoint(GetParam())(callback));
    }
};
INSTANTIATE_TEST_SUITE_P(Both, EntryPoints, testing::Values("getinterface", "KTypeIF"));

}  // namespace

TEST_P(EntryPoints, AskTheHostForItsVersionOnceAndAcceptAnyButZero)
{
    hostAnswer = -7;
    const Plugin plugin(open()->aeffect);
    EXPECT_EQ(hostCalls, (std::vector<HostCall>{{nullptr, audioMasterVersion}}));
    EXPECT_EQ(plugin.call<AEffect*>(31), plugin.record);  // getAeffect
}

TEST_P(EntryPoints, AnswerNullWithoutAHostThatWorks)
{
    EXPECT_EQ(open(nullptr), nullptr);
    hostAnswer = 0;
    EXPECT_EQ(open(), nullptr);
    hostAnswer = 1;
    hostThrows = true;
    EXPECT_EQ(open(), nullptr);
}

TEST_P(EntryPoints, MakeEffectsThatOutliveTheirRecordsAndDoNotShare)
{
    std::unique_ptr<K_TypeIF> record = open();
    const Plugin one(record->aeffect);
    record.reset();
    const Plugin two(open()->aeffect);
    one.set(1, 0.25f);
    EXPECT_EQ(one.get(1), 0.25f);
    EXPECT_EQ(two.get(1), 0.84210527f);
}
