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
constexpr Colour kWaveformColour = 0x3d598c;
constexpr Colour kBackground = 0xffffff;
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
    double rate;                          // Hz
    std::int64_t frames;                  // of the output
    std::array<double, kColumns> lowest;  // sample of the input in a column
    std::array<double, kColumns> highest;
    Spectrogram output;
    double peak;  // of the output
};

Measurement measure(AudioInput& input, const RenderSettings& settings)
{
    const std::int64_t frames = renderedFrames(input, settings).value_or(0);
    if (frames == 0)
        throw Error("cannot plot {}: its length is not known in advance; use a file", input.name());
    if (frames < kColumns)
        throw Error("cannot plot {}: less than {} samples are too short for a picture", input.name(),
                    kColumns);
    const double rate = input.sampleRate();
    Measurement measured{rate, frames, {}, {}, Spectrogram(rate, frames, kColumns), 0.0};
    std::int64_t n = 0;
    const auto addInput = [&](std::span<const double> samples) {
        for (const double read : samples) {
            const double sample = std::isfinite(read) ? read : 0.0;
            const auto column =
                static_cast<std::size_t>(std::min<std::int64_t>(n++ * kColumns / frames, kColumns - 1));
            measured.lowest[column] = std::min(measured.lowest[column], sample);
            measured.highest[column] = std::max(measured.highest[column], sample);
        }
    };
    const auto addOutput = [&](std::span<const double> samples) {
        std::ranges::for_each(samples, [&](double sample) { measured.output.add(sample); });
    };
    measured.peak = render(input, settings, {.input = addInput, .output = addOutput}).peak;
    measured.output.finish();
    return measured;
}

void drawWaveform(Picture& picture, const Measurement& measured)
{
    const double peak =
        std::max({1e-3, -std::ranges::min(measured.lowest), std::ranges::max(measured.highest)});
    const Axis level{-peak, peak, "Input"};
    const auto rowOf = [&](double sample) {
        return std::lround((1.0 - level.share(sample)) * kWaveform.height);
    };
    picture.fill(kWaveform, [&](int column, int row) {
        const auto i = static_cast<std::size_t>(column);
        const bool isInside = row >= rowOf(measured.highest[i]) && row <= rowOf(measured.lowest[i]);
        return isInside ? kWaveformColour : kBackground;
    });
    picture.sideAxis(kWaveform, level);
}

void drawSpectrogram(Picture& picture, const Measurement& measured, double start, double maxFrequency)
{
    const double high = std::min(maxFrequency, measured.rate / 2.0);
    std::vector<double> levels;
    for (std::size_t column = 0; column < kColumns; ++column)
        for (int row = 0; row < kSpectrogram.height; ++row)
            levels.push_back(measured.output.level(column, high * (1.0 - (row + 0.5) / kSpectrogram.height)));
    // The upper end of the colours is that of all levels but the loudest thousandth, to the next 5 dB.
    std::vector<double> sorted = levels;
    const auto place = sorted.begin() + std::ssize(sorted) * 999 / 1000;
    std::ranges::nth_element(sorted, place);
    const double top = std::max(kLowestTopLevel, 5.0 * std::ceil(*place / 5.0));
    const Axis level{top - kLevelRange, top, "Level in dBFS"};
    picture.fill(kSpectrogram, [&](int column, int row) {
        return heatColour(level.share(
            levels[static_cast<std::size_t>(column) * kSpectrogram.height + static_cast<std::size_t>(row)]));
    });
    const double seconds = static_cast<double>(measured.frames) / measured.rate;
    picture.bottomAxis(kSpectrogram, {start, start + seconds, "Time in s"});
    picture.sideAxis(kSpectrogram, {0.0, high / 1000.0, "Output frequency in kHz"});
    picture.fill(kColourBar, [](int, int row) { return heatColour(1.0 - row / (kColourBar.height - 1.0)); });
    picture.sideAxis(kColourBar, level, true);
}

void run(const PlotCommand& command)
{
    if (lowerCase(command.output.extension()) != ".png")
        throw UsageError("cannot draw {}: end its name in .png", command.output.string());
    const RenderSettings settings = command.options.load();
    AudioInput input(command.input);
    input.selectChannel(command.channel);
    const Measurement measured = measure(input, settings);
    const int channels = input.format().channels;
    const std::string summary =
        fmt::format("{}{} Hz, output {}",
                    channels > 1 ? fmt::format("channel {} of {}, ", command.channel, channels) : "",
                    input.sampleRate(), describePeak(measured.peak));

    Picture picture(kWidth, kHeight);
    const double width = picture.text(kWaveform.right(), 30.0, summary, 12.0, Picture::Align::kRight);
    picture.text(kWaveform.x, 30.0, fs::path(input.name()).filename().string() + " through Wail", 19.0,
                 Picture::Align::kLeft, kWaveform.width - width - 20.0);
    const std::string automation =
        settings.automation ? " --automation " + settings.automation->path().filename().string() : "";
    picture.text(kWaveform.x, 52.0, describeValues(settings.program.values) + automation, 13.0,
                 Picture::Align::kLeft, kWaveform.width);
    drawWaveform(picture, measured);
    drawSpectrogram(picture, measured, settings.startSeconds, command.maxFrequency);

    OutputFile output(command.output);
    output.write(picture.png());
    output.commit();
    if (!command.quiet)
        printLine(stdout, fmt::format("{}: {}", output.name(), summary));
    printWarnings(input);
}

constexpr const char* kExamples = R"(Examples:
  wail plot guitar.wav -o guitar.png --preset falling-teeth
  wail plot drums.flac -o drums.png --channel 2 --max-frequency 5000)";

}  // namespace

void addPlotCommand(CLI::App& app)
{
    const auto command = std::make_shared<PlotCommand>();
    CLI::App& sub = *app.add_subcommand("plot", "Draw what the effect does to an audio file");
    addText(sub, "IN", "", "audio file to read; - for standard input", command->input)->required();
    addText(sub, "-o,--output", "PICTURE", "PNG file to write", command->output)->required();
    addNumber(sub, "--channel", "N", "of the input, from 1, the default", command->channel, 1, 1024);
    addNumber(sub, "--max-frequency", "HZ", "upper end of the picture, 10000 by default",
              command->maxFrequency, 100.0, 1e6);
    sub.add_flag("-q,--quiet", command->quiet, "print nothing but errors");
    addRenderOptions(sub, command->options);
    sub.footer(kExamples);
    sub.final_callback([command] { run(*command); });
}
