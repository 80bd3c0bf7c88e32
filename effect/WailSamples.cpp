#include "effect/Wail.h"

#include <algorithm>
#include <cmath>

namespace
{

constexpr double kDetectorGain = 1.584893192;  // +4 dB, 10^(4/20)

// Magnitudes far above any sound and far below the largest double: where the input, the line and the detector
// start from these, gains up to the following take nothing to overflow.
constexpr double kModerate = 1e110;
constexpr double kMaxSense = 4.0;  // the curve ends at 3.16
constexpr double kMaxReso = 0.95;  // the curve ends at 0.936

bool isModerate(double value)
{
    return std::fabs(value) <= kModerate;
}

PairGlide glide(double start, double target, double inc)
{
    return {inBothLanes(start), inBothLanes((target - start) * inc)};
}

double at(const PairGlide& glide, double n)
{
    return glide.start[0] + n * glide.step[0];
}

// Whether a glide stays in 0 .. high.
bool staysWithin(double start, double target, double high)
{
    return start >= 0.0 && target >= 0.0 && start <= high && target <= high;
}

bool areModerate(const double* samples, VstInt32 count)
{
    return std::all_of(samples, samples + count, [](double s) { return isModerate(s); });
}

bool areFinite(const double* samples, VstInt32 count)
{
    return std::all_of(samples, samples + count, [](double s) { return std::isfinite(s); });
}

}  // namespace

// Samples of a block in which neither switch changes its state and the line does not come round.
struct Wail::Run : StagedBuffers {
    VstInt32 length;  // samples
    bool effectOn;    // the effect is produced, not the dry input
};

// Cuts the block where a switch changes its state and where the line comes round. Answers whether all was
// finite. A look at every sample would cost more than a tenth of the block's time, and moderate runs cannot
// overflow: their input is less than 2, or what they wrote to the line shows that it was moderate. From the
// first run that is not, the rest of the block goes the plain way and is looked at.
bool Wail::processRuns(const double* input, double* output, VstInt32 frames)
{
    if (glidesAreStale)
        stageGlides(frames);
    bool moderate = memoryIsModerate && gainsAreModerate;  // so far
    bool finite = true;
    VstInt32 length = 0;
    for (VstInt32 first = 0; first < frames; first += length) {
        length = std::min({frames - first, onOffSwitch->samplesLeft(), invertSwitch->samplesLeft(),
                           delayLength - writeIndex, VstInt32{kMaxStagedFrames}});
        if (invertSwitch->isSilent())
            setInvert();
        // While On/Off fades out, the value before the change is still in force.
        const bool effectOn = (fOnOff == 1.0f) != (onOffSwitch->state == FadeSwitch::kFadingOut);
        const Run run{{.input = input + first,
                       .output = output + first,
                       .line = lineEntry(writeIndex),
                       .placeInBlock = first},
                      length,
                      effectOn};
        bool loud = true;
        if (moderate)
            loud = processQuickly(run);
        else
            processPlainly(run, 0);
        moderate = moderate && (!loud || areModerate(run.line, length));
        if (!moderate)
            finite &= areFinite(run.output, length) && areFinite(run.line, length);
        advance(length);
    }
    if (moderate && detectorIsModerate())
        return true;
    memoryIsModerate = gainsAreModerate && detectorIsModerate() && lineIsModerate();
    return finite && detectorIsFinite();
}

// Moves the line and the switches on.
void Wail::advance(VstInt32 samples) noexcept
{
    const bool wasFading = invertSwitch->state != FadeSwitch::kIdle;
    advanceLine(samples);
    onOffSwitch->advance(samples);
    invertSwitch->advance(samples);
    const bool changedLate = fInvert != appliedInvert && !std::isnan(fInvert);  // after the silent point
    if (wasFading && invertSwitch->state == FadeSwitch::kIdle && changedLate)
        invertSwitch->state = FadeSwitch::kFadingOut;
}

// Nothing that is not finite is heard, and nothing of it is left: the next block starts as after long
// silence. Glides, switches and the write position go on.
void Wail::recover(double* output, VstInt32 frames) noexcept
{
    const auto notFinite = [](double sample) { return !std::isfinite(sample); };
    std::replace_if(output, output + frames, notFinite, 0.0);
    clearLine();
    detectorShelf->refresh();
    detectorHighpass->refresh();
    envelopeSmoother->refresh();
    envelope = 0.0;
    memoryIsModerate = true;
}

