#include "adapters/SinglePrecision.h"
#include "effect/Wail.h"
#include "host/Opcodes.h"
#include "host/PluginFactory.h"
#include "host/VstRecords.h"

#include <lv2/atom/atom.h>
#include <lv2/buf-size/buf-size.h>
#include <lv2/core/lv2.h>
#include <lv2/core/lv2_util.h>
#include <lv2/options/options.h>
#include <lv2/urid/urid.h>

#include <exception>
#include <memory>

namespace
{

// Places of the ports, as wail.ttl has them. The first are the parameters, in the order of their indices.
enum Port : VstInt32 { kInput = kNumParams, kOutput };

// What this host of the effect has to offer: its version.
VstIntPtr answerEffect(AEffect* /*effect*/, VstInt32 opcode, VstInt32 /*index*/, VstIntPtr /*value*/,
                       void* /*ptr*/, float /*opt*/)
{
    return opcode == audioMasterVersion ? kVstVersion : 0;
}

VstIntPtr dispatch(AEffect* effect, VstInt32 opcode, VstInt32 index = 0, VstIntPtr value = 0,
                   void* ptr = nullptr, float opt = 0.0f)
{
    return effect->dispatcher(effect, opcode, index, value, ptr, opt);
}

struct EndEffect {
    void operator()(AEffect* effect) const { dispatch(effect, effClose); }
};
using Effect = std::unique_ptr<AEffect, EndEffect>;

// sampleRate: Hz. blockLength: frames of the longest block to come. Throws when it cannot be made.
Effect makeEffect(float sampleRate, VstInt32 blockLength)
{
    AudioEffect* const object = createPluginFilter(answerEffect);
    if (object == nullptr)
        throw std::bad_alloc();
    Effect effect(object->getAeffect());
    dispatch(effect.get(), effOpen);
    dispatch(effect.get(), effSetBlockSize, 0, blockLength);
    dispatch(effect.get(), effSetSampleRate, 0, 0, nullptr, sampleRate);
    return effect;
}

// The longest block in frames, as far as the host tells, of the pieces that blocks are cut into.
VstInt32 longestBlock(const LV2_Feature* const* features)
{
    const auto* const map = static_cast<LV2_URID_Map*>(lv2_features_data(features, LV2_URID__map));
    const auto* option =
        static_cast<const LV2_Options_Option*>(lv2_features_data(features, LV2_OPTIONS__options));
    if (map == nullptr || option == nullptr)
        return SinglePrecision::kLongestPiece;
    const LV2_URID maxBlockLength = map->map(map->handle, LV2_BUF_SIZE__maxBlockLength);
    const LV2_URID atomInt = map->map(map->handle, LV2_ATOM__Int);
    for (; option->key != 0 || option->value != nullptr; ++option) {
        if (option->key == maxBlockLength && option->type == atomInt && option->value != nullptr)
            return std::clamp(*static_cast<const std::int32_t*>(option->value), 1,
                              SinglePrecision::kLongestPiece);
    }
    return SinglePrecision::kLongestPiece;
}

// One instance, which drives an effect of its own through its record, as a host does.
class WailLV2
{
public:
    // Throws when the effect cannot be made.
    WailLV2(float rate, VstInt32 length)
        : sampleRate(rate), blockLength(length), effect(makeEffect(sampleRate, blockLength))
    {
        for (VstInt32 index = 0; index < kNumParams; ++index) {
            VstParameterProperties properties{};
            dispatch(effect.get(), effGetParameterProperties, index, 0, &properties);
            controls[index].isToggle = (properties.flags & kVstParameterIsSwitch) != 0;
        }
    }

    void connect(std::uint32_t port, void* data) noexcept
    {
        if (port < kNumParams)
            controls[port].port = static_cast<const float*>(data);
        else if (port == kInput)
            input = static_cast<const float*>(data);
        else if (port == kOutput)
            output = static_cast<float*>(data);
    }

    // Nothing of what was played before may sound or be remembered, so this takes a new effect. The old
    // one serves on where there is no memory for it.
    void activate() noexcept
    {
        try {
            effect = makeEffect(sampleRate, blockLength);
        } catch (const std::exception&) {
        }
        dispatch(effect.get(), effMainsChanged, 0, 1);
    }

    void deactivate() noexcept { dispatch(effect.get(), effMainsChanged, 0, 0); }

    // Audio thread: no allocation, and no lock that another thread takes.
    void run(std::uint32_t frames) noexcept
    {
        for (VstInt32 index = 0; index < kNumParams; ++index)
            follow(controls[index], index);
        if (frames == 0 || (input != nullptr && output != nullptr))
            singlePrecision.process(*effect, input, output, static_cast<VstInt32>(frames));
    }

private:
    struct Control {
        const float* port = nullptr;
        bool isToggle = false;  // on above 0, where the effect's switch is on at exactly 1
    };

    void follow(const Control& control, VstInt32 index) noexcept
    {
        if (control.port == nullptr)
            return;
        const float value = control.isToggle ? (*control.port > 0.0f ? 1.0f : 0.0f) : *control.port;
        if (value != effect->getParameter(effect.get(), index))
            effect->setParameter(effect.get(), index, value);
    }

    const float sampleRate;      // Hz
    const VstInt32 blockLength;  // frames
    Effect effect;
    std::array<Control, kNumParams> controls;  // by parameter index
    const float* input = nullptr;
    float* output = nullptr;
    SinglePrecision singlePrecision;
};

WailLV2& instanceOf(LV2_Handle handle)
{
    return *static_cast<WailLV2*>(handle);
}

// Null for a rate that the effect does not take, and when there is no memory.
LV2_Handle instantiate(const LV2_Descriptor* /*descriptor*/, double rate, const char* /*bundlePath*/,
                       const LV2_Feature* const* features) noexcept
{
    const auto sampleRate = static_cast<float>(rate);
    if (!(sampleRate >= kMinSampleRate && sampleRate <= kMaxSampleRate))
        return nullptr;
    try {
        return new WailLV2(sampleRate, longestBlock(features));
    } catch (const std::exception&) {
        return nullptr;
    }
}

constexpr LV2_Descriptor kDescriptor{
    .URI = WAIL_LV2_URI,
    .instantiate = instantiate,
    .connect_port = [](LV2_Handle handle, std::uint32_t port,
                       void* data) { instanceOf(handle).connect(port, data); },
    .activate = [](LV2_Handle handle) { instanceOf(handle).activate(); },
    .run = [](LV2_Handle handle, std::uint32_t frames) { instanceOf(handle).run(frames); },
    .deactivate = [](LV2_Handle handle) { instanceOf(handle).deactivate(); },
    .cleanup = [](LV2_Handle handle) { delete &instanceOf(handle); },
    .extension_data = [](const char* /*uri*/) -> const void* { return nullptr; },
};

}  // namespace

LV2_SYMBOL_EXPORT const LV2_Descriptor* lv2_descriptor(std::uint32_t index)
{
    return index == 0 ? &kDescriptor : nullptr;
}
