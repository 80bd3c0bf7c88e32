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

// In the expectations, i, v, p and f stand for the request's index, value, ptr and opt, I and V for whether index and
// value are not 0.
TEST(Dispatcher, HandsEveryRequestToItsOperationWithItsArguments)
{
    struct {
        VstInt32 opcode;
        int slot;
        const char* arguments;
    } const rows[] = {
        // clang-format off
        {effOpen, slot::open, ""}, {effSetProgram, slot::setProgram, "v"},
        {effGetProgram, slot::getProgram, ""}, {effSetProgramName, slot::setProgramName, "p"},
        {effGetProgramName, slot::getProgramName, "p"}, {effGetParamLabel, slot::getParameterLabel, "ip"},
        {effGetParamDisplay, slot::getParameterDisplay, "ip"},
        {effGetParamName, slot::getParameterName, "ip"}, {effSetSampleRate, slot::setSampleRate, "f"},
        {effSetBlockSize, slot::setBlockSize, "v"}, {effMainsChanged, slot::resume, ""},
        {effGetChunk, slot::getChunk, "pI"}, {effSetChunk, slot::setChunk, "pvI"},
        {effProcessEvents, slot::processEvents, "p"}, {effCanBeAutomated, slot::canParameterBeAutomated, "i"},
        {effString2Parameter, slot::string2parameter, "ip"},
        {effGetProgramNameIndexed, slot::getProgramNameIndexed, "vip"},
        {effGetInputProperties, slot::getInputProperties, "ip"},
        {effGetOutputProperties, slot::getOutputProperties, "ip"},
        {effGetPlugCategory, slot::getPlugCategory, ""}, {effOfflineNotify, slot::offlineNotify, "pvI"},
        {effOfflinePrepare, slot::offlinePrepare, "pv"}, {effOfflineRun, slot::offlineRun, "pv"},
        {effProcessVarIo, slot::processVariableIo, "p"},
        {effSetSpeakerArrangement, slot::setSpeakerArrangement, "vp"}, {effSetBypass, slot::setBypass, "V"},
        {effGetEffectName, slot::getEffectName, "p"}, {effGetVendorString, slot::getVendorString, "p"},
        {effGetProductString, slot::getProductString, "p"}, {effGetVendorVersion, slot::getVendorVersion, ""},
        {effVendorSpecific, slot::vendorSpecific, "ivpf"}, {effCanDo, slot::canDo, "p"},
        {effGetTailSize, slot::getGetTailSize, ""},
        {effGetParameterProperties, slot::getParameterProperties, "ip"},
        {effGetVstVersion, slot::getVstVersion, ""}, {effGetMidiProgramName, slot::getMidiProgramName, "ip"},
        {effGetCurrentMidiProgram, slot::getCurrentMidiProgram, "ip"},
        {effGetMidiProgramCategory, slot::getMidiProgramCategory, "ip"},
        {effHasMidiProgramsChanged, slot::hasMidiProgramsChanged, "i"},
        {effGetMidiKeyName, slot::getMidiKeyName, "ip"}, {effBeginSetProgram, slot::beginSetProgram, ""},
        {effEndSetProgram, slot::endSetProgram, ""},
        {effGetSpeakerArrangement, slot::getSpeakerArrangement, "vp"},
        {effShellGetNextPlugin, slot::getNextShellPlugin, "p"}, {effStartProcess, slot::startProcess, ""},
        {effStopProcess, slot::stopProcess, ""},
        {effSetTotalSampleToProcess, slot::setTotalSampleToProcess, "v"},
        {effSetPanLaw, slot::setPanLaw, "vf"}, {effBeginLoadBank, slot::beginLoadBank, "p"},
        {effBeginLoadProgram, slot::beginLoadProgram, "p"},
        {effSetProcessPrecision, slot::setProcessPrecision, "v"},
        {effGetNumMidiInputChannels, slot::getNumMidiInputChannels, ""},
        {effGetNumMidiOutputChannels, slot::getNumMidiOutputChannels, ""}
        // clang-format on
    };
    const float opt = 0.5f;
    const Plugin plugin;
    auto table = notes(std::make_integer_sequence<int, 2 + slot::count>());
    auto*& tablePointer = *static_cast<decltype(table)::pointer*>(plugin.record->object);
    auto* const original = tablePointer;
    std::copy_n(original - 2, 2, table.begin());
    table[2 + slot::dispatcher] = original[slot::dispatcher];
    for (const auto& [index, value] : {std::pair<VstInt32, VstIntPtr>{4, 5}, {4, 0}, {0, 5}}) {
        for (const auto& row : rows) {
            SCOPED_TRACE(row.opcode);
            tablePointer = table.data() + 2;
            const VstIntPtr answer = plugin.dispatch(row.opcode, index, value, &reached, opt);
            tablePointer = original;
            const bool isSwitchOff = row.opcode == effMainsChanged && value == 0;
            EXPECT_EQ(reached.slot, isSwitchOff ? slot::suspend : row.slot);
            EXPECT_EQ(answer, row.opcode < effGetChunk && row.opcode != effGetProgram ? 0 : 1);
            for (int k = 0; row.arguments[k] != '\0'; ++k) {
                const VstIntPtr word = reached.words[k];
                switch (row.arguments[k]) {
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
    }
}
