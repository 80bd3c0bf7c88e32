#pragma once

#include "effect/Parameters.h"
#include "effect/RecursiveMutex.h"
#include "effect/SampleRates.h"
#include "effect/SignalPath.h"
#include "effect/WailProgram.h"
#include "host/K_TypeBase.h"

#include <memory>

inline constexpr VstInt32 kNumPrograms = 16;

// The effect as a host sees it: parameters, programs, texts, and one SignalPath for the sample rate, which
// makes the sound. One channel.
//
// Which thread may call what:
//     blocks, reset, delay               one thread at a time: the audio thread, or any while nothing plays
//     setSampleRate, resume, setInvert   any thread, but one at a time and never during a block or reset
//     parameters, texts, sweep           any thread, at any time
//     names                              any thread, but a renaming must not overlap a reading
//     setProgram                         any thread, but one at a time
//     rateInForce                        any thread, but never during setSampleRate
// A block holds paramMutex from beginning to end, so what is set meanwhile takes effect with the next block.
class Wail : public K_TypeBase
{
public:
    // May throw std::bad_alloc or std::system_error.
    explicit Wail(audioMasterCallback callback);

    // Clears the delay line.
    void resume() override;

    // Hz, kMinSampleRate .. kMaxSampleRate. A new rate starts from silence, and all glides from 0. The call
    // does nothing if the rate is out of range or already in force, or if memory runs out. The base's own
    // rate, which its text helpers use, stays 44.1 kHz.
    void setSampleRate(float newSampleRate) override;

    // Does nothing: the effect works in double precision.
    void processReplacing(float** inputs, float** outputs, VstInt32 sampleFrames) override;

    // inputs[0], outputs[0]: sampleFrames samples each; they may be the same buffer. sampleFrames: free to
    // change from call to call; 0 takes new values without gliding to them, below 0 nothing happens. Copies
    // the input if no rate is set yet. Never allocates.
    void processDoubleReplacing(double** inputs, double** outputs, VstInt32 sampleFrames) override;

    // The same block in single precision: each sample is widened, each result rounded to nearest, beyond the
    // range of float to the largest float; subnormal results become 0.
    void processSinglePrecision(const float* input, float* output, VstInt32 sampleFrames);

    // As after long silence, the present values in force at once. Nothing if no rate is set. Never allocates.
    void reset() noexcept;

    // Returns the sample rate in force, in Hz; 0 if no rate is set yet.
    double rateInForce() const noexcept { return signalPath ? signalPath->lastSampleRate : 0.0; }

    // Returns the smoothed envelope at the end of the last block, limited to 0 .. 1: how far the teeth were
    // swept of what "Range" allows.
    float sweep() const noexcept { return lastSweep; }

    // Returns the comb's delay at the end of the last block, in seconds; 0 if no rate is set yet.
    double delay() const noexcept;

    // Keep and return any value unchanged; an index out of range is ignored and reads 0.
    void setParameter(VstInt32 index, float value) override;
    float getParameter(VstInt32 index) override;

    void setProgram(VstInt32 program) override;
    void setProgramName(char* name) override;  // keeps 23 characters
    void getProgramName(char* name) override;

    void getParameterLabel(VstInt32 index, char* label) override;
    void getParameterDisplay(VstInt32 index, char* text) override;
    void getParameterName(VstInt32 index, char* text) override;
    bool getParameterProperties(VstInt32 index, VstParameterProperties* properties) override;
    bool getProgramNameIndexed(VstInt32 category, VstInt32 index, char* text) override;
    bool getEffectName(char* name) override;
    bool getVendorString(char* text) override;
    bool getProductString(char* text) override;
    VstInt32 getVendorVersion() override { return 1000; }
    VstPlugCategory getPlugCategory() override { return kPlugCategEffect; }

    // One channel in and out, whatever the extension's defaults.
    VstInt32 getNumOfInJacks() override { return 1; }
    VstInt32 getNumOfOutJacks() override { return 1; }
    VstInt32 getNumOfInSig(VstInt32 /*jack*/) override { return 1; }
    VstInt32 getNumOfOutSig(VstInt32 /*jack*/) override { return 1; }
    VstInt32 getStartNumInSig(VstInt32 /*jack*/) override { return 0; }
    VstInt32 getStartNumOutSig(VstInt32 /*jack*/) override { return 0; }
    VstInt32 getDryInSigNum() override { return -1; }
    void getParameterDisplayOf(VstInt32 index, float value, char* text) override;

    // Sets the sweep up for the current "Invert" value at once, without a fade. Does nothing if no rate is
    // set yet. The last slot of the table: what adapters use above must not become virtual.
    virtual void setInvert();

private:
    friend class HeldWail;
    void storeParameter(VstInt32 index, float value) noexcept;  // setParameter under the lock

    RecursiveMutex paramMutex;  // held for the blocks of one call, or for the two stores of one parameter
    std::unique_ptr<WailProgram[]> programs;
    ParameterValues live;                    // as the host last set them
    Relaxed<bool> parametersAreNew = true;   // the next block takes them over
    bool firstBlock = true;                  // none was processed yet, at any rate
    std::unique_ptr<SignalPath> signalPath;  // null until a rate is set
    Relaxed<float> lastSweep = 0.0f;
};