// What the quick form of the sample path takes from the detector and never changes.
void Wail::stageDetector() noexcept
{
    const IIRFilter::Coefficients& shelf = detectorShelf->coef;
    const IIRFilter::Coefficients& highpass = detectorHighpass->coef;
    staged.sectionsB0 = Pair{shelf.b0, highpass.b0};
    staged.sectionsB1 = Pair{shelf.b1, highpass.b1};
    staged.sectionsFb1 = Pair{shelf.fb1, highpass.fb1};
    staged.detectorGain = inBothLanes(kDetectorGain);
    staged.wetDelayGain = inBothLanes(wetDelayGain);
    staged.zero = inBothLanes(0.0);
    staged.one = inBothLanes(1.0);
}

// Prepares the glides of a block, which stand even when the silent point of a switch gives a new target.
void Wail::stageGlides(VstInt32 frames) noexcept
{
    const double inc = frames > 1 ? 1.0 / (frames - 1) : 0.0;
    staged.sense = glide(senseStart, senseTarget, inc);
    staged.range = glide(rangeStart, rangeTarget, inc);
    staged.reso = glide(resoStart, resoTarget, inc);
    staged.dry = glide(dryStart, dryTarget, inc);
    staged.wet = glide(wetStart, wetTarget, inc);
    gliding = senseStart != senseTarget || rangeStart != rangeTarget || resoStart != resoTarget ||
              dryStart != dryTarget || wetStart != wetTarget;
    glidesAreStale = gliding;
    widestRange = std::max(rangeStart, rangeTarget);
    gainsAreModerate =
        staysWithin(senseStart, senseTarget, kMaxSense) && staysWithin(rangeStart, rangeTarget, 1.0) &&
        staysWithin(resoStart, resoTarget, kMaxReso) && staysWithin(dryStart, dryTarget, 1.0) &&
        staysWithin(wetStart, wetTarget, 1.0) && releaseCoef >= 0.0 && releaseCoef <= 1.0;
}

// The quick form of processPlainly, for moderate gains and a moderate memory; short runs, a last odd sample
// and runs in which both switches fade go the plain way. Answers whether the input may be more than moderate.
bool Wail::processQuickly(const Run& run) noexcept
{
    const bool onOffFades = onOffSwitch->state != FadeSwitch::kIdle;
    const bool invertFades = invertSwitch->state != FadeSwitch::kIdle;
    if (run.length < kMinStagedFrames || (onOffFades && invertFades && run.effectOn)) {
        processPlainly(run, 0);
        return true;
    }
    const bool switching = onOffFades || invertFades || !run.effectOn;
    if (switching) {
        const FadeSwitch::Gain gain =
            onOffFades || !run.effectOn ? onOffSwitch->gain() : invertSwitch->gain();
        staged.fadeCount = Pair{gain.first, gain.first + gain.perSample};
        staged.fadeStep = inBothLanes(2.0 * gain.perSample);
        staged.fadeUnit = inBothLanes(gain.unit);
        staged.effectOn = run.effectOn;
    }

    // This stretch of the line was last touched a lap ago: it comes while the detector takes its lead.
    for (VstInt32 i = 0; i < 64; i += 8)
        __builtin_prefetch(run.line + i, 1);

    staged.isFar = gliding && staysFar();
    StagedState state{Pair{detectorShelf->z1, detectorHighpass->z1}, inBothLanes(envelope),
                      envelopeSmoother->z1};
    const VstInt32 paired = run.length - run.length % 2;
    bool loud = false;
    if (switching)
        loud = gliding ? processStaged<true, true>(staged, run, paired, state)
                       : processStaged<false, true>(staged, run, paired, state);
    else
        loud = gliding ? processStaged<true, false>(staged, run, paired, state)
                       : processStaged<false, false>(staged, run, paired, state);
    detectorShelf->z1 = state.sections[0];
    detectorHighpass->z1 = state.sections[1];
    envelope = state.envelope[0];
    envelopeSmoother->z1 = state.smoothed;
    if (paired == run.length)
        return loud;
    processPlainly(run, paired);
    return true;
}

