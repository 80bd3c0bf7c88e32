#pragma once

#include "tests/adapters/ClapHost.h"
#include "tests/support/Allocations.h"
#include "tests/support/Signals.h"
#include "tests/support/TestHost.h"

#include <array>
#include <cmath>
#include <functional>
#include <limits>

using ClapValues = std::array<double, 7>;  // by id
inline constexpr ClapValues kClapDefaults{0.0, 0.84210527f, 0.8f, 0.444f, 1.0f, 0.0, 1.0f};

inline std::string clapState(const ClapValues& values)
{
    const auto* const bytes = reinterpret_cast<const char*>(values.data());
    return std::string("WAIL\1\0\0\0", 8) + std::string(bytes, sizeof values);
}

// The life of an instance beside the bundle, which is played in the blocks and with the values that the instance
// should make of what its host does: what is set while it is inactive, or before a reset, is there at once; all else
// glides, each run between events as a block of its own.
class ClapLife
{
public:
    // Returns one of 0 .. n - 1.
    using Choose = std::function<std::uint32_t(std::uint32_t n)>;

    ClapLife(const clap::Entry& entry, EntryPoint make, Choose chooser)
        : instance(entry), makeBundle(make), choose(std::move(chooser))
    {
        activate();
    }

    // Does something and returns what was wrong; null if nothing was.
    const char* step()
    {
        std::string toTell;
        const char* fault = nullptr;
        instance.told.clear();
        switch (choose(32)) {
        case 0: activate(); break;
        case 1: fault = reset(); break;
        case 2:
        case 3: toTell = load(); break;
        case 4: flush(); break;
        default: fault = choose(2) == 0 ? compareBlock<double>() : compareBlock<float>();
        }
        if (fault != nullptr)
            return fault;
        if (instance.values() != values)
            return "another value";
        if (instance.told != toTell)
            return "the host is told something else";
        return instance.save() == clapState(values) ? nullptr : "another state";
    }

private:
    void startBundle()
    {
        bundle = std::make_unique<Plugin>(makeBundle);
        bundle->setRate(static_cast<float>(rate));
        hearAll();
        bundle->process(nullptr, 0);
    }
    void hear(clap::Id id) const
    {
        const double value = std::clamp(values[id] + modulation[id], 0.0, 1.0);
        bundle->set(static_cast<VstInt32>(id), static_cast<float>(id == 0 ? 1.0 - value : value));
    }
    void hearAll() const
    {
        for (clap::Id id = 0; id < 7; ++id)
            hear(id);
    }
    bool take(const clap::ParamEvent& event)  // false: it is not for the plug-in
    {
        const bool modulates = event.header.type == 6, isSwitch = event.param % 5 == 0;
        if (event.header.space != 0 || event.header.type > 6 || event.param > 6 || std::isnan(event.value) ||
            (modulates && isSwitch))
            return false;
        const double value = std::clamp(event.value, 0.0, 1.0);
        if (modulates)
            modulation[event.param] = event.value;
        else
            values[event.param] = isSwitch ? std::floor(value) : value;
        return true;
    }

    void activate()
    {
        rate = std::array{22050.0, 1234.5678, 48000.0, 192000.0}[choose(4)];
        instance.deactivate();
        startBundle();
        flush();
        instance.activate(rate);
        startBundle();
    }
    void flush()
    {
        const ClapEvents events = someEvents(100);
        instance.flush(events);
        std::vector<double> none;
        playBundle(none, events);
    }
    const char* reset()
    {
        const std::size_t before = Allocations::count;
        instance.plugin->reset(instance.plugin);
        const bool allocatesNothing = Allocations::count == before;
        startBundle();
        return allocatesNothing ? nullptr : "reset allocates";
    }
    std::string load()  // a preset, a state or no state; returns what the host is to be told
    {
        const std::uint32_t kind = choose(4);
        ClapValues next{values[0], 0.12f, 1.0f, 1.0f, 1.0f, 1.0f, 1.0f};
        if (kind == 0) {
            instance.loadPreset("howling-comb");
        } else {
            for (clap::Id id = 0; id < 7; ++id)
                next[id] = id % 5 == 0 ? choose(2) : choose(1001) / 1000.0;
            std::string state = clapState(next);
            state[choose(8)] ^= static_cast<char>(kind == 1);
            instance.load(state);
        }
        if (kind == 1)
            return "";
        values = next;
        hearAll();
        return kind == 0 ? "rescan 1;process;howling-comb;" : "rescan 1;process;";
    }

