#pragma once

#include "effect/FadeSwitch.h"
#include "effect/ParamCurve.h"
#include "effect/RecursiveMutex.h"
#include "effect/StagedRun.h"
#include "effect/WailProgram.h"
#include "filter/IIRFilter.h"
#include "host/K_TypeBase.h"

#include <array>
#include <memory>

// Parameter indices: hosts and saved settings know the parameters by them.
enum WailParameter : VstInt32 { kOnOff = 0, kSense, kReso, kRange, kBalance, kInvert, kEnvelope, kNumParams };

inline constexpr VstInt32 kNumPrograms = 16;

// The sample rates that the effect takes, in Hz. At the lowest a fade has one sample.
inline constexpr double kMinSampleRate = 62.5;
inline constexpr double kMaxSampleRate = 3072000.0;

// What a sample rate needs memory for: had as a whole before anything old goes, and moved in one step.
struct RateObjects {
    RateObjects() = default;  // of no rate yet: nothing

    // Hz, kMinSampleRate .. kMaxSampleRate. May throw std::bad_alloc.
    explicit RateObjects(double sampleRate);

    VstInt32 delayLength = 0;             // samples, 0.1 s
    VstInt32 lineMargin = 0;              // samples: the longest delay of parameters in 0 .. 1, and 2
    std::unique_ptr<double[]> delayLine;  // circular, delayLength samples after lineMargin ones of room
    std::unique_ptr<ParamCurve> senseCurve, rangeCurve, envelopeCurve, resoCurve, dryCurve, wetCurve;
    std::unique_ptr<IIRFilter> detectorShelf, detectorHighpass, envelopeSmoother;
    std::unique_ptr<FadeSwitch> onOffSwitch, invertSwitch;
};

// An envelope-swept comb filter, one channel. The louder the input x, the farther the comb's teeth move:
//
//     e = smooth(follow(|s detect(x)|))         detect: shelf, +4 dB, high-pass; follow: peak, release
//     p = sweepBase +- sweepDepth e r           delay in samples; - when "Invert" is off
//     v(n) = x(n) - g v(n - p)                  the line: a comb with negative feedback
//     out(n) = d x(n) + w (x(n) - 1.5 v(n - p)) times the gains of the switches
//
// s, g, r, d, w: "Sense", "Reso", "Range" and the two sides of "Balance", each gliding linearly through a
// block from the last block's value to the new one. With parameters in 0 .. 1 the delay stays between 0 and
// 2.15 ms and g below 0.94, so the comb is stable; beyond them it need not be.
// Source: J. O. Smith, "Physical Audio Signal Processing" (feedback comb, interpolated delay line);
// U. Zoelzer (ed.), "DAFX - Digital Audio Effects" (peak follower with release, level-driven sweeps).
//
// The host sets parameters and programs and asks for texts from any thread; a block in work holds
// paramMutex, so changes take effect with the next block. setSampleRate and resume must not overlap a block.
class Wail : public K_TypeBase, private RateObjects
{
public:
    // May throw std::bad_alloc or std::system_error.
    explicit Wail(audioMasterCallback callback);

    // Clears the delay line.
    void resume() override;

    // Hz, from kMinSampleRate to kMaxSampleRate; a rate beyond these, and one for which there is no memory,
    // leaves everything as it was. A new rate rebuilds all that depends on it and starts from silence; the
    // same rate does nothing.
    void setSampleRate(float newSampleRate) override;

    // Does nothing: the effect works in double precision alone.
    void processReplacing(float** inputs, float** outputs, VstInt32 sampleFrames) override;

    // inputs[0], outputs[0]: sampleFrames samples each; they may be the same buffer. sampleFrames: free to
    // change from call to call; below 0 nothing happens. Copies the input when no rate is set yet. Never
    // allocates.
    //
    // It recovers from whatever it is sent: in a block in which a sample or a state was not finite, the
    // output samples that are not finite become 0, and the next block starts as after long silence.
    void processDoubleReplacing(double** inputs, double** outputs, VstInt32 sampleFrames) override;

