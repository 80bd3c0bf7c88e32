#include "adapters/SinglePrecision.h"
#include "effect/Wail.h"
#include "host/Opcodes.h"

namespace
{

// The effect for hosts that process in single precision alone.
class WailVST final : public Wail
{
public:
    using Wail::Wail;

    void processReplacing(float** inputs, float** outputs, VstInt32 sampleFrames) override
    {
        singlePrecision.process(cEffect, inputs[0], outputs[0], sampleFrames);
    }

private:
    SinglePrecision singlePrecision;
};

}  // namespace

// The interface's standard main function. Makes a new effect, which the host ends with effClose; null when
// the callback is null, answers 0 to audioMasterVersion or throws, and when there is no memory.
extern "C" [[gnu::visibility("default")]] AEffect* VSTPluginMain(audioMasterCallback audioMaster)
{
    try {
        if (audioMaster == nullptr || audioMaster(nullptr, audioMasterVersion, 0, 0, nullptr, 0.0f) == 0)
            return nullptr;
        return (new WailVST(audioMaster))->getAeffect();
    } catch (...) {
        return nullptr;
    }
}
