#include "effect/Wail.h"

#include "effect/HeldWail.h"
#include "host/CopyText.h"
#include "host/PluginFactory.h"

#include <algorithm>
#include <new>

AudioEffect* createPluginFilter(audioMasterCallback audioMaster)
{
    return new (std::nothrow) Wail(audioMaster);
}

Wail::Wail(audioMasterCallback callback)
    : K_TypeBase(callback, kNumPrograms, kNumParams), programs(new WailProgram[kNumPrograms])
{
    Wail::setProgram(0);
    setUniqueID(fourCharacterCode("WAIL"));
    setNumInputs(1);
    setNumOutputs(1);
    canDoubleReplacing(true);
}

// The new path is complete before it replaces the old one.
void Wail::setSampleRate(float newSampleRate)
{
    const double rate = newSampleRate;
    if (!(rate >= kMinSampleRate && rate <= kMaxSampleRate))
        return;
    if (signalPath != nullptr && rate == signalPath->lastSampleRate)
        return;
    try {
        signalPath = std::make_unique<SignalPath>(rate, live);
    } catch (const std::bad_alloc&) {
        return;
    }
    parametersAreNew = true;
    resume();
}

void Wail::resume()
{
    if (signalPath != nullptr)
        signalPath->clearLine();
    K_TypeBase::resume();
}

void Wail::setInvert()
{
    if (signalPath != nullptr)
        signalPath->setInvert();
}

void Wail::reset() noexcept
{
    const ScopedLock lock(paramMutex);
    if (signalPath == nullptr)
        return;
    const FlushToZero flushToZero;
    signalPath->reset();
    firstBlock = false;
    lastSweep = 0.0f;
}

double Wail::delay() const noexcept
{
    return signalPath ? std::max(0.0, signalPath->delay() / rateInForce()) : 0.0;
}

void Wail::processReplacing(float** /*inputs*/, float** /*outputs*/, VstInt32 /*sampleFrames*/) {}

void Wail::processDoubleReplacing(double** inputs, double** outputs, VstInt32 sampleFrames)
{
    if (sampleFrames > 0)
        HeldWail(*this).process(inputs[0], outputs[0], sampleFrames);
    else if (sampleFrames == 0)
        HeldWail(*this).process<double>(nullptr, nullptr, 0);
}

void Wail::processSinglePrecision(const float* input, float* output, VstInt32 sampleFrames)
{
    if (sampleFrames >= 0)
        HeldWail(*this).process(input, output, sampleFrames);
}

bool Wail::getEffectName(char* name)
{
    return copyText(name, "Wail", kVstMaxNameLen - 1);
}

bool Wail::getProductString(char* text)
{
    return copyText(text, "Wail", kVstMaxNameLen - 1);
}

bool Wail::getVendorString(char* text)
{
    return copyText(text, "KORVA Corporation", kVstMaxNameLen - 1);
}
