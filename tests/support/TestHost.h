#pragma once

#include "host/K_TypeIF.h"
#include "host/Opcodes.h"
#include "tests/support/Library.h"

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

// A call of the host's callback, which records it in hostCalls and returns hostAnswer.
struct HostCall {
    AEffect* effect;
    VstInt32 opcode;
    VstInt32 index = 0;
    VstIntPtr value = 0;
    void* ptr = nullptr;
    float opt = 0.0f;

    bool operator==(const HostCall&) const = default;
};
inline std::vector<HostCall> hostCalls;
inline VstIntPtr hostAnswer = 1;

inline VstIntPtr hostCallback(AEffect* effect, VstInt32 opcode, VstInt32 index, VstIntPtr value, void* ptr,
                              float opt)
{
    hostCalls.push_back({effect, opcode, index, value, ptr, opt});
    return hostAnswer;
}

// An entry point of a bundle: by default the built one, which stays loaded.
using EntryPoint = K_TypeIF* (*)(audioMasterCallback);
inline EntryPoint entryPoint(const char* name, void* bundle = loadLibrary(WAIL_BUNDLE))
{
    return reinterpret_cast<EntryPoint>(findSymbol(bundle, name));
}

// The slots of the effect object's table that the tests' code names: the vendor's host calls virtual operations by
// their slots. Tables of the tests have more.
namespace slot
{
// clang-format off
enum Slot : int {
    none = -1, deleteObject = 1, dispatcher = 2, close = 4, suspend = 5, resume = 6, processReplacing = 9,
    processDoubleReplacing = 10, setParameter = 11, getParameter = 12, setParameterAutomated = 13,
    setProgram = 15, setUniqueID = 23, setNumInputs = 24, setNumOutputs = 25, setInitialDelay = 29,
    getEditor = 30, getAeffect = 31, getSampleRate = 32, getBlockSize = 33, getMasterVersion = 34,
    int2string = 43, process = 44, setRealtimeQualities = 49, setOfflineQualities = 50,
    updateSampleRate = 62, updateBlockSize = 63, hostVendorSpecific = 86, canDo = 98,
    openFileSelector = 108, closeFileSelector = 109, allocateArrangement = 111, deallocateArrangement = 112,
    copySpeaker = 113, matchArrangement = 114, wantEvents = 125, setOutputSamplerate = 141,
    setBlockSizeAndSampleRate = 146, getChunkFile = 152, setListner = 160, getParameterDisplayOf = 161,
    setTime = 163, setInvert = 164
};
// clang-format on
}  // namespace slot

// An effect, driven through its record and its table alone. Closes it in the end.
class Plugin
{
public:
    explicit Plugin(EntryPoint make = entryPoint("getinterface"))
        : record(std::unique_ptr<K_TypeIF>(make(hostCallback))->aeffect)
    {
    }
    explicit Plugin(AEffect* other) : record(other) {}
    Plugin(const Plugin&) = delete;
    ~Plugin() { dispatch(effClose); }

    VstIntPtr dispatch(VstInt32 opcode, VstInt32 index = 0, VstIntPtr value = 0, void* ptr = nullptr,
                       float opt = 0.0f) const
    {
        return record->dispatcher(record, opcode, index, value, ptr, opt);
    }
    void setRate(float rate) const { dispatch(effSetSampleRate, 0, 0, nullptr, rate); }
    void setProgram(VstIntPtr program) const { dispatch(effSetProgram, 0, program); }
    void set(VstInt32 index, float value) const { record->setParameter(record, index, value); }
    float get(VstInt32 index) const { return record->getParameter(record, index); }
    void rename(std::string name) const { dispatch(effSetProgramName, 0, 0, name.data()); }

    // Returns what an opcode writes into a text buffer, or "untouched".
    std::string text(VstInt32 opcode, VstInt32 index = 0) const
    {
        char buffer[64] = "untouched";
        dispatch(opcode, index, 0, buffer);
        return buffer;
    }

    // Processes a block in place.
    void process(double* samples, VstInt32 frames) const
    {
        record->processDoubleReplacing(record, &samples, &samples, frames);
    }
    // Likewise, in blocks of the given length, of which the last may be shorter.
    void process(std::vector<double>& samples, std::size_t block = 1 << 20) const
    {
        for (std::size_t n = 0; n < samples.size(); n += block)
            process(samples.data() + n, static_cast<VstInt32>(std::min(block, samples.size() - n)));
    }

    // Calls the operation in a slot (slot::Slot) of the effect object's table.
    template <typename Result, typename... Arguments>
    Result call(int slot, Arguments... arguments) const
    {
        using Operation = Result (*)(void*, Arguments...);
        return (*static_cast<Operation* const*>(record->object))[slot](record->object, arguments...);
    }

    AEffect* record;
};
