#include "adapters/clap/PresetProvider.h"
#include "adapters/clap/WailClap.h"
#include "host/Export.h"

#include <cstring>
#include <exception>

namespace
{

// Returns null for an unknown id, for a host of an incompatible version, or if memory is short.
const clap::Plugin* create(const clap::PluginFactory* /*factory*/, const clap::Host* host, const char* id)
{
    if (host == nullptr || !clap::isCompatible(host->version) || id == nullptr ||
        std::strcmp(id, kWailId) != 0)
        return nullptr;
    try {
        return (new WailClap(*host))->record();
    } catch (const std::exception&) {
        return nullptr;
    }
}

constexpr clap::PluginFactory kFactory{
    .count = [](const clap::PluginFactory* /*factory*/) { return std::uint32_t{1}; },
    .descriptor = [](const clap::PluginFactory* /*factory*/,
                     std::uint32_t index) { return index == 0 ? &kWailDescriptor : nullptr; },
    .create = create,
};

const void* getFactory(const char* id)
{
    if (id == nullptr)
        return nullptr;
    if (std::strcmp(id, clap::kPluginFactory) == 0)
        return &kFactory;
    const bool isDiscovery = std::strcmp(id, clap::kPresetDiscoveryFactory) == 0 ||
                             std::strcmp(id, clap::kPresetDiscoveryFactoryDraft) == 0;
    return isDiscovery ? &kPresetFactory : nullptr;
}

}  // namespace

// What hosts look up. There is nothing to set up, so there are no calls of init to count.
WAIL_EXPORT const clap::Entry clap_entry;
const clap::Entry clap_entry{
    .version = clap::kVersion,
    .init = [](const char* /*pluginPath*/) { return true; },
    .deinit = [] {},
    .getFactory = getFactory,
};
