#include "cli/Error.h"
#include "cli/Text.h"
#include "cli/audio/OutputFile.h"
#include "cli/commands/Commands.h"
#include "cli/commands/Options.h"
#include "cli/plot/Picture.h"
#include "cli/plot/Spectrogram.h"
#include "cli/plot/Waveform.h"

#include <algorithm>
#include <cmath>

namespace
{

namespace fs = std::filesystem;

constexpr int kWidth = 1200;
constexpr int kHeight = 710;
constexpr Area kWaveform{78.0, 62.0, 1020.0, 110.0};
constexpr Area kSpectrogram{78.0, 196.0, 1020.0, 456.0};
constexpr Area kColourBar{1116.0, 196.0, 16.0, 456.0};
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

// What the picture shows of one channel.
struct Measurement {
    explicit Measurement(double sampleRate) : rate(sampleRate), output(sampleRate) {}

    double rate;  // Hz
    Waveform input;
    Spectrogram output;
    RenderResult result;
};

Measurement measure(AudioInput& input, const Bundle& bundle, const RenderSettings& settings)
{
    Measurement measurement(input.sampleRate());
    const auto addInput = [&](std::span<const double> samples) {
        for (const double sample : samples)
            measurement.input.add(sample);
    };
    const auto addOutput = [&](std::span<const double> samples) {
        for (const double sample : samples)
            measurement.output.add(sample);
    };
    measurement.result = render(input, bundle, settings, {.input = addInput, .output = addOutput});
    measurement.output.finish();
    return measurement;
}

void drawWaveform(Picture& picture, const Measurement& measurement, const Axis& time)
{
    const auto& spans = measurement.input.spans();
    double peak = 1e-3;
    for (const Waveform::Span& span : spans)
        peak = std::max({peak, -span.low, span.high});
    const Axis level{-peak, peak, "Input"};
    const auto yOf = [&](double sample) {
        return level.position(sample, kWaveform.bottom(), -kWaveform.height);
    };
    std::vector<double> x;
    std::vector<double> upper;
    std::vector<double> lower;
    for (std::size_t i = 0; i < spans.size(); ++i) {
        const double centre =
            (static_cast<double>(i) + 0.5) * static_cast<double>(measurement.input.samplesPerSpan());
        x.push_back(time.position(time.low + centre / measurement.rate, kWaveform.x, kWaveform.width));
        upper.push_back(yOf(spans[i].high));
        lower.push_back(yOf(spans[i].low));
    }
    picture.band(x, upper, lower);
    picture.frame(kWaveform, time, level, false);
}

// The upper end of the levels: all but the loudest thousandth, to the next 5 dB.
double topLevel(const Spectrogram& spectrogram, std::size_t bins)
{
    std::vector<double> levels;
    for (std::size_t column = 0; column < spectrogram.columns(); ++column)
        for (std::size_t bin = 0; bin < bins; ++bin)
            levels.push_back(spectrogram.level(column, bin));
    const auto place = levels.begin() + std::ssize(levels) * 999 / 1000;
    std::ranges::nth_element(levels, place);
    return std::max(kLowestTopLevel, 5.0 * std::ceil(*place / 5.0));
}

void drawSpectrogram(Picture& picture, const Measurement& measurement, const Axis& time, double maxFrequency)
{
    const Spectrogram& spectrogram = measurement.output;
    const double high = std::min(maxFrequency, measurement.rate / 2.0);
    const Axis frequency{0.0, high / 1000.0, "Output frequency in kHz"};
    const auto bins = static_cast<int>(high / spectrogram.binWidth()) + 1;
    const double top = topLevel(spectrogram, static_cast<std::size_t>(bins));
    const Axis level{top - kLevelRange, top, "Level in dBFS"};

    // A row is as high as a bin and centred on its frequency; a column is as wide as its time.
    const auto columns = static_cast<int>(spectrogram.columns());
    const double columnSeconds = static_cast<double>(spectrogram.samplesPerColumn()) / measurement.rate;
    const double binHeight = kSpectrogram.height * spectrogram.binWidth() / high;
    const Area cells{.x = kSpectrogram.x,
                     .y = kSpectrogram.bottom() - (bins - 0.5) * binHeight,
                     .width = kSpectrogram.width * columns * columnSeconds / (time.high - time.low),
                     .height = bins * binHeight};
    picture.image(kSpectrogram, cells, columns, bins, [&](int column, int row) {
        const auto bin = static_cast<std::size_t>(bins - 1 - row);
        return heatColour(level.position(spectrogram.level(static_cast<std::size_t>(column), bin), 0.0, 1.0));
    });
    picture.frame(kSpectrogram, time, frequency, true);
    picture.colourBar(kColourBar, level);
}

// The values that the rendering starts with, as the options take them.
std::string caption(const RenderSettings& settings)
{
    std::string text;
    for (std::size_t i = 0; i < kParameters.size(); ++i)
        text += fmt::format("{}{} {}", i > 0 ? ", " : "", kParameters[i].option,
                            valueText(kParameters[i], settings.program.values[i]));
    return text +
           (settings.automation ? "; automated by " + settings.automation->path().filename().string() : "");
}

std::string summary(const PlotCommand& command, const AudioInput& input, const Measurement& measurement)
{
    const double peak = measurement.result.peak;
    return fmt::format("{}{} Hz, output {}",
                       input.format().channels > 1
                           ? fmt::format("channel {} of {}, ", command.channel, input.format().channels)
                           : "",
                       input.sampleRate(),
                       peak > 0.0 ? fmt::format("peak {:.1f} dBFS", 20.0 * std::log10(peak)) : "silent");
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

    const double seconds = static_cast<double>(measurement.result.frames) / measurement.rate;
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
    if (measurement.output.columns() == 0)
        throw Error("cannot plot {}: it is too short to show its frequencies", input.name());
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
    addOption(
        sub, "--max-frequency", "HZ", "upper end of the picture, 10000 by default",
        [command](const std::string& text) { command->maxFrequency = parseReal(text, 100.0, 1e6, "Hz"); });
    addRenderOptions(sub, command->options);
    sub.add_flag("-q,--quiet", command->quiet, "print nothing but errors");
    sub.footer(kExamples);
    sub.final_callback([command] { run(*command); });
}
