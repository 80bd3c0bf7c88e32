#include "cli/Render.h"

#include "cli/AudioFile.h"
#include "cli/Effect.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

namespace
{

using Effects = std::vector<std::unique_ptr<Effect>>;

Effects makeEffects(const Bundle& bundle, const AudioInput& input, const RenderSettings& settings)
{
    Effects effects;
    for (int channel = 0; channel < input.channels(); ++channel) {
        effects.push_back(std::make_unique<Effect>(bundle, input.sampleRate(), settings.blockSize));
        for (const auto& [index, value] : settings.parameters)
            effects.back()->setParameter(index, value);
    }
    return effects;
}

// interleaved: frames frames of one sample for each effect. channel: room for frames samples.
void processBlock(Effects& effects, std::span<double> interleaved, std::vector<double>& channel)
{
    const std::size_t channels = effects.size();
    const std::size_t frames = interleaved.size() / channels;
    for (std::size_t c = 0; c < channels; ++c) {
        for (std::size_t i = 0; i < frames; ++i)
            channel[i] = interleaved[i * channels + c];
        effects[c]->process(channel.data(), static_cast<VstInt32>(frames));
        for (std::size_t i = 0; i < frames; ++i)
            interleaved[i * channels + c] = channel[i];
    }
}

}  // namespace

RenderResult render(const RenderSettings& settings)
{
    const Bundle bundle(Bundle::standardFile());
    AudioInput input(settings.input);
    AudioOutput output(settings.output, input);
    Effects effects = makeEffects(bundle, input, settings);

    RenderResult result{.channels = input.channels(), .sampleRate = input.sampleRate()};
    std::vector<double> samples(static_cast<std::size_t>(settings.blockSize) * effects.size());
    std::vector<double> channel(static_cast<std::size_t>(settings.blockSize));
    while (const sf_count_t frames = input.read(samples, settings.blockSize)) {
        const std::span<double> block(samples.data(), static_cast<std::size_t>(frames) * effects.size());
        processBlock(effects, block, channel);
        for (const double sample : block) {
            result.peak = std::max(result.peak, std::fabs(sample));
            result.limited += output.limits() && std::fabs(sample) > 1.0 ? 1 : 0;
        }
        output.write(block);
        result.frames += frames;
    }
    output.keep();
    return result;
}
