#include "host/K_TypeBase.h"
#include "tests/support/Allocations.h"
#include "tests/support/TableSlots.h"
#include "tests/support/TestHost.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

namespace
{

using X = AudioEffectX;
using Pointer = VstSpeakerArrangement**;

// An effect of whose operations one fails: to deallocate, allocate or copy, by its first letter.
class Faulty : public K_TypeBase
{
public:
    explicit Faulty(char step) : K_TypeBase(nullptr, 1, 1), failing(step) {}

    void processReplacing(float**, float**, VstInt32) override {}
    bool deallocateArrangement(Pointer to) override { return X::deallocateArrangement(to) && failing != 'd'; }
    bool allocateArrangement(Pointer to, VstInt32 channels) override
    {
        return X::allocateArrangement(to, channels) && failing != 'a';
    }
    bool copySpeaker(VstSpeakerProperties* to, VstSpeakerProperties* from) override
    {
        return X::copySpeaker(to, from) && failing != 'c';
    }

private:
    char failing;
};

}  // namespace

TEST(SpeakerArrangement, IsAllocatedZeroedMatchedAndReleased)
{
    const Plugin plugin;
    VstSpeakerArrangement* from = nullptr;
    VstSpeakerArrangement* to = nullptr;
    EXPECT_TRUE((plugin.call<bool, Pointer>(slot::deallocateArrangement, &from)));
    ASSERT_TRUE((plugin.call<bool, Pointer>(slot::allocateArrangement, &from, VstInt32{12})));
    EXPECT_EQ(from->numChannels, 12);
    char* const bytes = reinterpret_cast<char*>(from);
    EXPECT_EQ(std::count(bytes, bytes + 8 + 12 * 112, '\0'), 8 + 12 * 112 - 1);  // all but the 12

    from->type = -2;
    for (int i = 8; i < 8 + 12 * 112; ++i)
        bytes[i] =
            (i - 8) % 112 == 79 ? '\0' : static_cast<char>('a' + i % 20);  // names end at 63 characters
    ASSERT_TRUE((plugin.call<bool, Pointer>(slot::matchArrangement, &to, from)));
    EXPECT_EQ(std::memcmp(to, from, 8 + 12 * 112), 0);
    EXPECT_FALSE((plugin.call<bool, Pointer, VstSpeakerArrangement*>(slot::matchArrangement, &to, nullptr)));

    EXPECT_FALSE((plugin.call<bool, Pointer>(slot::allocateArrangement, &from, VstInt32{-1})));
    EXPECT_EQ(from, nullptr);
    if (Allocations::seeModules) {
        Allocations::left = 0;
        EXPECT_FALSE((plugin.call<bool, Pointer>(slot::allocateArrangement, &from, VstInt32{2})));
        Allocations::left = -1;
        EXPECT_EQ(from, nullptr);
    }
    EXPECT_TRUE((plugin.call<bool, Pointer>(slot::deallocateArrangement, &to)));
    EXPECT_EQ(to, nullptr);
}

TEST(SpeakerArrangement, CopiesASpeakersNameUpToItsEndAndClearsTheRest)
{
    const Plugin plugin;
    VstSpeakerProperties from{}, to{};
    for (const std::size_t length : {0, 1, 62, 63, 70}) {
        std::memset(from.name, 'x', sizeof from.name);
        if (length < sizeof from.name)
            from.name[length] = '\0';
        EXPECT_TRUE(plugin.call<bool>(slot::copySpeaker, &to, &from));
        std::string expected(std::min<std::size_t>(length, 63), 'x');
        expected.resize(sizeof to.name);
        EXPECT_EQ(std::string(to.name, sizeof to.name), expected);
    }
    void* const none = nullptr;
    EXPECT_FALSE(plugin.call<bool>(slot::copySpeaker, &to, none));
    EXPECT_FALSE(plugin.call<bool>(slot::copySpeaker, none, &from));
}

TEST(SpeakerArrangement, IsMatchedUpToTheFirstStepThatFails)
{
    for (const char failing : {'-', 'd', 'a', 'c'}) {
        SCOPED_TRACE(failing);
        const Plugin plugin((new Faulty(failing))->getAeffect());
        VstSpeakerArrangement from{.type = 5, .numChannels = 2, .speakers = {}};
        from.speakers[0].type = from.speakers[1].type = 7;
        VstSpeakerArrangement* to = nullptr;
        EXPECT_EQ((plugin.call<bool, Pointer>(slot::matchArrangement, &to, &from)), failing == '-');
        EXPECT_EQ(to == nullptr, failing == 'd');
        if (to != nullptr) {
            EXPECT_EQ(to->type, failing == 'a' ? 0 : 5);
            EXPECT_EQ(to->speakers[1].type, failing == '-' ? 7 : 0);
        }
        plugin.call<bool>(slot::deallocateArrangement, &to);
    }
}
