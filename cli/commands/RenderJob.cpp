#include "cli/commands/RenderJob.h"

#include "cli/Text.h"
#include "cli/audio/AudioOutput.h"

#include <fmt/ranges.h>

#include <chrono>
#include <cmath>

namespace
{

std::string plural(std::int64_t number, const std::string& noun)
{
    return fmt::format("{} {}{}", number, noun, number == 1 ? "" : "s");
}

// All parameters with the values they start with, as the options take them.
std::string describe(const ProgramFile& program)
{
    std::string text;
    for (std::size_t i = 0; i < program.values.size(); ++i)
        text += fmt::format(", {} {}", kParameters[i].option, valueText(kParameters[i], program.values[i]));
    return text;
}

std::string summary(const AudioInput& input, const RenderResult& result, const RenderSettings& settings,
                    bool gainWasFound, double elapsed)
{
    const double seconds = static_cast<double>(result.frames) / input.sampleRate();
    return fmt::format(
        "{:.2f} s, {}, {} Hz{}, {}, {:.0f}x real time", seconds, plural(input.channels(), "channel"),
        input.sampleRate(), gainWasFound ? fmt::format(", gain {:.1f} dB", *settings.gainDecibels) : "",
        result.peak > 0.0 ? fmt::format("peak {:.1f} dBFS", 20.0 * std::log10(result.peak)) : "silent",
        seconds / elapsed);
}

// Frames of the output; none if the input does not tell. The longest tail is assumed for an automatic one.
std::optional<std::int64_t> expectedFrames(const AudioInput& input, const RenderSettings& settings)
{
    if (!input.frames())
        return {};
    return *input.frames() + framesIn(settings.tailSeconds.value_or(60.0), input.sampleRate());
}

void warn(const AudioInput& input, const AudioOutput& output, const RenderSettings& settings,
          const RenderResult& result)
{
    if (input.wasCutOff())
        printLine(stderr, fmt::format("warning: {} ends before the length in its header", input.name()));
    if (input.nonFiniteSamples() > 0)
        printLine(stderr, fmt::format("warning: {} holds {} that {} NaN or infinite", input.name(),
                                      plural(input.nonFiniteSamples(), "sample"),
                                      input.nonFiniteSamples() == 1 ? "is" : "are"));
    if (output.clippedSamples() > 0) {
        const double peak = result.peak * std::pow(10.0, -*settings.gainDecibels / 20.0);
        printLine(stderr, fmt::format("warning: {}: {} clipped at full scale; --gain {:.1f} would avoid it",
                                      output.name(), plural(output.clippedSamples(), "sample"),
                                      gainBelowFullScale(peak)));
    }
}

}  // namespace

void runRenderJob(const RenderJob& job, const RenderJobSettings& settings, const Bundle& bundle)
{
    const auto start = std::chrono::steady_clock::now();
    const RenderSettings sound = withGain(settings.render, job.input, bundle);
    AudioInput input(job.input);
    AudioOutput output(job.output, input,
                       {.format = settings.format,
                        .dither = settings.dither,
                        .expectedFrames = expectedFrames(input, sound),
                        .firstFrame = framesIn(sound.startSeconds, input.sampleRate()),
                        .isExcerpt = sound.isExcerpt()});
    std::FILE* const messages = job.output == "-" ? stderr : stdout;
    if (settings.verbose) {
        printLine(messages, fmt::format("{}: plug-in {}, blocks of {}{}", input.name(),
                                        bundle.file().string(), sound.blockSize, describe(sound.program)));
        if (!output.lostMetadata().empty())
            printLine(messages,
                      fmt::format("{}: left out {}", output.name(), fmt::join(output.lostMetadata(), ", ")));
    }
    const RenderResult result =
        render(input, bundle, sound, {.input = {}, .output = [&](auto samples) { output.write(samples); }});
    output.commit();

    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
    if (!settings.quiet)
        printLine(messages,
                  fmt::format("{}: {}", output.name(),
                              summary(input, result, sound, !settings.render.gainDecibels, elapsed.count())));
    warn(input, output, sound, result);
}
