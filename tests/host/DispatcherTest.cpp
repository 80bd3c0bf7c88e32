#include "tests/support/TestHost.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <utility>

namespace
{

// What a request reached: the place of an operation in the object's table, and the words it was called with.
struct Reached {
    int place;
    VstIntPtr words[4];
    float number;  // a float among them, where floats travel apart
} reached;

template <int place>
VstIntPtr note(void* /*object*/, VstIntPtr a, VstIntPtr b, VstIntPtr c, VstIntPtr d, float number)
{
    reached = {place, {a, b, c, d}, number};
    return 1;
}

// A table of notes, behind the two words that every table has before its first place.
template <int... words>
auto notes(std::integer_sequence<int, words...>)
{
    return std::array{&note<words - 2>...};
}

}  // namespace

#ifndef _WIN32  // where a number's register depends on its place among the arguments
// In the expectations, i, v, p and f stand for the request's index, value, ptr and opt, t for a true bool.
TEST(Dispatcher, HandsEveryRequestToItsOperationWithItsArguments)
{
    struct {
        VstInt32 opcode;
        int place;
        const char* arguments;
    } const rows[] = {{0, 3, ""},       {2, 15, "v"},    {3, 14, ""},     {4, 16, "p"},   {5, 17, "p"},
                      {6, 18, "ip"},    {7, 19, "ip"},   {8, 20, "ip"},   {10, 7, "f"},   {11, 8, "v"},
                      {12, 6, ""},      {23, 21, "pt"},  {24, 22, "pvt"}, {25, 78, "p"},  {26, 51, "i"},
                      {27, 52, "ip"},   {29, 56, "vip"}, {33, 66, "ip"},  {34, 67, "ip"}, {35, 100, ""},
                      {38, 120, "pvt"}, {39, 121, "pv"}, {40, 122, "pv"}, {41, 81, "p"},  {42, 68, "vp"},
                      {44, 70, "t"},    {45, 93, "p"},   {47, 94, "p"},   {48, 95, "p"},  {49, 96, ""},
                      {50, 97, "ivpf"}, {51, 98, "p"},   {52, 91, ""},    {56, 53, "ip"}, {58, 99, ""},
                      {62, 101, "ip"},  {63, 102, "ip"}, {64, 103, "ip"}, {65, 104, "i"}, {66, 105, "ip"},
                      {67, 57, ""},     {68, 58, ""},    {69, 69, "vp"},  {70, 110, "p"}, {71, 79, ""},
                      {72, 80, ""},     {73, 82, "v"},   {74, 71, "vf"},  {75, 59, "p"},  {76, 60, "p"},
                      {77, 72, "v"},    {78, 73, ""},    {79, 74, ""}};
    const VstInt32 index = 4;
    const VstIntPtr value = 5;
    const float opt = 0.5f;
    const Plugin plugin;
    auto table = notes(std::make_integer_sequence<int, 2 + 165>());
    auto*& tablePointer = *static_cast<decltype(table)::pointer*>(plugin.record->object);
    auto* const original = tablePointer;
    std::copy_n(original - 2, 2, table.begin());
    table[2 + 2] = original[2];  // the dispatcher itself
    for (const auto& row : rows) {
        SCOPED_TRACE(row.opcode);
        tablePointer = table.data() + 2;
        const VstIntPtr answer = plugin.dispatch(row.opcode, index, value, &reached, opt);
        tablePointer = original;
        EXPECT_EQ(answer, row.opcode < 23 && row.opcode != effGetProgram ? 0 : 1);
        EXPECT_EQ(reached.place, row.place);
        for (int k = 0; row.arguments[k] != '\0'; ++k) {
            const VstIntPtr word = reached.words[k];
            switch (row.arguments[k]) {
            case 'i': EXPECT_EQ(static_cast<VstInt32>(word), index); break;
            case 'v': EXPECT_EQ(static_cast<VstInt32>(word), value); break;
            case 'p': EXPECT_EQ(word, reinterpret_cast<VstIntPtr>(&reached)); break;
            case 't': EXPECT_EQ(word & 0xFF, 1); break;
            default:
                EXPECT_EQ(sizeof word == 4 ? std::bit_cast<float>(static_cast<VstInt32>(word))
                                           : reached.number,
                          opt);
            }
        }
    }
}
#endif
