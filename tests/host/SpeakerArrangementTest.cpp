#include "host/VstRecords.h"
#include "tests/support/TestHost.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

namespace
{

constexpr int kAllocate = 111, kDeallocate = 112, kCopy = 113, kMatch = 114;  // slots
using Slot = VstSpeakerArrangement**;

}  // namespace

TEST(SpeakerArrangement, IsAllocatedZeroedMatchedAndReleased)
{
    const Plugin plugin;
    VstSpeakerArrangement* from = nullptr;
    VstSpeakerArrangement* to = nullptr;
    EXPECT_TRUE((plugin.call<bool, Slot>(kDeallocate, &from)));
    ASSERT_TRUE((plugin.call<bool, Slot, VstInt32>(kAllocate, &from, 12)));
    EXPECT_EQ(from->numChannels, 12);
    char* const bytes = reinterpret_cast<char*>(from);
    EXPECT_EQ(std::count(bytes, bytes + 8 + 12 * 112, '\0'), 8 + 12 * 112 - 1);  // all but the 12

    from->type = -2;
    for (int i = 8; i < 8 + 12 * 112; ++i)
        bytes[i] =
            (i - 8) % 112 == 79 ? '\0' : static_cast<char>('a' + i % 20);  // names end at 63 characters
    ASSERT_TRUE((plugin.call<bool, Slot>(kMatch, &to, from)));
    EXPECT_EQ(std::memcmp(to, from, 8 + 12 * 112), 0);
    EXPECT_FALSE((plugin.call<bool, Slot, VstSpeakerArrangement*>(kMatch, &to, nullptr)));

    std::memset(from->speakers[0].name, 'x', 64);  // no terminator within the field
    EXPECT_TRUE(plugin.call<bool>(kCopy, to->speakers, from->speakers));
    EXPECT_EQ(std::string(to->speakers[0].name), std::string(63, 'x'));
    EXPECT_FALSE(plugin.call<bool>(kCopy, to->speakers, static_cast<void*>(nullptr)));

    EXPECT_FALSE((plugin.call<bool, Slot, VstInt32>(kAllocate, &from, -1)));
    EXPECT_EQ(from, nullptr);
    EXPECT_TRUE((plugin.call<bool, Slot>(kDeallocate, &to)));
    EXPECT_EQ(to, nullptr);
}
