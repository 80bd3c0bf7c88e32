#include "effect/Wail.h"

#include <lv2/core/lv2.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <exception>
#include <new>

namespace
{

// Indices of the ports, as in wail.ttl. The first ones are the parameters, in the order of their indices.
enum Port : VstInt32 { kInput = kNumParams, kOutput, kSweep };

// One instance. Ports that the host leaves unconnected are ignored; without its two audio ports it does
// nothing.
class WailLV2
{
public:
    // sampleRate: Hz, kMinSampleRate .. kMaxSampleRate. May throw as Wail does.
    explicit WailLV2(float sampleRate)
    {
        effect.setSampleRate(sampleRate);
        if (effect.rateInForce() == 0.0)
            throw std::bad_alloc();
    }

    void connect(std::uint32_t port, void* data) noexcept
    {
        if (port < kNumParams)
            controls[port] = static_cast<const float*>(data);
        else if (port == kInput)
            input = static_cast<const float*>(data);
        else if (port == kOutput)
            output = static_cast<float*>(data);
        else if (port == kSweep)
            sweep = static_cast<float*>(data);
    }

    // The next run starts as after long silence, at the values that the control ports have then.
    void activate() noexcept { isStarting = true; }

    // Audio thread: no allocation, and no lock that another thread takes.
    void run(std::uint32_t frames) noexcept
    {
        for (std::uint32_t index = 0; index < kNumParams; ++index)
            follow(static_cast<VstInt32>(index), controls[index]);
        if (isStarting)
            effect.reset();
        isStarting = false;
        if (frames == 0 || (input != nullptr && output != nullptr))
            effect.processSinglePrecision(input, output, static_cast<VstInt32>(frames));
        if (sweep != nullptr)
            *sweep = effect.sweep();
    }

private:
    // Sets a parameter from its port: a value out of range is brought to the nearer end, the last one stays
    // if it is NaN. As the toggled property says, a switch is on above 0; the effect's are on at exactly 1.
    void follow(VstInt32 index, const float* control) noexcept
    {
        if (control == nullptr || std::isnan(*control))
            return;
        const float clamped = std::clamp(*control, 0.0f, 1.0f);
        const bool isSwitch = kParameters[static_cast<std::size_t>(index)].isSwitch;
        const float value = isSwitch ? std::ceil(clamped) : clamped;
        if (value != effect.getParameter(index))
            effect.setParameter(index, value);
    }

    Wail effect{nullptr};
    bool isStarting = true;
    std::array<const float*, kNumParams> controls{};  // by parameter index
    const float* input = nullptr;
    float* output = nullptr;
    float* sweep = nullptr;
};

WailLV2& instanceOf(LV2_Handle handle)
{
    return *static_cast<WailLV2*>(handle);
}

// Returns null for a sample rate that the effect does not take, or if memory is short.
LV2_Handle instantiate(const LV2_Descriptor* /*descriptor*/, double rate, const char* /*bundlePath*/,
                       const LV2_Feature* const* /*features*/) noexcept
{
    const auto sampleRate = static_cast<float>(rate);
    if (!(sampleRate >= kMinSampleRate && sampleRate <= kMaxSampleRate))
        return nullptr;
    try {
        return new WailLV2(sampleRate);
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
    .deactivate = nullptr,
    .cleanup = [](LV2_Handle handle) { delete &instanceOf(handle); },
    .extension_data = nullptr,
};

}  // namespace

LV2_SYMBOL_EXPORT const LV2_Descriptor* lv2_descriptor(std::uint32_t index)
{
    return index == 0 ? &kDescriptor : nullptr;
}
