#include "adapters/clap/WailClap.h"

#include "adapters/clap/ClapState.h"
#include "effect/HeldWail.h"
#include "presets/FactoryPresets.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

namespace
{

// Seconds in which the longest ring falls from full scale to below -120 dBFS. At low rates the delay at rest,
// 0.3125 ms with "Invert" on, is below a sample, where sound comes back with each lap of the line, in 0.1 s.
constexpr double kTailSeconds = 0.35;
constexpr double kLowRate = 3200.0;  // Hz
constexpr double kLowRateTailSeconds = 24.0;

// Below these the sweep and the output are at rest: -120 dB.
constexpr float kRestingSweep = 1e-6f;
constexpr double kSilence = 1e-6;

template <typename Sample>
bool isSilent(const Sample* samples, std::uint32_t frames, Sample limit) noexcept
{
    return std::all_of(samples, samples + frames, [=](Sample s) { return s >= -limit && s <= limit; });
}

template <typename Sample>
bool isConstant(const Sample* samples, std::uint32_t frames) noexcept
{
    return std::all_of(samples, samples + frames, [=](Sample s) { return s == *samples; });
}

// No empty block: it would end all glides.
template <typename Sample>
void run(HeldWail& effect, const Sample* input, Sample* output, std::uint32_t frames) noexcept
{
    if (frames > 0)
        effect.process(input, output, static_cast<VstInt32>(frames));
}

}  // namespace

WailClap::WailClap(const clap::Host& clapHost)
    : ownRecord([this] {
          clap::Plugin record = kRecord;
          record.data = this;
          return record;
      }()),
      host(clapHost)
{
}

void WailClap::init()
{
    const auto find = [this](const char* id) {
        return host.getExtension != nullptr ? host.getExtension(&host, id) : nullptr;
    };
    hostParams = static_cast<const clap::HostParams*>(find(clap::kParams));
    hostPresetLoad = static_cast<const clap::HostPresetLoad*>(find(clap::kPresetLoad));
    if (hostPresetLoad == nullptr)
        hostPresetLoad = static_cast<const clap::HostPresetLoad*>(find(clap::kPresetLoadDraft));
}

// Block lengths need no memory.
bool WailClap::activate(double sampleRate)
{
    if (active || !(sampleRate >= kMinSampleRate && sampleRate <= kMaxSampleRate))
        return false;
    const auto rate = static_cast<float>(sampleRate);
    effect.setSampleRate(rate);
    if (effect.rateInForce() != static_cast<double>(rate))  // no memory
        return false;
    active = true;
    reset();
    return true;
}

void WailClap::reset()
{
    if (!active)
        return;
    parameters.takeReload();
    applyAll();
    effect.reset();
    stillFrames = std::numeric_limits<std::uint64_t>::max() / 2;  // silent for ever
}

std::uint32_t WailClap::tailFrames() const
{
    const double rate = effect.rateInForce();
    return static_cast<std::uint32_t>(
        std::ceil(rate * (rate < kLowRate ? kLowRateTailSeconds : kTailSeconds)));
}

clap::ProcessStatus WailClap::process(const clap::Process& block)
{
    constexpr auto kMaxFrames = static_cast<std::uint32_t>(std::numeric_limits<VstInt32>::max());
    if (!active || block.frames > kMaxFrames || block.inputCount == 0 || block.outputCount == 0 ||
        block.inputs == nullptr || block.outputs == nullptr)
        return clap::kProcessError;
    const clap::AudioBuffer& input = block.inputs[0];
    clap::AudioBuffer& output = block.outputs[0];
    if (input.channelCount == 0 || output.channelCount == 0)
        return clap::kProcessError;
    if (input.data64 != nullptr && output.data64 != nullptr)
        return play(input.data64[0], output.data64[0], block);
    if (input.data32 != nullptr && output.data32 != nullptr)
        return play(input.data32[0], output.data32[0], block);
    return clap::kProcessError;
}

template <typename Sample>
clap::ProcessStatus WailClap::play(const Sample* input, Sample* output, const clap::Process& block)
{
    if (input == nullptr || output == nullptr)
        return clap::kProcessError;
    const std::uint32_t frames = block.frames;
    const clap::InputEvents* const events = block.inEvents;
    bool still = isSilent(input, frames, Sample{0});  // looked at first: the output may replace it
    if (parameters.takeReload()) {
        applyAll();
        still = false;
    }
    HeldWail held(effect);
    std::uint32_t done = 0;
    const std::uint32_t count = events != nullptr ? events->size(events) : 0;
    for (std::uint32_t i = 0; i < count; ++i) {
        const clap::Event* const event = events->get(events, i);
        const std::optional<VstInt32> index = event != nullptr ? parameters.take(*event) : std::nullopt;
        if (!index)
            continue;
        const std::uint32_t time = std::clamp(event->time, done, frames);
        run(held, input + done, output + done, time - done);
        done = time;
        held.setParameter(*index, parameters.heard(*index));
        still = false;
    }
    run(held, input + done, output + done, frames - done);
    stillFrames = still ? stillFrames + frames : 0;
    block.outputs[0].constantMask = isConstant(output, frames) ? 1 : 0;
    const bool asleep = stillFrames >= tailFrames() && effect.sweep() <= kRestingSweep &&
                        isSilent(output, frames, static_cast<Sample>(kSilence));
    return asleep ? clap::kProcessSleep : clap::kProcessContinue;
}

void WailClap::flush(const clap::InputEvents* events)
{
    const std::uint32_t count = events != nullptr ? events->size(events) : 0;
    for (std::uint32_t i = 0; i < count; ++i) {
        const clap::Event* const event = events->get(events, i);
        if (const auto index = event != nullptr ? parameters.take(*event) : std::nullopt) {
            effect.setParameter(*index, parameters.heard(*index));
            stillFrames = 0;
        }
    }
}

void WailClap::applyAll()
{
    for (VstInt32 index = 0; index < kNumParams; ++index)
        effect.setParameter(index, parameters.heard(index));
}

bool WailClap::loadPreset(std::uint32_t kind, const char* location, const char* loadKey)
{
    const std::span presets = factoryPresets();
    const auto preset = std::ranges::find_if(presets, [loadKey](const FactoryPreset& each) {
        return loadKey != nullptr && std::strcmp(each.id, loadKey) == 0;
    });
    const bool isFound = kind == clap::kInPlugin && preset != presets.end();
    if (isFound) {
        parameters.setProgram(preset->values);
        tellOfNewValues();
    }
    if (hostPresetLoad == nullptr)
        return isFound;
    if (isFound)
        hostPresetLoad->loaded(&host, kind, location, loadKey);
    else
        hostPresetLoad->onError(&host, kind, location, loadKey, 0, "Wail has no such preset");
    return isFound;
}

// The host's copies are stale, and if the instance sleeps, it has to wake to take the values.
void WailClap::tellOfNewValues()
{
    if (hostParams != nullptr)
        hostParams->rescan(&host, clap::kRescanValues);
    if (active && host.requestProcess != nullptr)
        host.requestProcess(&host);
}
