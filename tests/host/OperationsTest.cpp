// Which virtual operations are called, by their slots: by the host's requests, by the record's functions and by other
// operations.

#include "host/AEffEditor.h"
#include "host/AudioEffect.h"
#include "tests/support/Rows.h"
#include "tests/support/TestHost.h"

#include <array>
#include <bit>
#include <cmath>
#include <map>
#include <utility>

namespace
{

VstInt32 low(VstIntPtr word)
{
    return static_cast<VstInt32>(word);
}

constexpr int kEditor = 200;  // an editor's slots are counted from here

// The operations that were called, by their slots, and the words that the last one was called with: a key instead of
// a pointer to it, and at the end a float, if the ABI passes floats apart.
std::vector<int> reached;
std::array<VstIntPtr, 5> words;
std::map<int, VstIntPtr> answers;  // of operations, by their slots; 1 if there is none

template <int slot>
VstIntPtr note(void* /*object*/, VstIntPtr a, VstIntPtr b, VstIntPtr c, VstIntPtr d, float f)
{
    constexpr bool isOnKey = slot == kEditor + 6 || slot == kEditor + 7;
    words = {a, b, c, d, std::bit_cast<VstInt32>(f)};
    if (isOnKey) {
        const VstKeyCode key = *reinterpret_cast<VstKeyCode*>(a);
        words[0] = key.character << 16 | key.virt << 8 | key.modifier;
    }
    reached.push_back(slot);
    return answers.contains(slot) ? answers[slot] : 1;
}

template <int... places>
auto notesOf(std::integer_sequence<int, places...>)
{
    return std::array{&note<places - 2>...};
}

// Puts notes in the place of all operations of an object, except the one in the slot `kept`, for its own lifetime.
class Spy
{
public:
    Spy(void* object, int kept, std::ptrdiff_t first = 0)
        : table(*static_cast<Operation**>(object)), original(table)
    {
        Operation* const spied = notes.data() + 2 + first;
        std::copy_n(original - 2, 2, spied - 2);  // what precedes the first slot of every table
        spied[kept] = original[kept];
        table = spied;
        reached.clear();
        answers.clear();
    }
    Spy(const Spy&) = delete;
    ~Spy() { table = original; }

private:
    using Operation = decltype(&note<0>);

    std::array<Operation, 256> notes = notesOf(std::make_integer_sequence<int, 256>());
    Operation*& table;
    Operation* const original;
};

struct Window : AEffEditor {
    bool getRect(ERect** /*rect*/) override { return false; }
    bool open(void* /*parent*/) override { return false; }
    void close() override {}
};

}  // namespace

// Operations of an editor too. A key code takes the low bytes of value and of opt; an opt that is NaN or beyond 32
// bits counts as 0.
TEST(Operations, AreReachedByEveryRequestWithItsArguments)
{
    const Plugin plugin;
    auto* const effect = static_cast<AudioEffect*>(plugin.record->object);
    Window window;
    effect->setEditor(&window);
    const auto ptr = reinterpret_cast<VstIntPtr>(&reached);
    forEachRow("dispatcher.txt", [&](std::istream& fields) {
        VstInt32 opcode = 0, expected = 0, slot = 0;
        std::string operation, arguments;
        fields >> opcode >> expected >> slot >> operation >> arguments;
        for (const auto& [index, value, opt, key] : {std::tuple{4, VstIntPtr{5}, 515.9f, 0x40503},
                                                     {4, 0, -1.0f, 0x400FF},
                                                     {0, 16, 1e20f, 0x1000},
                                                     {4, 0x1FE, NAN, 0x4FE00}}) {
            const Spy spy(effect, slot::dispatcher), editor(&window, slot::none, kEditor);
            const VstIntPtr answer = answers[slot] = opt > 0.0f;
            EXPECT_EQ(plugin.dispatch(opcode, index, value, &reached, opt), expected * answer);
            const int called = opcode == effMainsChanged && value == 0 ? slot::suspend : slot;
            const bool isValid = opcode != effSetProgram || value < 16;
            EXPECT_EQ(reached, std::vector(isValid ? 1 : 0, called));
            const std::string kinds = "ivpIVkf";
            const auto bits = std::bit_cast<VstInt32>(opt);
            const VstInt32 sent[] = {index, low(value), low(ptr), index != 0, value != 0, key, bits};
            for (std::size_t k = 0; isValid && k < arguments.size(); ++k) {
                const char kind = arguments[k];
#ifdef _WIN32
                if (kind == 'f')
                    continue;  // in a register that depends on its place among the arguments
#endif
                const VstInt32 word = low(words[kind == 'f' && sizeof(void*) == 8 ? 4 : k]);
                EXPECT_EQ(std::isupper(kind) ? word & 0xFF : word, sent[kinds.find(kind)]) << kind;
            }
        }
    });
    effect->setEditor(nullptr);
}

