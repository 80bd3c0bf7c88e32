#include "cli/RenderJob.h"

#include "cli/AudioOutput.h"

#include <chrono>
#include <cmath>

namespace
{

std::string nameOf(const std::filesystem::path& output)
{
    return output == "-" ? "standard output" : output.string();
}

std::string describe(const RenderJob& job, const AudioInput& input, const Gain& gain,
                     const RenderResult& result, double elapsed)
{
    const double seconds = static_cast<double>(result.frames) / input.sampleRate();
    char peak[32] = "silent";
    if (result.peak > 0.0)
        std::snprintf(peak, sizeof peak, "peak %.1f dBFS", 20.0 * std::log10(result.peak));
    char found[32] = "";
    if (gain.automatic)
        std::snprintf(found, sizeof found, ", gain %.1f dB", gain.decibels);
    char text[160];
    std::snprintf(text, sizeof text, ": %.2f s, %d channel%s, %d Hz%s, %s, %.0fx real time", seconds,
                  input.channels(), input.channels() == 1 ? "" : "s", input.sampleRate(), found, peak,
                  seconds / elapsed);
    return nameOf(job.output) + text;
}

std::string describeSound(const Bundle& bundle, const RenderSettings& settings, const Sound& sound)
{
    return "plug-in " + bundle.file().string() + ", blocks of " + std::to_string(settings.sound.blockSize) +
           ", " + sound.effect().settings();
}

std::string describeClipping(std::int64_t clipped, const Gain& gain, const RenderResult& result)
{
    const double peakWithoutGain = result.peak * std::pow(10.0, -gain.decibels / 20.0);
    char text[120];
    std::snprintf(text, sizeof text, "%lld sample%s clipped at full scale; --gain %.1f would avoid it",
                  static_cast<long long>(clipped), clipped == 1 ? "" : "s",
                  gainBelowFullScale(peakWithoutGain));
    return text;
}

}  // namespace

void runRenderJob(const RenderJob& job, const RenderJobSettings& settings, const Bundle& bundle,
                  Progress& progress)
{
    const auto start = std::chrono::steady_clock::now();
    AudioInput input(job.input);
    const auto channels = static_cast<std::size_t>(input.channels());
    const auto advance = [&](std::span<const double> samples) {
        progress.advance(static_cast<std::int64_t>(samples.size() / channels));
    };
    AudioOutput output(job.output, settings.format, input);
    const RenderSettings rendering = withGainFound(settings.render, job.input, bundle, advance);
    Sound sound(bundle, rendering.sound, input.channels(), input.sampleRate(), input.frames());
    std::FILE* const messages = job.output == "-" ? stderr : stdout;
    if (settings.verbose)
        progress.say(messages, input.name() + ": " + describeSound(bundle, rendering, sound));

    const RenderResult result = render(
        input, sound, rendering, {.input = advance, .output = [&](auto samples) { output.write(samples); }});
    output.keep();

    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
    if (!settings.quiet)
        progress.say(messages, describe(job, input, rendering.gain, result, elapsed.count()));
    if (output.clippedSamples() > 0)
        progress.say(stderr, "warning: " + nameOf(job.output) + ": " +
                                 describeClipping(output.clippedSamples(), rendering.gain, result));
}