    ClapEvents someEvents(std::size_t length) const  // some of them late, some for somebody else
    {
        ClapEvents events(choose(3) == 0 ? 0 : choose(6));
        for (clap::ParamEvent& event : events) {
            constexpr std::array kSpecial{-3.0, 0.5, 7.0, 1.0, 0.0, double{NAN}};
            const double value = choose(3) == 0 ? kSpecial[choose(6)] : choose(1001) / 1000.0;
            event = valueEvent(choose(8), value, choose(static_cast<std::uint32_t>(length + length / 8 + 1)));
            event.header.type = std::array<std::uint16_t, 5>{5, 5, 5, 6, 7}[choose(5)];
            event.header.space = choose(10) == 0 ? 0xB33F : clap::kCoreSpace;
        }
        std::ranges::stable_sort(events, {}, [](const auto& event) { return event.header.time; });
        return events;
    }
    bool playBundle(std::vector<double>& samples,
                    const ClapEvents& events)  // returns whether an event counted
    {
        std::size_t done = 0;
        bool isChanged = false;
        const auto playUntil = [&](std::size_t end) {
            if (end > done)
                bundle->process(samples.data() + done, static_cast<VstInt32>(end - done));
            done = std::max(done, end);
        };
        for (const clap::ParamEvent& event : events) {
            if (!take(event))
                continue;
            playUntil(std::min<std::size_t>(event.header.time, samples.size()));
            hear(event.param);
            isChanged = true;
        }
        playUntil(samples.size());
        return isChanged;
    }

    // Plays a block of double or float samples, in place or apart.
    template <typename Sample>
    const char* compareBlock()
    {
        const std::size_t length = std::array{1, 2, 13, 63, 256, 300, 1024, 9000}[choose(8)];
        const double peak = std::array{0.0, 1.0, 1e-3, 2.5}[choose(4)];
        const std::vector<double> source = noise(length, peak, choose(256));
        const std::vector<Sample> input(source.begin(), source.end());
        std::vector<double> wide(input.begin(), input.end());
        const ClapEvents events = someEvents(length);
        const bool isStill = !playBundle(wide, events) && peak == 0.0;
        std::vector<Sample> output = input, expected;
        for (const double sample : wide)
            expected.push_back(
                std::abs(sample) < std::numeric_limits<Sample>::min() ? 0 : static_cast<Sample>(sample));

        const Sample* const from = choose(2) == 0 ? output.data() : input.data();
        const std::size_t before = Allocations::count;
        const clap::ProcessStatus status = instance.process(from, output.data(), length, events);
        if (Allocations::count != before)
            return "a block allocates";
        if (output != expected)
            return "another sound";
        const auto constant = static_cast<std::size_t>(std::ranges::count(output, output[0]));
        if (instance.constantMask != (constant == length ? 1 : 0))
            return "a wrong mask";
        const auto isQuiet = [](Sample sample) { return std::abs(sample) <= 1e-6; };
        const bool mayStop = status == clap::kProcessSleep && isStill && std::ranges::all_of(output, isQuiet);
        return status == clap::kProcessContinue || mayStop ? nullptr : "a wrong status";
    }

    ClapInstance instance;
    const EntryPoint makeBundle;
    const Choose choose;
    std::unique_ptr<Plugin> bundle;
    double rate = 48000.0;  // Hz
    ClapValues values = kClapDefaults, modulation{};
};
