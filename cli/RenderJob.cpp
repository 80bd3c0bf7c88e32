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

std::string describe(const RenderJob& job, const AudioInput& input, const RenderResult& result,
                     double elapsed)
{
    const double seconds = static_cast<double>(result.frames) / input.sampleRate();
    char peak[32] = "silent";
    if (result.peak > 0.0)
        std::snprintf(peak, sizeof peak, "peak %.1f dBFS", 20.0 * std::log10(result.peak));
    char text[160];
    std::snprintf(text, sizeof text, ": %.2f s, %d channel%s, %d Hz, %s, %.0fx real time", seconds,
                  input.channels(), input.channels() == 1 ? "" : "s", input.sampleRate(), peak,
                  seconds / elapsed);
    return nameOf(job.output) + text;
}

std::string describeSound(const Bundle& bundle, const RenderSettings& settings, Sound& sound)
{
    std::string text =
        "plug-in " + bundle.file().string() + ", blocks of " + std::to_string(settings.sound.blockSize) + ";";
    for (VstInt32 index = 0; index < sound.effect().properties().numParams; ++index)
        text += " " + sound.effect().text(effGetParamName, index) + " " +
                sound.effect().text(effGetParamDisplay, index);
    return text;
}

// The gain that just avoids what was clipped, in dB rounded down to a tenth.
std::string describeClipping(std::int64_t clipped, const RenderSettings& settings, const RenderResult& result)
{
    const double tenths = std::ceil(10.0 * (settings.gainDb - 20.0 * std::log10(result.peak))) - 1.0;
    char text[120];
    std::snprintf(text, sizeof text, "%lld sample%s clipped at full scale; --gain %.1f would avoid it",
                  static_cast<long long>(clipped), clipped == 1 ? "" : "s", tenths / 10.0);
    return text;
}

}  // namespace

void runRenderJob(const RenderJob& job, const RenderJobSettings& settings, const Bundle& bundle,
                  Progress& progress)
{
    const auto start = std::chrono::steady_clock::now();
    AudioInput input(job.input);
    Sound sound(bundle, settings.render.sound, input.channels(), input.sampleRate(), input.frames());
    AudioOutput output(job.output, settings.format, input);
    std::FILE* const messages = job.output == "-" ? stderr : stdout;
    if (settings.verbose)
        progress.say(messages, input.name() + ": " + describeSound(bundle, settings.render, sound));

    const auto channels = static_cast<std::size_t>(input.channels());
    const RenderResult result = render(
        input, sound, settings.render,
        {.input =
             [&](auto samples) { progress.advance(static_cast<std::int64_t>(samples.size() / channels)); },
         .output = [&](auto samples) { output.write(samples); }});
    output.keep();

    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
    if (!settings.quiet)
        progress.say(messages, describe(job, input, result, elapsed.count()));
    if (output.clippedSamples() > 0)
        progress.say(stderr, "warning: " + nameOf(job.output) + ": " +
                                 describeClipping(output.clippedSamples(), settings.render, result));
}
