#pragma once

#include "effect/FlushToZero.h"
#include "effect/Wail.h"

#include <algorithm>
#include <utility>

// The effect, held by one thread to the end of the scope: its lock and FlushToZero, which cost as much as six
// samples, are taken once for several blocks and the changes between them. Each operation does what Wail's does.
class HeldWail
{
public:
    explicit HeldWail(Wail& wail) noexcept : effect(wail), lock(wail.paramMutex) {}

    // Sample: double or float. frames: 0 or more.
    template <typename Sample>
    void process(const Sample* input, Sample* output, VstInt32 frames) noexcept
    {
        SignalPath* const path = effect.signalPath.get();
        if (path == nullptr) {
            if (input != output)
                std::copy_n(input, frames, output);
            return;
        }
        if (effect.parametersAreNew)
            effect.parametersAreNew = path->takeParameters(std::exchange(effect.firstBlock, false));
        path->process(input, output, frames);
        effect.lastSweep = path->sweep();
    }

    void setParameter(VstInt32 index, float value) noexcept { effect.storeParameter(index, value); }

private:
    Wail& effect;
    const ScopedLock lock;
    const FlushToZero flushToZero;
};
