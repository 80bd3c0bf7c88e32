#include "cli/engine/Renderer.h"

#include "cli/Error.h"
#include "cli/audio/Peak.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>

namespace
{

constexpr std::size_t kChunkSamples = 1 << 12;  // read and written at once, or a block if that is longer

class Renderer
{
public:
    Renderer(AudioInput& from, const RenderSettings& settings)
        : input(from), automation(settings.automation), channels(static_cast<std::size_t>(from.channels())),
          blockFrames(static_cast<std::size_t>(settings.blockSize)),
          position(framesIn(settings.startSeconds, from.sampleRate())),
          silentFrames(framesIn(settings.tailSeconds, from.sampleRate())),
          gain(std::pow(10.0, settings.gainDecibels / 20.0)),
          chunk(blockFrames * channels * std::max<std::size_t>(1, kChunkSamples / blockFrames / channels)),
          channel(blockFrames)
    {
        if (settings.durationSeconds)
            inputFrames = framesIn(*settings.durationSeconds, input.sampleRate());
        if (automation)
            automation->prepare(input.sampleRate(), input.frames());
        ParameterSettings values = valuesNow();
        for (std::size_t i = 0; i < settings.program.values.size(); ++i)
            values.try_emplace(static_cast<VstInt32>(i), settings.program.values[i]);
        for (std::size_t c = 0; c < channels; ++c) {
            effects.push_back(std::make_unique<HostedEffect>());
            effects.back()->setParameters(values);
            effects.back()->start(input.sampleRate(), settings.blockSize);
        }
        skipTo(position);
    }

    RenderResult run(const RenderTaps& taps)
    {
        RenderResult result;
        for (std::size_t frames = 0; (frames = fillChunk(taps)) > 0;) {
            const std::span<double> samples = std::span(chunk).first(frames * channels);
            for (std::size_t done = 0; done < frames; done += blockFrames)
                processBlock(
                    samples.subspan(done * channels, std::min(blockFrames, frames - done) * channels));
            if (gain != 1.0)
                for (double& sample : samples)
                    sample *= gain;
            result.peak = std::max(result.peak, peakOf(samples));
            result.frames += static_cast<std::int64_t>(frames);
            if (taps.output)
                taps.output(samples);
        }
        return result;
    }

private:
    void skipTo(std::int64_t frame)
    {
        const auto chunkFrames = static_cast<std::int64_t>(chunk.size() / channels);
        for (std::int64_t left = frame; left > 0; left -= chunkFrames) {
            const auto count = static_cast<std::size_t>(std::min(left, chunkFrames));
            if (input.read(chunk, count) < count)
                throw Error("cannot start that far into {}: it is shorter", input.name());
        }
    }

    // Takes the next frames of the input, or of the silence behind it, which fills up the input's last chunk.
    // Returns how many, 0 at the end.
    std::size_t fillChunk(const RenderTaps& taps)
    {
        const auto room = static_cast<std::int64_t>(chunk.size() / channels);
        const std::int64_t wanted = std::min(room, inputFrames);
        const auto got =
            wanted == 0 ? 0 : static_cast<std::int64_t>(input.read(chunk, static_cast<std::size_t>(wanted)));
        inputFrames = got < wanted ? 0 : inputFrames - got;
        const std::span<double> samples = std::span(chunk).first(static_cast<std::size_t>(got) * channels);
        if (taps.input && got > 0)
            taps.input(samples);
        const std::int64_t silent = std::min(room - got, silentFrames);
        silentFrames -= silent;
        std::fill(chunk.begin() + std::ssize(samples), chunk.end(), 0.0);
        return static_cast<std::size_t>(got + silent);
    }

    ParameterSettings valuesNow() const
    {
        return automation ? automation->at(position) : ParameterSettings();
    }

    // Every block hears the values that the automation has at its first frame.
    void processBlock(std::span<double> samples)
    {
        const std::size_t frames = samples.size() / channels;
        const ParameterSettings values = valuesNow();
        for (std::size_t c = 0; c < channels; ++c) {
            effects[c]->setParameters(values);
            if (channels == 1) {
                effects[c]->process(samples.data(), static_cast<VstInt32>(frames));
                continue;
            }
            for (std::size_t i = 0; i < frames; ++i)
                channel[i] = samples[i * channels + c];
            effects[c]->process(channel.data(), static_cast<VstInt32>(frames));
            for (std::size_t i = 0; i < frames; ++i)
                samples[i * channels + c] = channel[i];
        }
        position += static_cast<std::int64_t>(frames);
    }

    AudioInput& input;
    std::optional<Automation> automation;
    std::size_t channels;
    std::size_t blockFrames;
    std::int64_t position;  // frames from the beginning of the input
    std::int64_t inputFrames = std::numeric_limits<std::int64_t>::max();  // still to read, at most
    std::int64_t silentFrames;                                            // to follow them
    double gain;
    std::vector<std::unique_ptr<HostedEffect>> effects;  // by channel
    std::vector<double> chunk;                           // whole blocks
    std::vector<double> channel;                         // one block
};

}  // namespace

std::int64_t framesIn(double seconds, double sampleRate)
{
    return std::llround(seconds * sampleRate);
}

std::optional<std::int64_t> renderedFrames(const AudioInput& input, const RenderSettings& settings)
{
    if (!input.frames())
        return {};
    const std::int64_t rest = *input.frames() - framesIn(settings.startSeconds, input.sampleRate());
    if (rest <= 0)
        throw Error("cannot start {} s into {}: it is shorter", settings.startSeconds, input.name());
    const std::int64_t duration =
        settings.durationSeconds ? framesIn(*settings.durationSeconds, input.sampleRate()) : rest;
    return std::min(rest, duration) + framesIn(settings.tailSeconds, input.sampleRate());
}

RenderResult render(AudioInput& input, const RenderSettings& settings, const RenderTaps& taps)
{
    return Renderer(input, settings).run(taps);
}
