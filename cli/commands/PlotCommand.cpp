#include "cli/Error.h"
#include "cli/Text.h"
#include "cli/audio/OutputFile.h"
#include "cli/commands/Commands.h"
#include "cli/commands/Options.h"
#include "cli/plot/Picture.h"
#include "cli/plot/Spectrogram.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace
{

namespace fs = std::filesystem;

constexpr int kWidth = 1200;
constexpr int kHeight = 710;
constexpr int kColumns = 1020;  // of pixels, each a part of the time
constexpr Area kWaveform{78, 62, kColumns, 110};
constexpr Area kSpectrogram{78, 196, kColumns, 456};
constexpr Area kColourBar{1116, 196, 16, 456};
constexpr Colour kWaveformColour{0.24, 0.35, 0.55};
constexpr Colour kBackground{1.0, 1.0, 1.0};
constexpr double kLevelRange = 72.0;       // dB
constexpr double kLowestTopLevel = -40.0;  // dBFS; so silence is dark

struct PlotCommand {
    fs::path input;
    fs::path output;
    int channel = 1;
    double maxFrequency = 10000.0;  // Hz
    RenderOptions options;
    bool quiet = false;
};

// The lowest and highest sample in a column.
struct Span {
    double low = 0.0;
    double high = 0.0;
};

// What the picture shows of one channel.
struct Measurement {
    Measurement(double sampleRate, std::int64_t numFrames)
        : rate(sampleRate), frames(numFrames), output(sampleRate, numFrames, kColumns)
    {
    }

    double rate;          // Hz
    std::int64_t frames;  // of the output
    std::array<Span, kColumns> input;
    Spectrogram output;
    double peak = 0.0;  // of the output
};

// The length of the output has to be known to give each column its part.
std::int64_t framesToPlot(const AudioInput& input, const RenderSettings& settings)
{
    if (!input.frames() || !settings.tailSeconds)
        throw Error("cannot plot {}: its length is not known in advance; use a file, and a number for --tail",
                    input.name());
    const std::int64_t rest = *input.frames() - framesIn(settings.startSeconds, input.sampleRate());
    const std::int64_t duration =
        settings.durationSeconds ? framesIn(*settings.durationSeconds, input.sampleRate()) : rest;
    const std::int64_t frames =
        std::min(rest, duration) + framesIn(*settings.tailSeconds, input.sampleRate());
    if (frames < kColumns)
        throw Error("cannot plot {}: less than {} samples are too short for a picture", input.name(),
                    kColumns);
    return frames;
}

Measurement measure(AudioInput& input, const Bundle& bundle, const RenderSettings& settings)
{
    Measurement measurement(input.sampleRate(), framesToPlot(input, settings));
    std::int64_t n = 0;
    const auto addInput = [&](std::span<const double> samples) {
        for (const double sample : samples) {
            const std::int64_t column =
                std::min<std::int64_t>(n++ * kColumns / measurement.frames, kColumns - 1);
            Span& span = measurement.input[static_cast<std::size_t>(column)];
            span = {std::min(span.low, sample), std::max(span.high, sample)};
        }
    };
    const auto addOutput = [&](std::span<const double> samples) {
        for (const double sample : samples)
            measurement.output.add(sample);
    };
    measurement.peak = render(input, bundle, settings, {.input = addInput, .output = addOutput}).peak;
    measurement.output.finish();
    return measurement;
}

void drawWaveform(Picture& picture, const Measurement& measurement, const Axis& time)
{
    double peak = 1e-3;
    for (const Span& span : measurement.input)
        peak = std::max({peak, -span.low, span.high});
    const Axis level{-peak, peak, "Input"};
    const auto rowOf = [&](double sample) {
        return std::lround(level.position(sample, kWaveform.height, -kWaveform.height));
    };
    picture.fill(kWaveform, [&](int column, int row) {
        const Span& span = measurement.input[static_cast<std::size_t>(column)];
        return row >= rowOf(span.high) && row <= rowOf(span.low) ? kWaveformColour : kBackground;
    });
    picture.frame(kWaveform, time, level, false);
}

void drawSpectrogram(Picture& picture, const Measurement& measurement, const Axis& time, double maxFrequency)
{
    const double high = std::min(maxFrequency, measurement.rate / 2.0);
    std::vector<double> levels;
    for (int column = 0; column < kSpectrogram.width; ++column)
        for (int row = 0; row < kSpectrogram.height; ++row)
            levels.push_back(measurement.output.level(static_cast<std::size_t>(column),
                                                      high * (1.0 - (row + 0.5) / kSpectrogram.height)));
    // The upper end of the colours is that of all levels but the loudest thousandth, to the next 5 dB.
    std::vector<double> sorted = levels;
    const auto place = sorted.begin() + std::ssize(sorted) * 999 / 1000;
    std::ranges::nth_element(sorted, place);
    const double top = std::max(kLowestTopLevel, 5.0 * std::ceil(*place / 5.0));
    const Axis level{top - kLevelRange, top, "Level in dBFS"};
    picture.fill(kSpectrogram, [&](int column, int row) {
        const std::ptrdiff_t index = std::ptrdiff_t{column} * kSpectrogram.height + row;
        return heatColour(level.position(levels[static_cast<std::size_t>(index)], 0.0, 1.0));
    });
    picture.frame(kSpectrogram, time, {0.0, high / 1000.0, "Output frequency in kHz"}, true);
    picture.colourBar(kColourBar, level);
}

// The values that the rendering starts with, as the options take them.
std::string caption(const RenderSettings& settings)
{
    const std::string values = describeValues(settings.program.values);
    return values +
           (settings.automation ? "; automated by " + settings.automation->path().filename().string() : "");
}

std::string summary(const PlotCommand& command, const AudioInput& input, const Measurement& measurement)
{
    const int channels = input.format().channels;
    return fmt::format("{}{} Hz, output {}",
                       channels > 1 ? fmt::format("channel {} of {}, ", command.channel, channels) : "",
                       input.sampleRate(), describePeak(measurement.peak));
}

std::vector<char> draw(const PlotCommand& command, const AudioInput& input, const RenderSettings& settings,
                       const Measurement& measurement)
{
    Picture picture(kWidth, kHeight);
    const double facts = picture.text(kWaveform.right(), 30.0, summary(command, input, measurement), 12.0,
                                      Picture::Align::kRight);
    picture.text(kWaveform.x, 30.0, input.path().filename().string() + " through Wail", 19.0,
                 Picture::Align::kLeft, kWaveform.width - facts - 20.0);
    picture.text(kWaveform.x, 52.0, caption(settings), 13.0, Picture::Align::kLeft, kWaveform.width);

    const double seconds = static_cast<double>(measurement.frames) / measurement.rate;
    const Axis time{settings.startSeconds, settings.startSeconds + seconds, "Time in s"};
    drawWaveform(picture, measurement, time);
    drawSpectrogram(picture, measurement, time, command.maxFrequency);
    return picture.png();
}

void run(const PlotCommand& command)
{
    if (lowerCase(command.output.extension()) != ".png")
        throw UsageError("cannot draw {}: end its name in .png", command.output.string());
    const Bundle bundle;
    const RenderSettings settings = command.options.load(bundle);
    AudioInput input(command.input);
    input.selectChannel(command.channel);
    const Measurement measurement = measure(input, bundle, settings);
    OutputFile output(command.output);
    output.write(draw(command, input, settings, measurement));
    output.commit();
    if (!command.quiet)
        printLine(stdout, fmt::format("{}: {}", output.name(), summary(command, input, measurement)));
}

constexpr const char* kExamples = R"(Examples:
  wail plot guitar.wav -o guitar.png --preset falling-teeth
  wail plot drums.flac -o drums.png --channel 2 --max-frequency 5000)";

}  // namespace

void addPlotCommand(CLI::App& app)
{
    const auto command = std::make_shared<PlotCommand>();
    CLI::App& sub = *app.add_subcommand("plot", "Draw what the effect does to an audio file");
    addOption(sub, "IN", "", "audio file to read; - for standard input", [command](const std::string& text) {
        command->input = text;
    })->required();
    addOption(sub, "-o,--output", "PICTURE", "PNG file to write", [command](const std::string& text) {
        command->output = text;
    })->required();
    addOption(sub, "--channel", "N", "of the input, from 1, the default",
              [command](const std::string& text) { command->channel = parseInteger(text, 1, 1024); });
    addOption(sub, "--max-frequency", "HZ", "upper end of the picture, 10000 by default",
              [command](const std::string& text) {
                  command->maxFrequency = parseReal(text, 100.0, 1e6, "a frequency in Hz");
              });
    addRenderOptions(sub, command->options);
    sub.add_flag("-q,--quiet", command->quiet, "print nothing but errors");
    sub.footer(kExamples);
    sub.final_callback([command] { run(*command); });
}
