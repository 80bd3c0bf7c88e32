#include "host/VstRecords.h"
#include "tests/support/Allocations.h"
#include "tests/support/TestHost.h"

#include <gtest/gtest.h>

#include <cstring>

// All speakers differ in every byte but the ends of their names. Beyond 8 speakers the record is longer than its type.
TEST(SpeakerArrangement, IsAllocatedZeroedMatchedAndReleased)
{
    constexpr int kBytes = 8 + 12 * 112;
    const Plugin plugin;
    const auto before = Allocations::live.load();
    VstSpeakerArrangement* from = nullptr;
    VstSpeakerArrangement* to = nullptr;
    const auto allocate = [&](int channels) {
        return plugin.call<bool>(slot::allocateArrangement, &from, channels);
    };
    const auto match = [&](void* source) { return plugin.call<bool>(slot::matchArrangement, &to, source); };
    ASSERT_TRUE(allocate(2) && allocate(12));
    char* const bytes = reinterpret_cast<char*>(from);
    EXPECT_EQ(from->numChannels, 12);
    EXPECT_EQ(std::count(bytes, bytes + kBytes, '\0'), kBytes - 1);  // all but the 12
    from->type = -2;
    for (int i = 8; i < kBytes; ++i)
        bytes[i] = (i - 8) % 112 == 79 ? '\0' : static_cast<char>('a' + i % 20);
    ASSERT_TRUE(match(from) && match(from));
    EXPECT_EQ(std::memcmp(to, from, kBytes), 0);
    EXPECT_FALSE(match(nullptr));
    EXPECT_FALSE(allocate(-1));
    EXPECT_EQ(from, nullptr);
    Allocations::left = 0;
    EXPECT_EQ(allocate(2), !Allocations::seeModules);
    Allocations::left = -1;
    for (VstSpeakerArrangement** const each : {&from, &to, &to}) {
        EXPECT_TRUE(plugin.call<bool>(slot::deallocateArrangement, each));
        EXPECT_EQ(*each, nullptr);
    }
    EXPECT_EQ(Allocations::live, before);
}

TEST(SpeakerArrangement, CopiesASpeakersNameUpToItsEndAndClearsTheRest)
{
    const Plugin plugin;
    const auto copy = [&plugin](void* to, void* from) {
        return plugin.call<bool>(slot::copySpeaker, to, from);
    };
    VstSpeakerProperties from{}, to{};
    for (const std::size_t length : {0, 1, 62, 63, 64}) {
        std::ranges::fill(from.name, 'x');
        std::fill_n(from.name + length, length < 64, '\0');
        EXPECT_TRUE(copy(&to, &from));
        std::string expected(std::min<std::size_t>(length, 63), 'x');
        expected.resize(64);
        EXPECT_EQ(std::string(to.name, 64), expected);
    }
    EXPECT_FALSE(copy(&to, nullptr) || copy(nullptr, &from));
}
