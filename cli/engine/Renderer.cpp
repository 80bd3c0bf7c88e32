#include "cli/engine/Renderer.h"

#include "cli/Error.h"
#include "cli/audio/Peak.h"

#include <algorithm>
#include <cmath>
#include <memory>

namespace
{

constexpr std::size_t kChunkSamples = 1 << 12;      // read and written at once, or a block if that is longer
constexpr double kSilence = 3.16227766e-5;          // -90 dBFS, 10^(-90/20)
constexpr double kSilentSeconds = 0.25;             // far beyond the comb's longest delay
constexpr double kLowestFullScale = 127.5 / 128.0;  // where 8 bits clip; more bits clip above

class Renderer
{
public:
    Renderer(AudioInput& from, const Bundle& bundle, const RenderSettings& set, const RenderTaps& to)
        : input(from), settings(set), taps(to), channels(static_cast<std::size_t>(from.channels())),
          blockFrames(static_cast<std::size_t>(set.blockSize)),
          chunkFrames(blockFrames * std::max<std::size_t>(1, kChunkSamples / blockFrames / channels)),
          position(framesIn(set.startSeconds, from.sampleRate())),
          gain(std::pow(10.0, set.gainDecibels.value_or(0.0) / 20.0)), chunk(chunkFrames * channels),
          channel(blockFrames)
    {
        if (settings.durationSeconds)
            framesLeft = framesIn(*settings.durationSeconds, input.sampleRate());
        if (settings.automation)
            schedule.emplace(*settings.automation, input.sampleRate(), input.frames());
        ParameterValues values = schedule ? schedule->at(position) : ParameterValues{};
        for (std::size_t i = 0; i < settings.program.values.size(); ++i)
            values.try_emplace(static_cast<VstInt32>(i), settings.program.values[i]);
        for (std::size_t c = 0; c < channels; ++c) {
            effects.push_back(std::make_unique<HostedEffect>(bundle));
            effects.back()->setParameters(values);
            effects.back()->start(input.sampleRate(), settings.blockSize);
        }
    }

    RenderResult run()
    {
        skipToStart();
        // The tail fills up the last block of the input, so that only the last block of all may be shorter.
        std::size_t frames = 0;
        while ((frames = readInput()) == chunkFrames)
            processAndWrite(chunk);
        if (settings.tailSeconds)
            addSilence(frames, static_cast<std::size_t>(framesIn(*settings.tailSeconds, input.sampleRate())));
        else
            ringOut(frames);
        return result;
    }

private:
    void skipToStart()
    {
        for (auto left = static_cast<std::size_t>(position); left > 0;) {
            const std::size_t count = std::min(left, chunkFrames);
            if (input.read(chunk, count) < count)
                throw Error("cannot start {} s into {}: it is shorter", settings.startSeconds, input.name());
            left -= count;
        }
    }

    std::size_t readInput()
    {
        const auto wanted = std::min<std::int64_t>(static_cast<std::int64_t>(chunkFrames), framesLeft);
        const std::size_t frames = wanted == 0 ? 0 : input.read(chunk, static_cast<std::size_t>(wanted));
        framesLeft -= static_cast<std::int64_t>(frames);
        if (taps.input && frames > 0)
            taps.input(std::span(chunk).first(frames * channels));
        return frames;
    }

    // samples: the chunk, or its beginning.
    void processAndWrite(std::span<double> samples)
    {
        process(samples);
        write(samples);
    }

    void process(std::span<double> samples)
    {
        for (std::size_t done = 0; done < samples.size(); done += blockFrames * channels)
            processBlock(samples.subspan(done, std::min(blockFrames * channels, samples.size() - done)));
        if (gain != 1.0)
            for (double& sample : samples)
                sample *= gain;
    }

    // Every block hears the values that the automation has at its first frame.
    void processBlock(std::span<double> samples)
    {
        const std::size_t frames = samples.size() / channels;
        const ParameterValues values = schedule ? schedule->at(position) : ParameterValues{};
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

    void write(std::span<const double> samples)
    {
        result.peak = std::max(result.peak, peakOf(samples));
        result.frames += static_cast<std::int64_t>(samples.size() / channels);
        if (taps.output && !samples.empty())
            taps.output(samples);
    }

    // frames: of the input, in the chunk.
    void addSilence(std::size_t frames, std::size_t silentFrames)
    {
        for (std::size_t left = frames + silentFrames; left > 0; frames = 0) {
            const std::size_t length = std::min(left, chunkFrames);
            std::fill(chunk.begin() + static_cast<std::ptrdiff_t>(frames * channels), chunk.end(), 0.0);
            processAndWrite(std::span(chunk).first(length * channels));
            left -= length;
        }
    }

    // Holds back what is silent until something louder follows, and leaves out what is silent at the end.
    void ringOut(std::size_t frames)
    {
        std::vector<double> held;
        std::size_t kept = frames * channels;  // all of the input is kept, however silent
        const auto samplesIn = [this](double seconds) {
            return static_cast<std::size_t>(framesIn(seconds, input.sampleRate())) * channels;
        };
        const std::size_t longest = samplesIn(kLongestAutomaticTail);
        const std::size_t silent = samplesIn(kSilentSeconds);
        for (std::size_t done = 0; done < longest && held.size() < kept + silent; done += chunk.size()) {
            std::fill(chunk.begin() + static_cast<std::ptrdiff_t>(frames * channels), chunk.end(), 0.0);
            process(chunk);
            held.insert(held.end(), chunk.begin(), chunk.end());
            frames = 0;
            kept = std::max(kept, loudPart(held));
            write(std::span(held).first(kept));
            held.erase(held.begin(), held.begin() + static_cast<std::ptrdiff_t>(kept));
            kept = 0;
        }
    }

    // Samples up to and including the last frame that is not silent.
    std::size_t loudPart(std::span<const double> samples) const
    {
        std::size_t length = samples.size();
        while (length > 0 && std::fabs(samples[length - 1]) < kSilence)
            --length;
        return (length + channels - 1) / channels * channels;
    }

    AudioInput& input;
    const RenderSettings& settings;
    const RenderTaps& taps;
    std::size_t channels;
    std::size_t blockFrames;
    std::size_t chunkFrames;
    std::int64_t position;  // frames from the beginning of the input
    std::int64_t framesLeft = std::numeric_limits<std::int64_t>::max();
    double gain;
    std::optional<Schedule> schedule;
    std::vector<std::unique_ptr<HostedEffect>> effects;  // by channel
    std::vector<double> chunk;
    std::vector<double> channel;  // one block
    RenderResult result;
};

}  // namespace

std::int64_t framesIn(double seconds, double sampleRate)
{
    return std::llround(seconds * sampleRate);
}

RenderResult render(AudioInput& input, const Bundle& bundle, const RenderSettings& settings,
                    const RenderTaps& taps)
{
    return Renderer(input, bundle, settings, taps).run();
}

RenderSettings withGain(RenderSettings settings, const std::filesystem::path& file, const Bundle& bundle)
{
    if (settings.gainDecibels)
        return settings;
    std::error_code ignored;
    if (!std::filesystem::is_regular_file(file, ignored))
        throw Error("--gain auto reads its input twice, which a pipe cannot give; choose a number");
    AudioInput input(file);
    const RenderResult result = render(input, bundle, settings, {});
    settings.gainDecibels = result.peak >= kLowestFullScale ? gainBelowFullScale(result.peak) : 0.0;
    return settings;
}

double gainBelowFullScale(double peak)
{
    const double decibels = 20.0 * std::log10(kLowestFullScale / peak);
    return (std::ceil(10.0 * decibels) - 1.0) / 10.0;
}