TEST(Operations, OfAnEditorEndWithTheEffect)
{
    Window window;
    const Spy spy(&window, slot::none, kEditor);
    {
        const Plugin plugin;
        AEffEditor* const editors[] = {&window, nullptr, &window};
        for (AEffEditor* const editor : editors) {
            static_cast<AudioEffect*>(plugin.record->object)->setEditor(editor);
            EXPECT_EQ(plugin.record->flags, editor == nullptr ? 4112 : 4113);
            EXPECT_EQ(plugin.call<AEffEditor*>(slot::getEditor), editor);
        }
    }
    EXPECT_EQ(reached, std::vector<int>{kEditor + slot::deleteObject});
}

// The last request closes the effect, and would delete it by the second entry of its table.
TEST(Operations, AreReachedByTheFunctionsOfTheRecord)
{
    const Plugin plugin;
    AEffect* const r = plugin.record;
    const Spy spy(r->object, slot::dispatcher);
    r->setParameter(r, 6, 0.5f);
    r->process(r, nullptr, nullptr, 7);
    r->processReplacing(r, nullptr, nullptr, 7);
    r->processDoubleReplacing(r, nullptr, nullptr, 7);
    EXPECT_EQ(words[2], 7);
    EXPECT_EQ(plugin.dispatch(effClose), 1);
    EXPECT_EQ(reached, (std::vector<int>{slot::setParameter, slot::process, slot::processReplacing,
                                         slot::processDoubleReplacing, slot::close, slot::deleteObject}));
}

TEST(Operations, AskForMidiEventsOnlyOfASynthOrIfTheyCanBeReceived)
{
    const Plugin plugin;
    for (const auto& [flags, answer, areWanted] :
         {std::tuple{16, 0, false}, {16, -1, false}, {16, 1, true}, {256, 0, true}}) {
        const Spy spy(plugin.record->object, slot::resume);
        answers[slot::canDo] = answer;
        plugin.record->flags = flags;
        plugin.call<void>(slot::resume);
        ASSERT_EQ(reached.back(), areWanted ? slot::wantEvents : slot::canDo);
        if (areWanted)
            EXPECT_EQ(words[0], 1);
        else
            EXPECT_STREQ(reinterpret_cast<char*>(words[0]), "receiveVstMidiEvent");
    }
}

TEST(Operations, MatchArrangementsUpToTheFirstStepThatFails)
{
    using namespace slot;
    const Plugin plugin;
    VstSpeakerArrangement from{.type = 5, .numChannels = 2, .speakers = {}}, copy{};
    const std::vector<int> steps{deallocateArrangement, allocateArrangement, copySpeaker, copySpeaker};
    for (const auto& [failing, done] :
         {std::pair{deallocateArrangement, 1}, {allocateArrangement, 2}, {copySpeaker, 3}, {none, 4}}) {
        const Spy spy(plugin.record->object, matchArrangement);
        answers[failing] = 0;
        VstSpeakerArrangement* to = &copy;
        EXPECT_EQ(plugin.call<bool>(matchArrangement, &to, &from), failing == none);
        EXPECT_EQ(reached, std::vector(steps.begin(), steps.begin() + done));
    }
}
