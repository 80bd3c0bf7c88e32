#include "adapters/clap/PresetProvider.h"

#include "adapters/clap/WailClap.h"
#include "presets/FactoryPresets.h"

#include <cstring>
#include <new>

namespace
{

constexpr clap::ProviderDescriptor kDescriptor{
    .version = clap::kVersion, .id = "com.korva.wail.presets", .name = "Wail presets", .vendor = kVendor};

bool declareLocation(const clap::Provider* provider)
{
    static constexpr clap::Location kBuiltIn{
        .flags = clap::kFactoryContent, .name = "Wail", .kind = clap::kInPlugin, .path = nullptr};
    const auto* const indexer = static_cast<const clap::Indexer*>(provider->data);
    return indexer->declareLocation != nullptr && indexer->declareLocation(indexer, &kBuiltIn);
}

bool getMetadata(const clap::Provider* /*provider*/, std::uint32_t kind, const char* /*location*/,
                 const clap::MetadataReceiver* receiver)
{
    if (kind != clap::kInPlugin || receiver == nullptr)
        return false;
    for (const FactoryPreset& preset : factoryPresets()) {
        if (!receiver->beginPreset(receiver, preset.name, preset.id))
            break;
        static constexpr clap::PluginId kPlugin{.abi = "clap", .id = kWailId};
        receiver->addPluginId(receiver, &kPlugin);
        receiver->addCreator(receiver, kVendor);
        receiver->setDescription(receiver, preset.description);
        for (const char* const tag : preset.tags) {
            if (tag != nullptr)
                receiver->addFeature(receiver, tag);
        }
    }
    return true;
}

const clap::Provider* create(const clap::PresetDiscoveryFactory* /*factory*/, const clap::Indexer* indexer,
                             const char* id)
{
    if (indexer == nullptr || id == nullptr || std::strcmp(id, kDescriptor.id) != 0)
        return nullptr;
    return new (std::nothrow) clap::Provider{
        .descriptor = &kDescriptor,
        .data = const_cast<clap::Indexer*>(indexer),
        .init = declareLocation,
        .destroy = [](const clap::Provider* provider) { delete provider; },
        .getMetadata = getMetadata,
        .getExtension = [](const clap::Provider* /*provider*/, const char* /*id*/) -> const void* {
            return nullptr;
        },
    };
}

}  // namespace

constexpr clap::PresetDiscoveryFactory kPresetFactory{
    .count = [](const clap::PresetDiscoveryFactory* /*factory*/) { return std::uint32_t{1}; },
    .descriptor = [](const clap::PresetDiscoveryFactory* /*factory*/,
                     std::uint32_t index) { return index == 0 ? &kDescriptor : nullptr; },
    .create = create,
};