    // Keep and give any value unchanged; an index out of range is ignored and reads 0.
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

    // Sets the sweep up for the current "Invert" value; the envelope goes on smoothly. Needs a sample rate.
    virtual void setInvert();

private:
    // What tells one parameter from another. A row's place is its index for hosts and saved settings.
    struct Parameter {
        const char* name;  // at most 8 characters
        bool isSwitch;     // on at exactly 1, off at any other value
        Relaxed<float> Wail::*live;
        Relaxed<float> WailProgram::*stored;
    };
    static const std::array<Parameter, kNumParams> kParameters;
    static const Parameter* findParameter(VstInt32 index) noexcept;

    struct Run;
    void setRelease(double factor) noexcept;
    void mapChangedParameters() noexcept;
    void updateSwitches();
    bool processRuns(const double* input, double* output, VstInt32 frames);
    void stageDetector() noexcept;
    void stageGlides(VstInt32 frames) noexcept;
    bool processQuickly(const Run& run) noexcept;
    bool staysFar() const noexcept;
    void processPlainly(const Run& run, VstInt32 from) noexcept;
    double followLevel(double x, double sense) noexcept;
    double delayFor(double e, double range) const noexcept;
    double readLine(VstInt32 entry, double delay) const noexcept;
    void advance(VstInt32 samples) noexcept;
    void advanceLine(VstInt32 samples) noexcept;
    bool lineIsModerate() const noexcept;
    bool detectorIsModerate() const noexcept;
    bool detectorIsFinite() const noexcept;
    void recover(double* output, VstInt32 frames) noexcept;
    void finishGlides() noexcept;

    double* lineEntry(VstInt32 k) const noexcept { return delayLine.get() + lineMargin + k; }
    void clearLine() noexcept;

    RecursiveMutex paramMutex;  // one block, or one parameter's two stores
    std::unique_ptr<WailProgram[]> programs;

    // Live parameter values, normalised, as the host last set them.
    Relaxed<float> fSense;
    Relaxed<float> fRange;
    Relaxed<float> fEnvelope;
    Relaxed<float> fReso;
    Relaxed<float> fBalance;
    Relaxed<float> fOnOff;
    Relaxed<float> fInvert;

    Relaxed<bool> parametersAreNew = true;  // the next block looks which of them changed

    // The values that were mapped last; -1 has the next block map them all.
    float lastSense = -1.0f;
    float lastRange = -1.0f;
    float lastEnvelope = -1.0f;
    float lastReso = -1.0f;
    float lastBalance = -1.0f;
    double lastSampleRate = -1.0;  // Hz; -1: no rate yet

    bool firstBlock = true;
    float appliedInvert = 0.0f;  // "Invert" value that the sweep is set up for
    VstInt32 writeIndex = 0;     // entry of the current sample; the oldest until it is written
    double envelope = 0.0;       // level followed, 0 .. 1
    double releaseCoef = 0.0;    // the envelope's fall, a factor per sample
    double sweepBase = 0.0;      // delay without sweep, samples
    double sweepDepth = 0.0;     // delay change of a full sweep, samples

    // What a block glides to, and from.
    double senseTarget = 0.0;
    double rangeTarget = 0.0;
    double resoTarget = 0.0;
    double senseStart = 0.0;
    double rangeStart = 0.0;
    double resoStart = 0.0;
    double dryStart = 0.0;
    double wetStart = 0.0;
    double dryTarget = 0.0;
    double wetTarget = 0.0;
    double initialRelease = 0.9;  // releaseCoef until the first block
    double wetDelayGain = 1.5;    // weight of the delayed signal in the wet mix

    bool glidesAreStale = true;    // the next block prepares its glides anew
    bool gliding = false;          // a value of this block moves
    double widestRange = 0.0;      // of this block, where a value moves
    bool gainsAreModerate = true;  // as parameters in 0 .. 1 give them
    bool memoryIsModerate = true;  // so are line and detector: nothing can overflow

    // What the quick form reads of all this; written wherever that is.
    StagedRun staged{};
};
