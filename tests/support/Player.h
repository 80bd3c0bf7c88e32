#pragma once

#include "tests/adapters/ClapHost.h"
#include "tests/support/TestHost.h"

// An instance of any module, whatever its interface.
class Player
{
public:
    Player() = default;
    Player(const Player&) = delete;
    virtual ~Player() = default;

    virtual void setRate(float rate) = 0;
    virtual void set(VstInt32 index, float value) = 0;
    virtual void setProgram(VstInt32 program) = 0;
    virtual void process(double* samples, VstInt32 frames) = 0;  // in place
};

class RecordPlayer final : public Player
{
public:
    explicit RecordPlayer(auto effect) : plugin(effect) {}  // its record, or the entry point that makes it
    void setRate(float rate) override { plugin.setRate(rate); }
    void set(VstInt32 index, float value) override { plugin.set(index, value); }
    void setProgram(VstInt32 program) override { plugin.setProgram(program); }
    void process(double* samples, VstInt32 frames) override { plugin.process(samples, frames); }

private:
    const Plugin plugin;
};

// CLAP has no programs, so setting one does nothing.
class ClapPlayer final : public Player
{
public:
    explicit ClapPlayer(const clap::Entry& entry) : instance(entry) { instance.activate(48000.0); }
    ~ClapPlayer() override { instance.deactivate(); }
    void setRate(float rate) override
    {
        instance.deactivate();
        instance.activate(static_cast<double>(rate));
    }
    void set(VstInt32 index, float value) override
    {
        events.push_back(valueEvent(static_cast<clap::Id>(index), static_cast<double>(value)));
    }
    void setProgram(VstInt32 /*program*/) override {}
    void process(double* samples, VstInt32 frames) override
    {
        if (frames == 0)
            instance.flush(events);
        else
            instance.process(samples, samples, static_cast<std::size_t>(frames), events);
        events.clear();
    }

private:
    ClapInstance instance;
    ClapEvents events;
};

inline std::unique_ptr<Player> makePlayer(void* module)
{
    if (void* const entry = findSymbol(module, "clap_entry"))
        return std::make_unique<ClapPlayer>(*static_cast<const clap::Entry*>(entry));
    if (void* const make = findSymbol(module, "VSTPluginMain"))
        return std::make_unique<RecordPlayer>(
            reinterpret_cast<AEffect* (*)(audioMasterCallback)>(make)(hostCallback));
    return std::make_unique<RecordPlayer>(entryPoint("getinterface", module));
}
