#include "host/VstRecords.h"
#include "tests/support/Allocations.h"
#include "tests/support/TableSlots.h"
#include "tests/support/TestHost.h"

#include <gtest/gtest.h>

#include <cstring>

TEST(SpeakerArrangement, IsAllocatedZeroedMatchedAndReleased)
{
    constexpr int kBytes = 8 + 12 * 112;
    const Plugin plugin;
    const auto allocate = [&plugin](VstSpeakerArrangement*& arrangement, VstInt32 channels) {
        return plugin.call<bool>(slot::allocateArrangement, &arrangement, channels);
    };
    const auto match = [&plugin](VstSpeakerArrangement*& to, VstSpeakerArrangement* from) {
        return plugin.call<bool>(slot::matchArrangement, &to, from);
    };
    const auto before = Allocations::live.load();
    VstSpeakerArrangement* from = nullptr;
    VstSpeakerArrangement* to = nullptr;
    ASSERT_TRUE(allocate(from, 2) && allocate(from, 12));
    EXPECT_EQ(from->numChannels, 12);
    char* const bytes = reinterpret_cast<char*>(from);
    EXPECT_EQ(std::count(bytes, bytes + kBytes, '\0'), kBytes - 1);  // all but the 12

    from->type = -2;
    for (int i = 8; i < kBytes; ++i)
        bytes[i] =
            (i - 8) % 112 == 79 ? '\0' : static_cast<char>('a' + i % 20);  // names end at 63 characters
    ASSERT_TRUE(match(to, from) && match(to, from));
    EXPECT_EQ(std::memcmp(to, from, kBytes), 0);
    EXPECT_FALSE(match(to, nullptr));

    EXPECT_FALSE(allocate(from, -1));
    EXPECT_EQ(from, nullptr);
    Allocations::left = 0;
    EXPECT_EQ(allocate(from, 2), !Allocations::seeModules);
    Allocations::left = -1;
    EXPECT_EQ(from == nullptr, Allocations::seeModules);
    for (VstSpeakerArrangement** const each : {&from, &to, &to}) {
        EXPECT_TRUE(plugin.call<bool>(slot::deallocateArrangement, each));
        EXPECT_EQ(*each, nullptr);
    }
    EXPECT_EQ(Allocations::live, before);
}

TEST(SpeakerArrangement, CopiesASpeakersNameUpToItsEndAndClearsTheRest)
{
    const Plugin plugin;
    VstSpeakerProperties from{}, to{};
    for (const std::size_t length : {0, 1, 62, 63, 64}) {
        const std::string name(length, 'x');
        std::ranges::fill(from.name, '#');
        name.copy(from.name, length);
        if (length < 64)
            from.name[length] = '\0';
        EXPECT_TRUE(plugin.call<bool>(slot::copySpeaker, &to, &from));
        std::string expected = name.substr(0, 63);
        expected.resize(64);
        EXPECT_EQ(std::string(to.name, 64), expected);
    }
    void* const none = nullptr;
    EXPECT_FALSE(plugin.call<bool>(slot::copySpeaker, &to, none));
    EXPECT_FALSE(plugin.call<bool>(slot::copySpeaker, none, &from));
}