// Whether a block that glides has no delay below two samples, whatever the envelope; with room for rounding.
bool Wail::staysFar() const noexcept
{
    const double shortest = sweepBase - (appliedInvert == 1.0f ? 0.0 : sweepDepth * widestRange);
    return shortest > 2.001;
}

// The samples of a run from the one numbered from on, as the formulas have them.
void Wail::processPlainly(const Run& run, VstInt32 from) noexcept
{
    const FadeSwitch::Gain onOffGain = onOffSwitch->gain();
    const FadeSwitch::Gain invertGain = invertSwitch->gain();
    for (VstInt32 i = from; i < run.length; ++i) {
        const auto n = static_cast<double>(run.placeInBlock + i);
        const double x = run.input[i];
        const double e = followLevel(x, at(staged.sense, n));
        const double y = readLine(writeIndex + i, delayFor(e, at(staged.range, n)));
        const double onOff = onOffGain.at(i);
        run.output[i] = run.effectOn
                            ? invertGain.at(i) * onOff *
                                  (at(staged.dry, n) * x + at(staged.wet, n) * (x - wetDelayGain * y))
                            : onOff * x;
        run.line[i] = x - at(staged.reso, n) * y;
    }
}

// The envelope of the level, which rises at once and falls by releaseCoef a sample, smoothed: 0 .. 1.
double Wail::followLevel(double x, double sense) noexcept
{
    double t = x;
    detectorShelf->iirProcessing(&t);
    t *= kDetectorGain;
    detectorHighpass->iirProcessing(&t);

    double level = std::fabs(sense * t);
    if (level > 1.0)
        level = 1.0;
    if (envelope > level)
        level = releaseCoef * envelope;
    envelope = level;

    envelopeSmoother->iirProcessing(&level);
    return level;
}

// In samples, limited to the line; parameters beyond 0 .. 1 can ask for more, or for not-a-number.
double Wail::delayFor(double e, double range) const noexcept
{
    const double m = appliedInvert == 1.0f ? e * range : (0.0 - e) * range;
    const double p = sweepBase + sweepDepth * m;
    return p > 0.0 ? std::min(p, static_cast<double>(delayLength - 1)) : 0.0;
}

// What the line held delay samples before the sample of the given entry: linear between entry k and the one
// a sample older. A delay below 1 blends the oldest entry, which the current sample is about to replace,
// with the newest.
double Wail::readLine(VstInt32 entry, double delay) const noexcept
{
    const auto D = static_cast<VstInt32>(delay);
    VstInt32 k = entry - D;
    if (k < 0)
        k += delayLength;
    const VstInt32 j = k == 0 ? delayLength - 1 : k - 1;
    const double newer = *lineEntry(k);
    return newer + (*lineEntry(j) - newer) * (delay - D);
}

// Moves on by samples entries, at most up to the line's end; there its newest part is repeated before its
// start, where delays are read in one piece.
void Wail::advanceLine(VstInt32 samples) noexcept
{
    writeIndex += samples;
    if (writeIndex == delayLength) {
        std::copy_n(lineEntry(delayLength - lineMargin), lineMargin, lineEntry(-lineMargin));
        writeIndex = 0;
    }
}

bool Wail::lineIsModerate() const noexcept
{
    return areModerate(lineEntry(0), delayLength);
}

// An envelope and a smoother beyond 1 come from parameters beyond it; a smoother's rounding alone stays far
// below the margin given here.
bool Wail::detectorIsModerate() const noexcept
{
    return isModerate(detectorShelf->z1) && isModerate(detectorHighpass->z1) && envelope >= 0.0 &&
           envelope <= 1.0 && envelopeSmoother->z1 >= 0.0 && envelopeSmoother->z1 <= 1.0 + 1e-9;
}

// What is not finite in the detector stays there, so the end of a block tells: each state feeds back by a
// factor that is not 0, and the smoother keeps what an envelope was for one sample.
bool Wail::detectorIsFinite() const noexcept
{
    return std::isfinite(detectorShelf->z1) && std::isfinite(detectorHighpass->z1) &&
           std::isfinite(envelope) && std::isfinite(envelopeSmoother->z1);
}
