#pragma once

#include "adapters/clap/ClapInterface.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <type_traits>
#include <vector>

// A CLAP host's side of the interface, which writes down what the plug-in tells it.
struct ClapHost {
    static ClapHost& of(const clap::Host* host) { return *static_cast<ClapHost*>(host->data); }
    static const void* find(const clap::Host* /*host*/, const char* id)
    {
        static constexpr clap::HostParams kParams{
            [](auto* h, std::uint32_t flags) { of(h).told += "rescan " + std::to_string(flags) + ";"; },
            nullptr, nullptr};
        static constexpr clap::HostPresetLoad kPresets{
            [](auto* h, auto, auto, auto, auto, auto) { of(h).told += "error;"; },
            [](auto* h, auto, auto, const char* key) { of(h).told += std::string(key) + ";"; }};
        if (std::strcmp(id, clap::kParams) == 0)
            return &kParams;
        return std::strcmp(id, clap::kPresetLoadDraft) == 0 ? &kPresets : nullptr;
    }

    std::string told;
    clap::Host record{
        clap::kVersion, this, "host", "", "", "", find, nullptr, [](auto* h) { of(h).told += "process;"; },
        nullptr};
};

inline clap::ParamEvent valueEvent(clap::Id id, double value, std::uint32_t time = 0)
{
    return {{sizeof(clap::ParamEvent), time, clap::kCoreSpace, clap::kParamValue, 0},
            id,
            nullptr,
            -1,
            -1,
            -1,
            -1,
            value};
}
using ClapEvents = std::vector<clap::ParamEvent>;  // sorted by time

// An instance, driven through its record alone.
class ClapInstance
{
public:
    explicit ClapInstance(const clap::Entry& entry) : plugin(make(entry, host.record))
    {
        plugin->init(plugin);
    }
    ClapInstance(const ClapInstance&) = delete;
    ~ClapInstance() { plugin->destroy(plugin); }

    static const clap::Plugin* make(const clap::Entry& entry, const clap::Host& host,
                                    const char* id = "com.korva.wail")
    {
        const auto* factory = static_cast<const clap::PluginFactory*>(entry.getFactory(clap::kPluginFactory));
        return factory->create(factory, &host, id);
    }
    template <typename Extension>
    const Extension& ask(const char* id) const
    {
        return *static_cast<const Extension*>(plugin->getExtension(plugin, id));
    }
    const clap::Params& params() const { return ask<clap::Params>(clap::kParams); }

    bool activate(double rate) const { return plugin->activate(plugin, rate, 1, 0x7FFFFFFF); }
    void deactivate() const { plugin->deactivate(plugin); }

    double value(clap::Id id) const
    {
        double result = -1.0;
        params().getValue(plugin, id, &result);
        return result;
    }
    std::string text(clap::Id id, double value, std::uint32_t capacity = 64) const
    {
        char buffer[64];
        return params().valueToText(plugin, id, value, buffer, capacity) ? buffer : "none";
    }
    double typed(clap::Id id, const char* text) const  // -1: not a value
    {
        double result = -1.0;
        return params().textToValue(plugin, id, text, &result) ? result : -1.0;
    }

    // The streams give and take a few bytes a call.
    std::string save() const
    {
        std::string bytes;
        const clap::OutputStream stream{
            &bytes, [](auto* s, const void* from, std::uint64_t size) {
                const auto taken = static_cast<std::size_t>(std::min<std::uint64_t>(size, 23));
                static_cast<std::string*>(s->context)->append(static_cast<const char*>(from), taken);
                return static_cast<std::int64_t>(taken);
            }};
        return ask<clap::State>(clap::kState).save(plugin, &stream) ? bytes : "failed";
    }
    bool load(std::string bytes) const
    {
        const clap::InputStream stream{&bytes, [](auto* s, void* to, std::uint64_t size) {
                                           auto& left = *static_cast<std::string*>(s->context);
                                           const std::size_t given = left.copy(
                                               static_cast<char*>(to),
                                               static_cast<std::size_t>(std::min<std::uint64_t>(size, 17)));
                                           left.erase(0, given);
                                           return static_cast<std::int64_t>(given);
                                       }};
        return ask<clap::State>(clap::kState).load(plugin, &stream);
    }
    bool loadPreset(const char* key, std::uint32_t kind = clap::kInPlugin) const
    {
        return ask<clap::PresetLoad>(clap::kPresetLoad).fromLocation(plugin, kind, nullptr, key);
    }

    void flush(const ClapEvents& events) const
    {
        const clap::InputEvents list = listOf(events);
        params().flush(plugin, &list, nullptr);
    }
    // Sample: double or float.
    template <typename Sample>
    clap::ProcessStatus process(const Sample* input, Sample* output, std::size_t frames,
                                const ClapEvents& events = {})
    {
        auto* from = const_cast<Sample*>(input);  // the interface has no const
        clap::AudioBuffer in{nullptr, nullptr, 1, 0, 0}, out{nullptr, nullptr, 1, 0, 99};
        if constexpr (std::is_same_v<Sample, double>)
            in.data64 = &from, out.data64 = &output;
        else
            in.data32 = &from, out.data32 = &output;
        const clap::InputEvents list = listOf(events);
        const clap::Process block{-1,     static_cast<std::uint32_t>(frames), nullptr, &in, &out, 1, 1, &list,
                                  nullptr};
        const clap::ProcessStatus status = plugin->process(plugin, &block);
        constantMask = out.constantMask;
        return status;
    }

    ClapHost host;
    const clap::Plugin* plugin;
    std::uint64_t constantMask = 0;  // of the last block

private:
    static const ClapEvents& eventsOf(const clap::InputEvents* list)
    {
        return *static_cast<const ClapEvents*>(list->context);
    }
    static clap::InputEvents listOf(const ClapEvents& events)
    {
        return {
            const_cast<ClapEvents*>(&events),
            [](auto* list) { return static_cast<std::uint32_t>(eventsOf(list).size()); },
            [](auto* list, std::uint32_t i) -> const clap::Event* { return &eventsOf(list).at(i).header; }};
    }
};
