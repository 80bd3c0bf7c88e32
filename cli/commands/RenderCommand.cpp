#include "cli/audio/AudioOutput.h"
#include "cli/commands/Commands.h"
#include "cli/commands/Options.h"

#include <fmt/ranges.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <set>

namespace
{

namespace fs = std::filesystem;

struct RenderCommand {
    std::vector<fs::path> inputs;
    std::optional<fs::path> output;        // none: named after the input
    std::optional<fs::path> outputFolder;  // none: beside the input
    RenderOptions options;
    AudioFormat format;
    bool dither = false;
    bool quiet = false;
    bool verbose = false;
};

// An input and its output; "-" is standard input or output.
struct Job {
    fs::path input;
    fs::path output;
};

fs::path outputFor(const RenderCommand& command, const fs::path& input)
{
    if (command.output)
        return *command.output;
    if (input == "-")
        return "-";
    std::error_code ignored;
    if (isStream(input) && !fs::is_directory(input, ignored))
        throw UsageError("{} is a pipe; name its output with --output", input.string());
    SF_INFO info{};
    if (fs::is_regular_file(input, ignored))
        SoundFile(sf_open(input.c_str(), SFM_READ, &info), sf_close);
    const std::string extension = outputExtension(input, info.format, command.format);
    if (command.outputFolder)
        return *command.outputFolder / (input.stem().string() + extension);
    return input.parent_path() / (input.stem().string() + "-wail" + extension);
}

void checkUsage(const RenderCommand& command)
{
    if (command.output && command.outputFolder)
        throw UsageError("--output and --output-dir exclude each other");
    if (command.output && command.inputs.size() > 1)
        throw UsageError("--output takes one input; use --output-dir for several");
    if (command.output)
        checkOutputName(*command.output, command.format);
    if (std::ranges::count(command.inputs, "") > 0)
        throw UsageError("IN is empty; name an audio file");
    if (command.outputFolder && std::ranges::count(command.inputs, "-") > 0)
        throw UsageError("--output-dir takes files, which have names; use --output for standard input");
}

// No output may be an input or another job's output.
std::vector<Job> planJobs(const RenderCommand& command)
{
    std::vector<Job> jobs;
    std::set<fs::path> outputs;
    std::error_code none;
    for (const fs::path& input : command.inputs) {
        const fs::path output = outputFor(command, input);
        const fs::path written = output == "-" ? "/dev/stdout" : output;
        for (const fs::path& other : command.inputs)
            if (fs::is_regular_file(written, none) &&
                fs::equivalent(written, other == "-" ? "/dev/stdin" : other, none))
                throw Error("cannot write {}: it is the input; choose another name", output.string());
        if (!outputs.insert(fs::weakly_canonical(output, none)).second)
            throw Error(
                "cannot write {} twice: two inputs have the same name; render them one by one with --output",
                output.string());
        jobs.push_back({input, output});
    }
    return jobs;
}

// The gain in dB, in tenths, at which this peak clips in no format; 8 bits clip first.
double gainWithoutClipping(double peak)
{
    return (std::ceil(200.0 * std::log10(127.5 / 128.0 / peak)) - 1.0) / 10.0;
}

void printWarnings(const AudioInput& input, const AudioOutput& output, double peakWithoutGain)
{
    printWarnings(input);
    if (output.clippedSamples() > 0)
        printLine(stderr, fmt::format("warning: {}: {} clipped at full scale; --gain {:.1f} would avoid it",
                                      output.name(), plural(output.clippedSamples(), "sample"),
                                      gainWithoutClipping(peakWithoutGain)));
}

void renderJob(const RenderCommand& command, const Job& job, const RenderSettings& settings)
{
    const auto start = std::chrono::steady_clock::now();
    AudioInput input(job.input);
    AudioOutput output(job.output, input,
                       {.format = command.format,
                        .dither = command.dither,
                        .expectedFrames = renderedFrames(input, settings),
                        .firstFrame = framesIn(settings.startSeconds, input.sampleRate()),
                        .isExcerpt = settings.isExcerpt()});
    std::FILE* const messages = job.output == "-" ? stderr : stdout;
    if (command.verbose) {
        printLine(messages,
                  fmt::format("{}: plug-in {}, blocks of {}, {}", input.name(), bundleFile().string(),
                              settings.blockSize, describeValues(settings.program.values)));
        if (!output.lostMetadata().empty())
            printLine(messages,
                      fmt::format("{}: left out {}", output.name(), fmt::join(output.lostMetadata(), ", ")));
    }
    const RenderResult result =
        render(input, settings, {.input = {}, .output = [&](auto samples) { output.write(samples); }});
    if (result.frames == 0)
        throw Error("cannot render {}: it holds no audio there; choose another --start or --duration",
                    input.name());
    output.commit();

    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
    const double seconds = static_cast<double>(result.frames) / input.sampleRate();
    if (!command.quiet)
        printLine(messages, fmt::format("{}: {:.2f} s, {}, {} Hz, {}, {:.0f}x real time", output.name(),
                                        seconds, plural(input.channels(), "channel"), input.sampleRate(),
                                        describePeak(result.peak), seconds / elapsed.count()));
    printWarnings(input, output, result.peak * std::pow(10.0, -settings.gainDecibels / 20.0));
}

void run(const RenderCommand& command)
{
    checkUsage(command);
    const std::vector<Job> jobs = planJobs(command);
    const RenderSettings settings = command.options.load();
    std::error_code error;
    if (command.outputFolder && !fs::create_directories(*command.outputFolder, error) && error)
        throw Error("cannot make the folder {}: {}", command.outputFolder->string(), error.message());
    if (jobs.size() == 1)
        return renderJob(command, jobs.front(), settings);
    std::size_t failed = 0;
    for (const Job& job : jobs) {  // a failure does not stop the others
        try {
            renderJob(command, job, settings);
        } catch (const Error& jobError) {
            printLine(stderr, fmt::format("error: {}", jobError.what()));
            ++failed;
        }
    }
    if (failed > 0)
        throw Error("{} of {} files were not rendered", failed, jobs.size());
}

constexpr const char* kExamples = R"(Examples:
  wail render guitar.wav                              writes guitar-wail.wav
  wail render guitar.wav -o swept.flac --preset slow-tide --tail 0.3
  wail render takes/*.wav --output-dir swept --automation moves.json
  wail render song.mp3 -o - | ffmpeg -i - swept.mp3)";

}  // namespace

void addRenderCommand(CLI::App& app)
{
    const auto command = std::make_shared<RenderCommand>();
    CLI::App& sub = *app.add_subcommand("render", "Render audio files through the effect");
    sub.add_option("IN", command->inputs, "audio files to read; - for standard input")->required();
    addText(sub, "-o,--output", "OUT", "IN-wail.EXT by default; - for standard output", command->output);
    addText(sub, "--output-dir", "DIR", "folder for the outputs, with the inputs' names",
            command->outputFolder);
    addOption(sub, "--format", "FORMAT", "as in flac, pcm24 or wav/float; the input's by default",
              [command](const std::string& text) { command->format = parseAudioFormat(text); });
    sub.add_flag("--dither", command->dither, "add TPDF dither to samples of 16 bits or fewer");
    sub.add_flag("-q,--quiet", command->quiet, "print nothing but warnings and errors");
    sub.add_flag("-v,--verbose", command->verbose, "also print the settings and what is left out");
    addRenderOptions(sub, command->options);
    sub.footer(kExamples);
    sub.final_callback([command] { run(*command); });
}
