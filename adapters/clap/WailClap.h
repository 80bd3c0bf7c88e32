#pragma once

#include "adapters/clap/ClapInterface.h"
#include "adapters/clap/ClapParameters.h"
#include "effect/Wail.h"

inline constexpr const char* kWailId = "com.korva.wail";
inline constexpr const char* kVendor = "KORVA Corporation";

// The effect as CLAP hosts list it.
extern const clap::Descriptor kWailDescriptor;

// One instance of the effect for CLAP hosts.
//
// A block is cut at parameter events and nowhere else: the samples before an event are one block of the
// effect, and glides run through each. Values that a state or preset sets on the main thread reach the
// effect at the start of the next block, so the audio thread never waits for the main thread. No memory is
// allocated while active.
//
// Operations are those of the record, on the threads named there, and check what hosts may get wrong.
class WailClap
{
public:
    // host: outlives the instance; not called before init. May throw std::bad_alloc or std::system_error.
    explicit WailClap(const clap::Host& host);
    WailClap(const WailClap&) = delete;

    // The record through which the host calls the instance. Its destroy deletes the instance.
    const clap::Plugin* record() const noexcept { return &ownRecord; }

private:
    static const clap::Plugin kRecord;
    static const clap::AudioPorts kAudioPorts;
    static const clap::Params kParams;
    static const clap::State kState;
    static const clap::FrameCount kTail;
    static const clap::FrameCount kLatency;
    static const clap::PresetLoad kPresetLoad;
    static const clap::RemoteControls kRemoteControls;
    static const void* findExtension(const char* id);
    static WailClap& of(const clap::Plugin* plugin) { return *static_cast<WailClap*>(plugin->data); }

    void init();

    // Hz, kMinSampleRate .. kMaxSampleRate. Returns false for other rates, if memory is short, or while
    // active.
    bool activate(double sampleRate);
    void reset();
    clap::ProcessStatus process(const clap::Process& block);
    void flush(const clap::InputEvents* events);
    bool loadPreset(std::uint32_t kind, const char* location, const char* loadKey);
    void tellOfNewValues();
    std::uint32_t tailFrames() const;

    template <typename Sample>
    clap::ProcessStatus play(const Sample* input, Sample* output, const clap::Process& block);
    void applyAll();

    const clap::Plugin ownRecord;
    const clap::Host& host;
    const clap::HostParams* hostParams = nullptr;          // null if the host has none
    const clap::HostPresetLoad* hostPresetLoad = nullptr;  // likewise
    Wail effect{nullptr};
    ClapParameters parameters;
    bool active = false;  // the main thread writes it, never during a call of the audio thread
    std::uint64_t stillFrames =
        0;  // [audio] since the last input that is not 0 and the last change of a value
};
