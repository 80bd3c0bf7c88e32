#include "effect/LevelFollower.h"

#include <cmath>

namespace
{

constexpr double kDetectorGain = 1.584893192;  // +4 dB, 10^(4/20)

filterPrm_tag design(FilterType type, double freq, double gainDb, double sampleRate)
{
    return {.type = type,
            .freq = freq,
            .freqLow = 0.0,
            .freqHigh = 0.0,
            .q = 0.7,
            .gainDb = gainDb,
            .sampleRate = sampleRate};
}

IIRFilter section(filterPrm_tag prm)
{
    return IIRFilter(&prm);
}

}  // namespace

LevelFollower::LevelFollower(double sampleRate, double smootherFreq) noexcept
    : detectorShelf(section(design(kHighShelf1, 90.0, 9.0, sampleRate))),
      detectorHighpass(section(design(kHighPass1, 80.0, 0.0, sampleRate))),
      envelopeSmoother(section(design(kOnePole, smootherFreq, 0.0, sampleRate)))
{
}

double LevelFollower::follow(double x, double sense) noexcept
{
    double t = x;
    detectorShelf.iirProcessing(&t);
    t *= kDetectorGain;
    detectorHighpass.iirProcessing(&t);

    double level = std::fabs(sense * t);
    if (level > 1.0)
        level = 1.0;
    if (envelope > level)
        level = releaseCoef * envelope;
    envelope = level;

    envelopeSmoother.iirProcessing(&level);
    return level;
}

void LevelFollower::setSmoother(double freq, double sampleRate) noexcept
{
    filterPrm_tag prm = design(kOnePole, freq, 0.0, sampleRate);
    envelopeSmoother.FDexcute(&prm);
}

void LevelFollower::reset() noexcept
{
    detectorShelf.refresh();
    detectorHighpass.refresh();
    envelopeSmoother.refresh();
    envelope = 0.0;
}

bool LevelFollower::isFinite() const noexcept
{
    return std::isfinite(detectorShelf.z1) && std::isfinite(detectorHighpass.z1) && std::isfinite(envelope) &&
           std::isfinite(envelopeSmoother.z1);
}

void LevelFollower::writeTo(PipelineSettings& settings) const noexcept
{
    const IIRFilter::Coefficients& shelf = detectorShelf.coef;
    const IIRFilter::Coefficients& highpass = detectorHighpass.coef;
    settings.sectionsB0 = Pair{shelf.b0, highpass.b0};
    settings.sectionsB1 = Pair{shelf.b1, highpass.b1};
    settings.sectionsFb1 = Pair{shelf.fb1, highpass.fb1};
    settings.detectorGain = inBothLanes(kDetectorGain);
    settings.smootherPole = envelopeSmoother.coef.b0;
    settings.smootherInput = envelopeSmoother.coef.fb1;
}
