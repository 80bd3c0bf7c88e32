#include "tests/support/Rows.h"
#include "tests/support/TableSlots.h"
#include "tests/support/TestHost.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <utility>

namespace
{

// What a request reached: the slot of an operation, and the words it was called with.
struct Reached {
    int slot;
    VstIntPtr words[4];
    float number;  // a float among them, if the ABI passes floats apart
} reached;

template <int slot>
VstIntPtr note(void* /*object*/, VstIntPtr a, VstIntPtr b, VstIntPtr c, VstIntPtr d, float number)
{
    reached = {slot, {a, b, c, d}, number};
    return 1;
}

// A table of notes, after the two words that precede the first slot of every table.
template <int... words>
auto notes(std::integer_sequence<int, words...>)
{
    return std::array{&note<words - 2>...};
}

}  // namespace

#ifndef _WIN32  // where a number's register depends on its place among the arguments
TEST(Dispatcher, CallsTheOperationOfEveryRequestWithItsArguments)
{
    const float opt = 0.5f;
    const Plugin plugin;
    auto table = notes(std::make_integer_sequence<int, 2 + slot::count>());
    auto*& tablePointer = *static_cast<decltype(table)::pointer*>(plugin.record->object);
    auto* const original = tablePointer;
    std::copy_n(original - 2, 2, table.begin());
    table[2 + slot::dispatcher] = original[slot::dispatcher];
    forEachRow("dispatcher.txt", [&](std::istream& fields) {
        VstInt32 opcode = 0, expected = 0, slot = 0;
        std::string operation, arguments;
        fields >> opcode >> expected >> slot >> operation >> arguments;
        for (const auto& [index, value] : {std::pair<VstInt32, VstIntPtr>{4, 5}, {4, 0}, {0, 5}}) {
            tablePointer = table.data() + 2;
            const VstIntPtr answer = plugin.dispatch(opcode, index, value, &reached, opt);
            tablePointer = original;
            const bool isSwitchOff = opcode == effMainsChanged && value == 0;
            EXPECT_EQ(reached.slot, isSwitchOff ? slot::suspend : slot);
            EXPECT_EQ(answer, expected);
            for (std::size_t k = 0; k < arguments.size(); ++k) {
                const VstIntPtr word = reached.words[k];
                switch (arguments[k]) {
                case 'i': EXPECT_EQ(static_cast<VstInt32>(word), index); break;
                case 'v': EXPECT_EQ(static_cast<VstInt32>(word), value); break;
                case 'p': EXPECT_EQ(word, reinterpret_cast<VstIntPtr>(&reached)); break;
                case 'I': EXPECT_EQ(word & 0xFF, index != 0); break;
                case 'V': EXPECT_EQ(word & 0xFF, value != 0); break;
                default:
                    EXPECT_EQ(sizeof word == 4 ? std::bit_cast<float>(static_cast<VstInt32>(word))
                                               : reached.number,
                              opt);
                }
            }
        }
    });
}
#endif
