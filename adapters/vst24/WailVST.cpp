#include "effect/Wail.h"
#include "host/Export.h"
#include "host/Opcodes.h"
#include "presets/FactoryPresets.h"

#include <algorithm>
#include <cmath>

namespace
{

// The effect for hosts that process in single precision, list programs in a menu and draw switches as
// sliders. Where it differs from Wail:
//     - its first programs are the shipped presets, and the others have numbers in their names;
//     - parameters stay within 0 .. 1, and a switch is on from 0.5 and reads back 0 or 1;
//     - a sound starts at its settings instead of gliding there from 0.
class WailVST final : public Wail
{
public:
    // May throw as Wail does.
    explicit WailVST(audioMasterCallback callback) : Wail(callback)
    {
        for (VstInt32 program = 0; program < kNumPrograms; ++program)
            nameProgram(program, "Init " + std::to_string(program + 1));
        VstInt32 program = 0;
        for (const FactoryPreset& preset : factoryPresets()) {
            nameProgram(program++, preset.name);
            for (VstInt32 index = 0; index < kNumParams; ++index)
                Wail::setParameter(index, preset.values[static_cast<std::size_t>(index)]);
        }
        Wail::setProgram(0);
    }

    // Brings a value beyond 0 .. 1 to the nearer end and ignores NaN.
    void setParameter(VstInt32 index, float value) override
    {
        if (!std::isnan(value))
            Wail::setParameter(index, accepted(index, value));
    }

    void getParameterDisplayOf(VstInt32 index, float value, char* text) override
    {
        Wail::getParameterDisplayOf(index, accepted(index, value), text);
    }

    void resume() override
    {
        Wail::resume();
        isStarting = true;
    }

    // inputs, outputs: may be null if sampleFrames is 0.
    void processReplacing(float** inputs, float** outputs, VstInt32 sampleFrames) override
    {
        start();
        const bool isEmpty = sampleFrames <= 0;
        processSinglePrecision(isEmpty ? nullptr : inputs[0], isEmpty ? nullptr : outputs[0], sampleFrames);
    }

    void processDoubleReplacing(double** inputs, double** outputs, VstInt32 sampleFrames) override
    {
        start();
        Wail::processDoubleReplacing(inputs, outputs, sampleFrames);
    }

private:
    void nameProgram(VstInt32 program, std::string name)
    {
        Wail::setProgram(program);
        Wail::setProgramName(name.data());
    }

    static float accepted(VstInt32 index, float value) noexcept
    {
        const auto place = static_cast<std::size_t>(index);
        if (place < kParameters.size() && kParameters[place].isSwitch)
            return value >= 0.5f ? 1.0f : 0.0f;
        return std::clamp(value, 0.0f, 1.0f);
    }

    // Hosts may set parameters after switching the effect on, so the first block takes them.
    void start() noexcept
    {
        if (isStarting)
            reset();
        isStarting = false;
    }

    bool isStarting = true;  // no block yet since a sample rate was set or the effect was switched on
};

}  // namespace

// The interface's standard main function. Returns a new effect, which the host ends with effClose; null if
// the callback is null, returns 0 for audioMasterVersion or throws, or if memory is short.
WAIL_EXPORT AEffect* VSTPluginMain(audioMasterCallback audioMaster)
{
    try {
        if (audioMaster == nullptr || audioMaster(nullptr, audioMasterVersion, 0, 0, nullptr, 0.0f) == 0)
            return nullptr;
        return (new WailVST(audioMaster))->getAeffect();
    } catch (...) {
        return nullptr;
    }
}
