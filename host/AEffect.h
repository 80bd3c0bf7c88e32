#pragma once

// The VST 2.4 plug-in record, the structure that host and plug-in share: the host reads its counts, flags and
// identity and calls its six functions, each with the record as the first argument. Hosts depend on the order
// and sizes of its fields.

#include <cstddef>
#include <cstdint>

using VstInt16 = std::int16_t;
using VstInt32 = std::int32_t;
using VstIntPtr = std::intptr_t;

struct AEffect;

// The host's side of the interface. opcode: a HostOpcode (host/Opcodes.h). effect: null only as long as no
// effect exists. Arguments that an opcode does not use are 0, null or 0.0.
using audioMasterCallback = VstIntPtr (*)(AEffect* effect, VstInt32 opcode, VstInt32 index, VstIntPtr value,
                                          void* ptr, float opt);

using AEffectDispatcherProc = audioMasterCallback;  // the plug-in's side; opcode: an EffectOpcode
using AEffectProcessProc = void (*)(AEffect* effect, float** inputs, float** outputs, VstInt32 sampleFrames);
using AEffectProcessDoubleProc = void (*)(AEffect* effect, double** inputs, double** outputs,
                                          VstInt32 sampleFrames);
using AEffectSetParameterProc = void (*)(AEffect* effect, VstInt32 index, float parameter);
using AEffectGetParameterProc = float (*)(AEffect* effect, VstInt32 index);

// Four characters as one 32-bit integer, the first in the highest byte.
constexpr VstInt32 fourCharacterCode(const char (&code)[5])
{
    VstInt32 value = 0;
    for (int i = 0; i < 4; ++i)
        value = (value << 8) | code[i];
    return value;
}

inline constexpr VstInt32 kEffectMagic = fourCharacterCode("VstP");

// Bits of AEffect::flags.
enum VstAEffectFlags : VstInt32 {
    effFlagsHasEditor = 1 << 0,
    effFlagsHasClip = 1 << 1,       // deprecated
    effFlagsHasVu = 1 << 2,         // deprecated
    effFlagsCanMono = 1 << 3,       // deprecated
    effFlagsCanReplacing = 1 << 4,  // processReplacing
    effFlagsProgramChunks = 1 << 5,
    effFlagsIsSynth = 1 << 8,
    effFlagsNoSoundInStop = 1 << 9,
    effFlagsExtIsAsync = 1 << 10,         // deprecated
    effFlagsExtHasBuffer = 1 << 11,       // deprecated
    effFlagsCanDoubleReplacing = 1 << 12  // processDoubleReplacing
};

struct AEffect {
    VstInt32 magic;  // kEffectMagic
    AEffectDispatcherProc dispatcher;
    AEffectProcessProc process;  // accumulating, deprecated
    AEffectSetParameterProc setParameter;
    AEffectGetParameterProc getParameter;
    VstInt32 numPrograms;
    VstInt32 numParams;
    VstInt32 numInputs;      // channels
    VstInt32 numOutputs;     // channels
    VstInt32 flags;          // VstAEffectFlags
    VstIntPtr resvd1;        // 0
    VstIntPtr resvd2;        // 0
    VstInt32 initialDelay;   // latency in samples
    VstInt32 realQualities;  // deprecated
    VstInt32 offQualities;   // deprecated
    float ioRatio;           // deprecated
    void* object;            // the AudioEffect that the record belongs to
    void* user;              // for the host's own use
    VstInt32 uniqueID;       // four-character code
    VstInt32 version;
    AEffectProcessProc processReplacing;
    AEffectProcessDoubleProc processDoubleReplacing;
    char future[56];  // 0
};

// An offset or size in bytes, which differs between 32-bit and 64-bit targets.
constexpr std::size_t bytesOn(std::size_t target32, std::size_t target64)
{
    return sizeof(void*) == 4 ? target32 : target64;
}

static_assert(sizeof(AEffect) == bytesOn(144, 192));
static_assert(offsetof(AEffect, magic) == bytesOn(0, 0));
static_assert(offsetof(AEffect, dispatcher) == bytesOn(4, 8));
static_assert(offsetof(AEffect, process) == bytesOn(8, 16));
static_assert(offsetof(AEffect, setParameter) == bytesOn(12, 24));
static_assert(offsetof(AEffect, getParameter) == bytesOn(16, 32));
static_assert(offsetof(AEffect, numPrograms) == bytesOn(20, 40));
static_assert(offsetof(AEffect, numParams) == bytesOn(24, 44));
static_assert(offsetof(AEffect, numInputs) == bytesOn(28, 48));
static_assert(offsetof(AEffect, numOutputs) == bytesOn(32, 52));
static_assert(offsetof(AEffect, flags) == bytesOn(36, 56));
static_assert(offsetof(AEffect, resvd1) == bytesOn(40, 64));
static_assert(offsetof(AEffect, resvd2) == bytesOn(44, 72));
static_assert(offsetof(AEffect, initialDelay) == bytesOn(48, 80));
static_assert(offsetof(AEffect, realQualities) == bytesOn(52, 84));
static_assert(offsetof(AEffect, offQualities) == bytesOn(56, 88));
static_assert(offsetof(AEffect, ioRatio) == bytesOn(60, 92));
static_assert(offsetof(AEffect, object) == bytesOn(64, 96));
static_assert(offsetof(AEffect, user) == bytesOn(68, 104));
static_assert(offsetof(AEffect, uniqueID) == bytesOn(72, 112));
static_assert(offsetof(AEffect, version) == bytesOn(76, 116));
static_assert(offsetof(AEffect, processReplacing) == bytesOn(80, 120));
static_assert(offsetof(AEffect, processDoubleReplacing) == bytesOn(84, 128));
static_assert(offsetof(AEffect, future) == bytesOn(88, 136));
