#pragma once

#include "tests/adapters/ClapHost.h"
#include "tests/support/TestHost.h"

// A CLAP instance behind a record, so that tests drive every module alike. CLAP has no programs, so setting one does
// nothing.
class ClapEffect
{
public:
    explicit ClapEffect(const clap::Entry& entry) : instance(entry)
    {
        instance.activate(48000.0);
        record.object = this;
        record.dispatcher = dispatch;
        record.setParameter = [](AEffect* effect, VstInt32 index, float value) {
            of(effect).events.push_back(valueEvent(static_cast<clap::Id>(index), static_cast<double>(value)));
        };
        record.processDoubleReplacing = [](AEffect* effect, double** inputs, double** outputs,
                                           VstInt32 frames) {
            of(effect).process(inputs[0], outputs[0], static_cast<std::size_t>(frames));
        };
    }

    AEffect record{};

private:
    static ClapEffect& of(AEffect* effect) { return *static_cast<ClapEffect*>(effect->object); }
    static VstIntPtr dispatch(AEffect* effect, VstInt32 opcode, VstInt32 /*index*/, VstIntPtr /*value*/,
                              void* /*ptr*/, float opt)
    {
        if (opcode == effSetSampleRate || opcode == effClose)
            of(effect).instance.deactivate();
        if (opcode == effSetSampleRate)
            of(effect).instance.activate(static_cast<double>(opt));
        if (opcode == effClose)
            delete &of(effect);
        return 0;
    }
    void process(const double* input, double* output, std::size_t frames)
    {
        if (frames == 0)
            instance.flush(events);
        else
            instance.process(input, output, frames, events);
        events.clear();
    }

    ClapInstance instance;
    ClapEvents events;
};

// An instance of a module, which may have the entry point of any plug-in interface.
inline std::unique_ptr<Plugin> makePlayer(void* module)
{
    if (void* const entry = findSymbol(module, "clap_entry"))
        return std::make_unique<Plugin>(&(new ClapEffect(*static_cast<const clap::Entry*>(entry)))->record);
    if (void* const make = findSymbol(module, "VSTPluginMain"))
        return std::make_unique<Plugin>(
            reinterpret_cast<AEffect* (*)(audioMasterCallback)>(make)(hostCallback));
    return std::make_unique<Plugin>(entryPoint("getinterface", module));
}
