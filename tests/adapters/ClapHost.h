#pragma once

#include "adapters/clap/ClapInterface.h"

#include <array>
#include <cstring>
#include <string>
#include <type_traits>
#include <vector>

using ClapEvents = std::vector<clap::ParamEvent>;  // sorted by time

inline clap::ParamEvent valueEvent(clap::Id id, double value, std::uint32_t time = 0)
{
    const clap::Event header{sizeof(clap::ParamEvent), time, clap::kCoreSpace, clap::kParamValue, 0};
    return {header, id, nullptr, -1, -1, -1, -1, value};
}

// A host with one instance, which it drives through its record alone.
class ClapInstance
{
public:
    explicit ClapInstance(const clap::Entry& entry) : plugin(make(entry, &host)) { plugin->init(plugin); }
    ClapInstance(const ClapInstance&) = delete;
    ~ClapInstance() { plugin->destroy(plugin); }

    static const clap::Plugin* make(const clap::Entry& entry, const clap::Host* host,
                                    const char* id = "com.korva.wail")
    {
        const auto* all = static_cast<const clap::PluginFactory*>(entry.getFactory(clap::kPluginFactory));
        return all->create(all, host, id);
    }
    template <typename Extension>
    const Extension& ask(const char* id) const
    {
        return *static_cast<const Extension*>(plugin->getExtension(plugin, id));
    }
    bool activate(double rate) const { return plugin->activate(plugin, rate, 1, 0x7FFFFFFF); }
    void deactivate() const { plugin->deactivate(plugin); }

    std::array<double, 7> values() const  // by id
    {
        std::array<double, 7> all{};
        for (clap::Id id = 0; id < 7; ++id)
            params().getValue(plugin, id, &all[id]);
        return all;
    }
    // These return -1 and "none" if there is none.
    double valueOf(clap::Id id, const char* text) const
    {
        double result = -1.0;
        return params().textToValue(plugin, id, text, &result) ? result : -1.0;
    }
    std::string textOf(clap::Id id, double value, std::uint32_t capacity = 64) const
    {
        char text[64];
        return params().valueToText(plugin, id, value, text, capacity) ? text : "none";
    }

    // The streams give and take half of the bytes a call.
    std::string save() const
    {
        std::string bytes;
        const clap::OutputStream stream{&bytes, [](auto* self, const void* from, std::uint64_t size) {
                                            const auto* first = static_cast<const char*>(from);
                                            const auto taken = static_cast<std::size_t>(size / 2 + 1);
                                            static_cast<std::string*>(self->context)->append(first, taken);
                                            return static_cast<std::int64_t>(taken);
                                        }};
        return ask<clap::State>(clap::kState).save(plugin, &stream) ? bytes : "failed";
    }
    bool load(std::string bytes) const
    {
        const clap::InputStream stream{
            &bytes, [](auto* self, void* to, std::uint64_t size) {
                auto& left = *static_cast<std::string*>(self->context);
                const auto given = left.copy(static_cast<char*>(to), static_cast<std::size_t>(size / 2 + 1));
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
        const auto count = static_cast<std::uint32_t>(frames);
        const clap::Process block{-1,     count, nullptr, &in, &out, 1, 1, events.empty() ? nullptr : &list,
                                  nullptr};
        const clap::ProcessStatus status = plugin->process(plugin, &block);
        constantMask = out.constantMask;
        return status;
    }

    std::string told;  // by the plug-in
    const clap::Host host{clap::kVersion, &told, "host", "", "", "", findExtension, nullptr, wake, nullptr};
    const clap::Plugin* const plugin;
    std::uint64_t constantMask = 0;  // of the last block

private:
    static void tell(const clap::Host* self, const std::string& what)
    {
        *static_cast<std::string*>(self->data) += what + ";";
    }
    static void wake(const clap::Host* self) { tell(self, "process"); }
    static const void* findExtension(const clap::Host* /*self*/, const char* id)
    {
        static constexpr clap::HostParams kParams{
            [](auto* self, auto flags) { tell(self, "rescan " + std::to_string(flags)); }, nullptr, nullptr};
        static constexpr clap::HostPresetLoad kPresets{
            [](auto* self, auto...) { tell(self, "error"); },
            [](auto* self, auto, auto, const char* key) { tell(self, key); }};
        if (std::strcmp(id, clap::kParams) == 0)
            return &kParams;
        return std::strcmp(id, clap::kPresetLoadDraft) == 0 ? &kPresets : nullptr;
    }

    const clap::Params& params() const { return ask<clap::Params>(clap::kParams); }
    static clap::InputEvents listOf(const ClapEvents& events)
    {
        static constexpr auto of = [](const clap::InputEvents* list) -> const ClapEvents& {
            return *static_cast<const ClapEvents*>(list->context);
        };
        return {const_cast<ClapEvents*>(&events),
                [](auto* list) { return static_cast<std::uint32_t>(of(list).size()); },
                [](auto* list, std::uint32_t i) { return &of(list).at(i).header; }};
    }
};
