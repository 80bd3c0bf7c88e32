// The tables of functions that hosts call an instance by.

#include "adapters/clap/ClapState.h"
#include "adapters/clap/WailClap.h"
#include "host/CopyText.h"

#include <algorithm>
#include <cstring>

namespace
{

constexpr const char* kFeatures[] = {"audio-effect", "filter", "flanger", "mono", nullptr};
constexpr clap::Id kPort = 0;  // of both directions: each is the other's partner in place

// The order in which the knobs are turned.
constexpr clap::Id kPageParams[] = {kSense, kRange, kInvert, kReso, kEnvelope, kBalance, kOnOff};

}  // namespace

constexpr clap::Descriptor kWailDescriptor{
    .version = clap::kVersion,
    .id = kWailId,
    .name = "Wail",
    .vendor = kVendor,
    .url = "",
    .manualUrl = "",
    .supportUrl = "",
    .pluginVersion = WAIL_VERSION,
    .description = "A comb filter whose teeth sweep with the level of what you play",
    .features = kFeatures,
};

constexpr clap::Plugin WailClap::kRecord{
    .descriptor = &kWailDescriptor,
    .data = nullptr,
    .init =
        [](const clap::Plugin* plugin) {
            of(plugin).init();
            return true;
        },
    .destroy = [](const clap::Plugin* plugin) { delete &of(plugin); },
    .activate = [](const clap::Plugin* plugin, double sampleRate, std::uint32_t /*minFrames*/,
                   std::uint32_t /*maxFrames*/) { return of(plugin).activate(sampleRate); },
    .deactivate = [](const clap::Plugin* plugin) { of(plugin).active = false; },
    .startProcessing = [](const clap::Plugin* plugin) { return of(plugin).active; },
    .stopProcessing = [](const clap::Plugin* /*plugin*/) {},
    .reset = [](const clap::Plugin* plugin) { of(plugin).reset(); },
    .process =
        [](const clap::Plugin* plugin, const clap::Process* block) {
            return block != nullptr ? of(plugin).process(*block) : clap::kProcessError;
        },
    .getExtension = [](const clap::Plugin* /*plugin*/, const char* id) { return findExtension(id); },
    .onMainThread = [](const clap::Plugin* /*plugin*/) {},
};

constexpr clap::AudioPorts WailClap::kAudioPorts{
    .count = [](const clap::Plugin* /*plugin*/, bool /*isInput*/) { return std::uint32_t{1}; },
    .get =
        [](const clap::Plugin* /*plugin*/, std::uint32_t index, bool isInput, clap::AudioPortInfo* info) {
            if (index != 0 || info == nullptr)
                return false;
            *info = {};
            info->id = kPort;
            copyText(info->name, isInput ? "In" : "Out", clap::kNameSize - 1);
            info->flags = clap::kPortIsMain | clap::kPortSupports64Bits | clap::kPortPrefers64Bits |
                          clap::kPortNeedsOneSampleSize;
            info->channelCount = 1;
            info->portType = "mono";
            info->inPlacePair = kPort;
            return true;
        },
};

constexpr clap::Params WailClap::kParams{
    .count = [](const clap::Plugin* /*plugin*/) { return std::uint32_t{kNumParams}; },
    .getInfo = [](const clap::Plugin* /*plugin*/, std::uint32_t index,
                  clap::ParamInfo* info) { return info != nullptr && ClapParameters::getInfo(index, *info); },
    .getValue =
        [](const clap::Plugin* plugin, clap::Id id, double* value) {
            if (id >= kNumParams || value == nullptr)
                return false;
            *value = of(plugin).parameters.value(id);
            return true;
        },
    .valueToText =
        [](const clap::Plugin* plugin, clap::Id id, double value, char* text, std::uint32_t capacity) {
            return ClapParameters::valueToText(of(plugin).effect, id, value, text, capacity);
        },
    .textToValue =
        [](const clap::Plugin* /*plugin*/, clap::Id id, const char* text, double* value) {
            return value != nullptr && ClapParameters::textToValue(id, text, *value);
        },
    .flush = [](const clap::Plugin* plugin, const clap::InputEvents* events,
                const clap::OutputEvents* /*out*/) { of(plugin).flush(events); },
};

constexpr clap::State WailClap::kState{
    .save =
        [](const clap::Plugin* plugin, const clap::OutputStream* stream) {
            return stream != nullptr && saveState(of(plugin).parameters.all(), *stream);
        },
    .load =
        [](const clap::Plugin* plugin, const clap::InputStream* stream) {
            const auto values = stream != nullptr ? loadState(*stream) : std::nullopt;
            if (values) {
                of(plugin).parameters.setAll(*values);
                of(plugin).tellOfNewValues();
            }
            return values.has_value();
        },
};

constexpr clap::FrameCount WailClap::kTail{
    [](const clap::Plugin* plugin) { return of(plugin).tailFrames(); }};

constexpr clap::FrameCount WailClap::kLatency{
    [](const clap::Plugin* /*plugin*/) { return std::uint32_t{0}; }};

constexpr clap::PresetLoad WailClap::kPresetLoad{
    [](const clap::Plugin* plugin, std::uint32_t kind, const char* location, const char* loadKey) {
        return of(plugin).loadPreset(kind, location, loadKey);
    }};

constexpr clap::RemoteControls WailClap::kRemoteControls{
    .count = [](const clap::Plugin* /*plugin*/) { return std::uint32_t{1}; },
    .get =
        [](const clap::Plugin* /*plugin*/, std::uint32_t index, clap::RemoteControlsPage* page) {
            if (index != 0 || page == nullptr)
                return false;
            *page = {};
            copyText(page->sectionName, "Wail", clap::kNameSize - 1);
            copyText(page->name, "Wail", clap::kNameSize - 1);
            std::ranges::fill(page->params, clap::kInvalidId);
            std::ranges::copy(kPageParams, page->params);
            return true;
        },
};

const void* WailClap::findExtension(const char* id)
{
    struct Extension {
        const char* id;
        const void* table;
    };
    static constexpr Extension kExtensions[] = {
        {clap::kAudioPorts, &kAudioPorts},
        {clap::kParams, &kParams},
        {clap::kState, &kState},
        {clap::kTail, &kTail},
        {clap::kLatency, &kLatency},
        {clap::kPresetLoad, &kPresetLoad},
        {clap::kPresetLoadDraft, &kPresetLoad},
        {clap::kRemoteControls, &kRemoteControls},
        {clap::kRemoteControlsDraft, &kRemoteControls},
    };
    const auto* const found = std::ranges::find_if(
        kExtensions, [id](const Extension& each) { return id != nullptr && std::strcmp(each.id, id) == 0; });
    return found != std::end(kExtensions) ? found->table : nullptr;
}
