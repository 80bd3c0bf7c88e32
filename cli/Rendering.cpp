#include "cli/Rendering.h"

#include "cli/Error.h"
#include "cli/Peak.h"

#include <algorithm>
#include <cmath>

namespace
{

constexpr std::size_t kChunkSamples = 1 << 14;      // what is read and written at once, at least a block
constexpr double kSilence = 3.16227766e-5;          // -90 dBFS, 10^(-90/20)
constexpr double kSilentSeconds = 0.25;             // far beyond the comb's longest delay
constexpr double kLongestAutomaticTail = 60.0;      // s
constexpr double kLowestFullScale = 127.5 / 128.0;  // what 8 bits clip, which is less than more bits do

class Renderer
{
public:
    Renderer(AudioInput& from, Sound& through, const RenderSettings& set, const RenderTaps& to)
        : input(from), sound(through), settings(set), taps(to),
          channels(static_cast<std::size_t>(from.channels())), gain(std::pow(10.0, set.gain.decibels / 20.0)),
          chunk(chunkFrames() * channels)
    {
    }

    RenderResult run()
    {
        // The last part of a block is filled up with the tail, so that all blocks but the last are whole.
        std::size_t frames = 0;
        while ((frames = readInput()) == chunkFrames())
            processAndWrite(std::span(chunk));
        if (settings.tail.automatic)
            ringOut(frames);
        else
            addSilence(frames, framesIn(settings.tail.seconds));
        return result;
    }

private:
    std::size_t chunkFrames() const
    {
        const auto block = static_cast<std::size_t>(settings.sound.blockSize);
        return block * std::max<std::size_t>(1, kChunkSamples / block / channels);
    }

    std::size_t framesIn(double seconds) const
    {
        return static_cast<std::size_t>(std::llround(seconds * input.sampleRate()));
    }

    std::size_t readInput()
    {
        const auto frames =
            static_cast<std::size_t>(input.read(chunk, static_cast<sf_count_t>(chunkFrames())));
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
        sound.process(samples);
        if (gain != 1.0)
            for (double& sample : samples)
                sample *= gain;
    }

    void write(std::span<const double> samples)
    {
        result.peak = std::max(result.peak, peakOf(samples));
        result.frames += static_cast<std::int64_t>(samples.size() / channels);
        if (taps.output && !samples.empty())
            taps.output(samples);
    }

    // frames: what the chunk holds of the input.
    void addSilence(std::size_t frames, std::size_t silentFrames)
    {
        for (std::size_t left = frames + silentFrames; left > 0;) {
            const std::size_t length = std::min(left, chunkFrames());
            std::fill(chunk.begin() + static_cast<std::ptrdiff_t>(frames * channels), chunk.end(), 0.0);
            processAndWrite(std::span(chunk).first(length * channels));
            left -= length;
            frames = 0;
        }
    }

    // Holds back what is silent until something louder follows; what is silent at the end is left out.
    void ringOut(std::size_t frames)
    {
        std::vector<double> held;
        std::size_t kept = frames * channels;  // the input's own length stays, however silent
        const std::size_t longest = framesIn(kLongestAutomaticTail) * channels;
        const std::size_t silent = framesIn(kSilentSeconds) * channels;
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

    // Samples up to the last frame that is not silent.
    std::size_t loudPart(std::span<const double> samples) const
    {
        std::size_t length = samples.size();
        while (length > 0 && std::fabs(samples[length - 1]) < kSilence)
            --length;
        return (length + channels - 1) / channels * channels;
    }

    AudioInput& input;
    Sound& sound;
    const RenderSettings& settings;
    const RenderTaps& taps;
    std::size_t channels;
    double gain;
    std::vector<double> chunk;
    RenderResult result;
};

}  // namespace

RenderResult render(AudioInput& input, Sound& sound, const RenderSettings& settings, const RenderTaps& taps)
{
    return Renderer(input, sound, settings, taps).run();
}

double gainBelowFullScale(double peak)
{
    const double decibels = 20.0 * std::log10(kLowestFullScale / peak);
    return (std::ceil(10.0 * decibels) - 1.0) / 10.0;
}

RenderSettings withGainFound(RenderSettings settings, const std::filesystem::path& file, const Bundle& bundle,
                             const std::function<void(std::span<const double>)>& tap)
{
    if (!settings.gain.automatic)
        return settings;
    std::error_code none;
    if (file == "-" || std::filesystem::is_fifo(file, none))
        throw Error("cannot read a pipe twice for --gain auto; give a number or a file");
    AudioInput input(file);
    Sound sound(bundle, settings.sound, input.channels(), input.sampleRate(), input.frames());
    const RenderResult result = render(input, sound, settings, {.input = tap, .output = {}});
    if (result.peak >= kLowestFullScale)
        settings.gain.decibels = gainBelowFullScale(result.peak);
    return settings;
}
