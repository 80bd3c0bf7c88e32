#include "cli/Commands.h"
#include "cli/Error.h"
#include "cli/Options.h"
#include "cli/Picture.h"
#include "cli/PresetFiles.h"
#include "cli/Progress.h"
#include "cli/Spectrogram.h"
#include "cli/Waveform.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace
{

namespace fs = std::filesystem;

constexpr double kWidth = 1200.0;
constexpr double kHeight = 710.0;
constexpr Area kWaveform{78.0, 62.0, 1020.0, 110.0};
constexpr Area kSpectrogram{78.0, 196.0, 1020.0, 456.0};
constexpr Area kColourBar{1116.0, 196.0, 16.0, 456.0};
constexpr double kMaxFrequency = 10000.0;  // Hz
constexpr double kLevelRange = 72.0;       // dB
constexpr Colour kWaveColour{0.24, 0.35, 0.55};

struct PlotCommand {
    fs::path input;
    fs::path output;
    fs::path bundle;
    RenderSettings settings;
    bool quiet = false;
};

// What the picture shows: the first channel of input and output.
struct Measurement {
    explicit Measurement(double sampleRate) : rate(sampleRate), output(sampleRate) {}

    double rate;  // Hz
    Waveform input;
    Spectrogram output;
    RenderResult result;
};

void measure(AudioInput& input, Sound& sound, const RenderSettings& settings, Progress& progress,
             Measurement& measurement)
{
    const auto channels = static_cast<std::size_t>(input.channels());
    const auto addInput = [&](std::span<const double> samples) {
        for (std::size_t i = 0; i < samples.size(); i += channels)
            measurement.input.add(samples[i]);
        progress.advance(static_cast<std::int64_t>(samples.size() / channels));
    };
    const auto addOutput = [&](std::span<const double> samples) {
        for (std::size_t i = 0; i < samples.size(); i += channels)
            measurement.output.add(samples[i]);
    };
    measurement.result = render(input, sound, settings, {.input = addInput, .output = addOutput});
}

void drawWaveform(Picture& picture, const Waveform& waveform, double rate, const Axis& time)
{
    double peak = 1e-3;
    for (const Waveform::Span& span : waveform.spans())
        peak = std::max({peak, -span.low, span.high});
    const Axis level{-peak, peak, "Input"};
    std::vector<double> x, upper, lower;
    for (std::size_t i = 0; i < waveform.spans().size(); ++i) {
        const auto sample = static_cast<double>(i * waveform.samplesPerSpan());
        x.push_back(time.place(sample / rate, kWaveform.x, kWaveform.width));
        upper.push_back(
            level.place(waveform.spans()[i].high, kWaveform.y + kWaveform.height, -kWaveform.height));
        lower.push_back(
            level.place(waveform.spans()[i].low, kWaveform.y + kWaveform.height, -kWaveform.height));
    }
    picture.band(x, upper, lower, kWaveColour);
    picture.frame(kWaveform, time, level, false);
}

// Upper end of the levels, in dB: all but the loudest thousandth, to the next 5 dB.
double topLevel(const Spectrogram& spectrogram, std::size_t bins)
{
    std::vector<double> levels;
    for (std::size_t column = 0; column < spectrogram.columns(); ++column)
        for (std::size_t bin = 0; bin < bins; ++bin)
            levels.push_back(spectrogram.level(column, bin));
    const auto place = levels.begin() + std::ssize(levels) * 999 / 1000;
    std::ranges::nth_element(levels, place);
    return 5.0 * std::ceil(*place / 5.0);
}

void drawSpectrogram(Picture& picture, const Spectrogram& spectrogram, double rate, const Axis& time)
{
    const double high = std::min(kMaxFrequency, rate / 2.0);
    const Axis frequency{0.0, high / 1000.0, "Output frequency in kHz"};
    const auto rows = static_cast<int>(high / spectrogram.binWidth()) + 1;
    const double top = topLevel(spectrogram, static_cast<std::size_t>(rows));
    const Axis level{top - kLevelRange, top, "Level in dBFS"};
    const auto columns = static_cast<int>(spectrogram.columns());
    picture.image(kSpectrogram, columns, rows, [&](int column, int row) {
        const double decibels =
            spectrogram.level(static_cast<std::size_t>(column), static_cast<std::size_t>(rows - 1 - row));
        return heatColour(level.place(decibels, 0.0, 1.0));
    });
    picture.frame(kSpectrogram, time, frequency, true);
    picture.colourBar(kColourBar, level);
}

// The settings that the effect starts with.
std::string caption(const PlotCommand& command, const Effect& effect)
{
    const fs::path& automation = command.settings.sound.automation;
    return effect.settings() + (automation.empty() ? "" : "; automated by " + automation.filename().string());
}

std::string title(const AudioInput& input, const Measurement& measurement)
{
    char text[160];
    std::snprintf(text, sizeof text, "%s%d Hz, output peak %.1f dBFS",
                  input.channels() > 1 ? "first channel, " : "", input.sampleRate(),
                  20.0 * std::log10(std::max(1e-10, measurement.result.peak)));
    return text;
}

std::vector<char> draw(const PlotCommand& command, const AudioInput& input, const std::string& settings,
                       const Measurement& measurement)
{
    Picture picture(kWidth, kHeight, command.output.extension() == ".svg");
    const double right = kWaveform.x + kWaveform.width;
    picture.text(kWaveform.x, 30.0, input.path().filename().string() + " through Wail", 19.0,
                 Picture::Align::kLeft, true);
    picture.text(kWaveform.x, 52.0, settings, 13.0);
    picture.text(right, 30.0, title(input, measurement), 12.0, Picture::Align::kRight);

    const double seconds = static_cast<double>(measurement.result.frames) / measurement.rate;
    const Axis time{0.0, seconds, "Time in s"};
    drawWaveform(picture, measurement.input, measurement.rate, time);
    drawSpectrogram(picture, measurement.output, measurement.rate, time);
    return picture.bytes();
}

void run(const PlotCommand& command)
{
    if (command.output.extension() != ".png" && command.output.extension() != ".svg")
        throw Error("cannot tell the kind of " + command.output.string() + "; end its name in .png or .svg");
    const Bundle bundle(command.bundle);
    AudioInput input(command.input);
    Sound sound(bundle, command.settings.sound, input.channels(), input.sampleRate(), input.frames());
    const std::string settings = caption(command, sound.effect());
    Measurement measurement(input.sampleRate());
    {
        Progress progress(!command.quiet, command.settings.passes() * input.frames().value_or(0));
        const RenderSettings rendering =
            withGainFound(command.settings, command.input, bundle, [&](auto samples) {
                progress.advance(static_cast<std::int64_t>(samples.size()) / input.channels());
            });
        measure(input, sound, rendering, progress, measurement);
    }
    if (measurement.output.columns() == 0)
        throw Error("cannot plot " + input.name() + ": it is too short to show its frequencies");
    writeFile(command.output, draw(command, input, settings, measurement));
    if (!command.quiet)
        std::printf("%s: %s\n", command.output.c_str(), title(input, measurement).c_str());
}

constexpr const char* kExamples = R"(Examples:
  wail plot guitar.wav -o guitar.png --preset falling-teeth
  wail plot drums.flac -o drums.svg --automation moves.json --tail auto)";

}  // namespace

void addPlotCommand(CLI::App& app)
{
    const auto command = std::make_shared<PlotCommand>();
    CLI::App& sub = *app.add_subcommand("plot", "Draw what the effect does to an audio file");
    sub.add_option("IN", command->input, "audio file to read; - for standard input")->required();
    sub.add_option("-o,--output", command->output, "picture to write, .png or .svg")
        ->required()
        ->type_name("PICTURE");
    addSoundOptions(sub, command->settings.sound);
    addRenderOptions(sub, command->settings);
    addBundleOption(sub, command->bundle);
    sub.add_flag("-q,--quiet", command->quiet, "say nothing but errors");
    sub.footer(kExamples);
    sub.final_callback([command] { run(*command); });
}
