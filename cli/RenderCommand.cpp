#include "cli/Commands.h"
#include "cli/Error.h"
#include "cli/Options.h"
#include "cli/RenderJob.h"

#include <algorithm>
#include <atomic>
#include <set>
#include <thread>

namespace
{

namespace fs = std::filesystem;

struct RenderCommand {
    std::vector<fs::path> inputs;
    fs::path output;          // empty: named after the input
    fs::path outputFolder;    // empty: beside the input
    fs::path bundle;          // empty: the standard one
    std::size_t threads = 0;  // 0: as many as there are cores
    RenderJobSettings settings;
};

fs::path outputFor(const RenderCommand& command, const fs::path& input)
{
    if (!command.output.empty())
        return command.output;
    if (input == "-")
        return "-";
    const int container = command.settings.format.container;
    const std::string extension = container == 0 ? input.extension().string() : extensionOf(container);
    if (!command.outputFolder.empty())
        return command.outputFolder / (input.stem().string() + extension);
    return input.parent_path() / (input.stem().string() + "-wail" + extension);
}

void makeFolder(const fs::path& folder)
{
    std::error_code error;
    fs::create_directories(folder, error);
    if (error)
        throw Error("cannot make the folder " + folder.string() + ": " + error.message());
}

// No output may be an input, nor another's output.
std::vector<RenderJob> planJobs(const RenderCommand& command)
{
    std::vector<RenderJob> jobs;
    std::set<fs::path> outputs;
    if (!command.output.empty() && command.inputs.size() > 1)
        throw CLI::ValidationError("--output", "takes one input; use --output-dir for several");
    std::error_code none;
    for (const fs::path& input : command.inputs) {
        const fs::path output = outputFor(command, input);
        for (const fs::path& other : command.inputs)
            if (output != "-" && fs::is_regular_file(output, none) &&
                fs::equivalent(output, other == "-" ? fs::path("/dev/stdin") : other, none))
                throw Error("cannot write " + output.string() + ": it is the input; choose another name");
        if (!outputs.insert(fs::weakly_canonical(output, none)).second)
            throw Error("cannot write " + output.string() +
                        " twice: two inputs have the same name; render them one by one with --output");
        jobs.push_back({input, output});
    }
    return jobs;
}

// What there is to do, for the bar; pipes, and files that will fail, do not count.
std::int64_t totalFrames(const RenderCommand& command)
{
    std::int64_t total = 0;
    for (const fs::path& input : command.inputs) {
        std::error_code none;
        SF_INFO info{};
        const SoundFile sound(
            fs::is_regular_file(input, none) ? sf_open(input.c_str(), SFM_READ, &info) : nullptr, sf_close);
        total += sound == nullptr ? 0 : command.settings.render.passes() * info.frames;
    }
    return total;
}

// Each thread takes the next file until none is left; one file's failure does not stop the others.
void runJobs(const RenderCommand& command, const Bundle& bundle, const std::vector<RenderJob>& jobs)
{
    Progress progress(!command.settings.quiet, totalFrames(command));
    std::atomic<std::size_t> next = 0, failed = 0;
    const auto work = [&] {
        for (std::size_t i = next++; i < jobs.size(); i = next++) {
            try {
                runRenderJob(jobs[i], command.settings, bundle, progress);
            } catch (const std::exception& error) {
                progress.say(stderr, std::string("error: ") + error.what());
                ++failed;
            }
        }
    };
    {
        const std::size_t cores = std::max(1u, std::thread::hardware_concurrency());
        std::vector<std::jthread> threads(
            std::min(jobs.size(), command.threads > 0 ? command.threads : cores));
        for (std::jthread& thread : threads)
            thread = std::jthread(work);
    }
    if (failed > 0)
        throw Error(std::to_string(failed) + " of " + std::to_string(jobs.size()) +
                    " files were not rendered");
}

void run(const RenderCommand& command)
{
    const std::vector<RenderJob> jobs = planJobs(command);
    const Bundle bundle(command.bundle);
    if (!command.outputFolder.empty())
        makeFolder(command.outputFolder);
    if (jobs.size() > 1) {
        runJobs(command, bundle, jobs);
    } else {
        Progress progress(!command.settings.quiet, totalFrames(command));
        runRenderJob(jobs.front(), command.settings, bundle, progress);
    }
}

constexpr const char* kExamples = R"(Examples:
  wail render guitar.wav                              writes guitar-wail.wav
  wail render guitar.wav -o swept.flac --preset slow-tide --tail auto
  wail render takes/*.wav --output-dir swept --automation moves.json
  sox in.mp3 -t wav - | wail render - --gain -6 | ffplay -)";

}  // namespace

void addRenderCommand(CLI::App& app)
{
    const auto command = std::make_shared<RenderCommand>();
    CLI::App& sub = *app.add_subcommand("render", "Render audio files through the effect");
    sub.add_option("IN", command->inputs, "audio files to read; - for standard input")->required();
    CLI::Option* const output =
        sub.add_option("-o,--output", command->output, "IN-wail.EXT by default; - for standard output")
            ->type_name("OUT");
    sub.add_option("--output-dir", command->outputFolder, "folder for the outputs, with the inputs' names")
        ->type_name("DIR")
        ->excludes(output);
    addFormatOption(sub, command->settings.format);
    sub.add_option("--jobs", command->threads, "files at the same time, one a core by default")
        ->check(between(1, 1024))
        ->type_name("N");
    addSoundOptions(sub, command->settings.render.sound);
    addRenderOptions(sub, command->settings.render);
    addBundleOption(sub, command->bundle);
    CLI::Option* const quiet =
        sub.add_flag("-q,--quiet", command->settings.quiet, "say nothing but warnings and errors");
    sub.add_flag("-v,--verbose", command->settings.verbose, "tell the settings too")->excludes(quiet);
    sub.footer(kExamples);
    sub.final_callback([command] { run(*command); });
}
