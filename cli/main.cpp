#include "cli/Commands.h"
#include "cli/Error.h"
#include "cli/Manual.h"
#include "cli/Options.h"
#include "cli/Suggestion.h"
#include "cli/TemporaryFiles.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace
{

constexpr int kFailed = 1;
constexpr int kWrongCommandLine = 2;

constexpr const char* kExamples = R"(Examples:
  wail render guitar.wav --sense 0.4 --range 1     writes guitar-wail.wav
  wail plot guitar.wav -o guitar.png --invert on   draws what that does
  wail preset                                      lists the presets
Every command tells its options with --help.)";

// The option whose value is missing, which the parser tells as "--sense: 1 required 0..1 missing".
const CLI::Option* lackingValue(const CLI::App& command, const CLI::ParseError& error)
{
    const std::string what = error.what();
    return what.ends_with(" missing") ? command.get_option_no_throw(what.substr(0, what.find(':'))) : nullptr;
}

// What is wrong with the command line, and what might have been meant.
std::string describe(const CLI::App& app, const CLI::ParseError& error)
{
    const CLI::App* command = &app;
    std::string name = app.get_name();
    for (; !command->get_subcommands().empty(); name += " " + command->get_name())
        command = command->get_subcommands().front();
    const std::string help = "; try " + name + " --help";
    const std::vector<std::string> unknown = app.remaining(true);
    std::string what = error.what();
    if (const CLI::Option* const option = lackingValue(*command, error))
        what = option->get_name() + " needs a value, " + typeOf(*option);
    else if (command == &app && error.get_name() == "RequiredError")
        what = "a command is required";
    if (unknown.empty())
        return what + (what.ends_with('?') ? "" : help);

    std::vector<std::string> known;
    for (const CLI::App* const sub : command->get_subcommands({}))
        known.push_back(sub->get_name());
    for (const CLI::Option* const option : command->get_options())
        for (const std::string& longName : option->get_lnames())
            known.push_back("--" + longName);
    const std::string word = unknown.front().substr(0, unknown.front().find('='));
    const std::string near = didYouMean(word, known);
    const char* const kind = command == &app ? "unknown command " : "unexpected argument ";
    return (word.starts_with('-') ? "unknown option " : kind) + word + (near.empty() ? help : near);
}

// An option without help, for the build, that prints what is made of the definitions and ends.
void addWriter(CLI::App& app, const std::string& option, std::string (*write)(const CLI::App&))
{
    const auto print = [&app, write](std::int64_t) {
        std::fputs(write(app).c_str(), stdout);
        throw CLI::Success();
    };
    app.add_flag_function(option, print)->group("")->trigger_on_parse();
}

// What standard output has not taken is an error, unless its reader has seen enough.
void finishOutput()
{
    if ((std::fflush(stdout) != 0 || std::ferror(stdout) != 0) && errno != EPIPE)
        throw Error(std::string("cannot write standard output: ") + std::strerror(errno));
}

int run(int argc, char** argv)
{
    CLI::App app("wail: plays audio files through Wail, a comb filter that sweeps with the level.", "wail");
    app.formatter(helpFormatter());
    app.require_subcommand(1);
    app.group("Commands");  // the heading of all commands below
    app.set_version_flag("--version", "wail " WAIL_VERSION);
    app.footer(kExamples);
    addRenderCommand(app);
    addPlotCommand(app);
    addPresetCommand(app);
    addInfoCommand(app);
    addWriter(app, "--manual", manualPage);
    addWriter(app, "--bash-completion", bashCompletion);
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& help) {
        app.exit(help);
    } catch (const CLI::ParseError& error) {
        std::fprintf(stderr, "error: %s\n", describe(app, error).c_str());
        return kWrongCommandLine;
    }
    finishOutput();
    return 0;
}

}  // namespace

int main(int argc, char** argv)
{
    try {
        guardTemporaryFiles();
        return run(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "error: %s\n", error.what());
        return kFailed;
    }
}
