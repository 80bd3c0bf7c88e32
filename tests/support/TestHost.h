#pragma once

#include "host/K_TypeIF.h"
#include "host/Opcodes.h"

#include <string>
#include <vector>

// A host's side of the interface: remembers every call and answers each with hostAnswer, or throws.
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
inline bool hostThrows = false;
VstIntPtr hostCallback(AEffect* effect, VstInt32 opcode, VstInt32 index, VstIntPtr value, void* ptr,
                       float opt);

// An entry point of the built bundle, which stays loaded.
K_TypeIF* (*entryPoint(const char* name))(audioMasterCallback);

// An effect, driven through its record alone.
class Plugin
{
public:
    Plugin();                                           // of the bundle
    explicit Plugin(AEffect* other) : record(other) {}  // any other
    Plugin(const Plugin&) = delete;
    ~Plugin() { dispatch(effClose); }

    VstIntPtr dispatch(VstInt32 opcode, VstInt32 index = 0, VstIntPtr value = 0, void* ptr = nullptr,
                       float opt = 0.0f) const
    {
        return record->dispatcher(record, opcode, index, value, ptr, opt);
    }
    void setRate(float rate) const { dispatch(effSetSampleRate, 0, 0, nullptr, rate); }
    void set(VstInt32 index, float value) const { record->setParameter(record, index, value); }
    float get(VstInt32 index) const { return record->getParameter(record, index); }

    // What an opcode writes into a text buffer; "untouched" when it writes nothing.
    std::string text(VstInt32 opcode, VstInt32 index = 0) const;

    // Processes a block in place.
    void process(double* samples, VstInt32 frames) const
    {
        record->processDoubleReplacing(record, &samples, &samples, frames);
    }

    // Calls the operation in one slot of the effect object's table, counted from 0.
    template <typename Result, typename... Arguments>
    Result call(int slot, Arguments... arguments) const
    {
        using Operation = Result (*)(void*, Arguments...);
        return (*static_cast<Operation* const*>(record->object))[slot](record->object, arguments...);
    }

    AEffect* record;
};
