#include "cli/Error.h"
#include "cli/Text.h"
#include "cli/commands/Commands.h"
#include "cli/commands/Options.h"
#include "cli/commands/RenderJob.h"

#include <algorithm>
#include <atomic>
#include <set>
#include <thread>

namespace
{

namespace fs = std::filesystem;

struct RenderCommand {
    std::vector<fs::path> inputs;
    std::optional<fs::path> output;        // none: named after the input
    std::optional<fs::path> outputFolder;  // none: beside the input
    int jobs = 0;                          // 0: as many as there are cores
    RenderOptions options;
    RenderJobSettings settings;
};

fs::path outputFor(const RenderCommand& command, const fs::path& input)
{
    if (command.output)
        return *command.output;
    if (input == "-") {
        if (command.outputFolder)
            throw UsageError("--output-dir needs inputs with names; use --output for standard input");
        return "-";
    }
    SF_INFO info{};
    std::error_code ignored;
    if (fs::is_regular_file(input, ignored))
        SoundFile(sf_open(input.c_str(), SFM_READ, &info), sf_close);
    const std::string extension = outputExtension(input, info.format, command.settings.format);
    if (command.outputFolder)
        return *command.outputFolder / (input.stem().string() + extension);
    return input.parent_path() / (input.stem().string() + "-wail" + extension);
}

void checkCommand(const RenderCommand& command)
{
    if (command.output && command.outputFolder)
        throw UsageError("--output and --output-dir exclude each other");
    if (command.output && command.inputs.size() > 1)
        throw UsageError("--output takes one input; use --output-dir for several");
    if (command.output)
        checkOutputName(*command.output, command.settings.format);
    if (std::ranges::find(command.inputs, "") != command.inputs.end())
        throw UsageError("IN must not be empty");
}

// No output may be an input or another job's output.
std::vector<RenderJob> planJobs(const RenderCommand& command)
{
    std::vector<RenderJob> jobs;
    std::set<fs::path> outputs;
    std::error_code none;
    for (const fs::path& input : command.inputs) {
        const fs::path output = outputFor(command, input);
        for (const fs::path& other : command.inputs)
            if (output != "-" && fs::is_regular_file(output, none) &&
                fs::equivalent(output, other == "-" ? fs::path("/dev/stdin") : other, none))
                throw Error("cannot write {}: it is the input; choose another name", output.string());
        if (!outputs.insert(fs::weakly_canonical(output, none)).second)
            throw Error(
                "cannot write {} twice: two inputs have the same name; render them one by one with --output",
                output.string());
        jobs.push_back({input, output});
    }
    return jobs;
}

// Each thread takes the next job until none is left; a failure does not stop the others.
void runJobs(const RenderCommand& command, const Bundle& bundle, const std::vector<RenderJob>& jobs)
{
    std::atomic<std::size_t> next = 0;
    std::atomic<std::size_t> failed = 0;
    const auto work = [&] {
        for (std::size_t i = next++; i < jobs.size(); i = next++) {
            try {
                runRenderJob(jobs[i], command.settings, bundle);
            } catch (const std::exception& error) {
                printLine(stderr, fmt::format("error: {}", error.what()));
                ++failed;
            }
        }
    };
    {
        const std::size_t cores = std::max(1U, std::thread::hardware_concurrency());
        const std::size_t wanted = command.jobs > 0 ? static_cast<std::size_t>(command.jobs) : cores;
        std::vector<std::jthread> threads(std::min(jobs.size(), wanted));
        for (std::jthread& thread : threads)
            thread = std::jthread(work);
    }
    if (failed > 0)
        throw Error("{} of {} files were not rendered", failed.load(), jobs.size());
}

void run(RenderCommand& command)
{
    checkCommand(command);
    const std::vector<RenderJob> jobs = planJobs(command);
    const Bundle bundle;
    command.settings.render = command.options.load(bundle);
    if (command.outputFolder) {
        std::error_code error;
        fs::create_directories(*command.outputFolder, error);
        if (error)
            throw Error("cannot make the folder {}: {}", command.outputFolder->string(), error.message());
    }
    if (jobs.size() > 1)
        runJobs(command, bundle, jobs);
    else
        runRenderJob(jobs.front(), command.settings, bundle);
}

constexpr const char* kExamples = R"(Examples:
  wail render guitar.wav                              writes guitar-wail.wav
  wail render guitar.wav -o swept.flac --preset slow-tide --tail auto
  wail render takes/*.wav --output-dir swept --automation moves.json
  wail render song.mp3 -o - | ffmpeg -i - swept.mp3)";

}  // namespace

void addRenderCommand(CLI::App& app)
{
    const auto command = std::make_shared<RenderCommand>();
    CLI::App& sub = *app.add_subcommand("render", "Render audio files through the effect");
    sub.add_option("IN", command->inputs, "audio files to read; - for standard input")->required();
    addOption(sub, "-o,--output", "OUT", "IN-wail.EXT by default; - for standard output",
              [command](const std::string& text) { command->output = text; });
    addOption(sub, "--output-dir", "DIR", "folder for the outputs, with the inputs' names",
              [command](const std::string& text) { command->outputFolder = text; });
    addOption(sub, "--format", "FORMAT", "as in flac, pcm24 or wav/float; the input's by default",
              [command](const std::string& text) { command->settings.format = parseAudioFormat(text); });
    sub.add_flag("--dither", command->settings.dither, "add TPDF dither to samples of 16 bits or fewer");
    addOption(sub, "--jobs", "N", "files at the same time, one a core by default",
              [command](const std::string& text) { command->jobs = parseInteger(text, 1, 1024); });
    addRenderOptions(sub, command->options);
    addOption(sub, "--gain", "DB|auto", "of the output, 0 by default; auto: so low that nothing clips",
              [command](const std::string& text) {
                  command->options.settings.gainDecibels = parseRealOrAuto(text, -200.0, 200.0, "dB");
              })
        ->group("Sound");
    CLI::Option* const quiet =
        sub.add_flag("-q,--quiet", command->settings.quiet, "print nothing but warnings and errors");
    sub.add_flag("-v,--verbose", command->settings.verbose, "print the settings and what is left out")
        ->excludes(quiet);
    sub.footer(kExamples);
    sub.final_callback([command] { run(*command); });
}
