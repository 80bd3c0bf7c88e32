#include "cli/Error.h"
#include "cli/Text.h"
#include "cli/audio/OutputFile.h"
#include "cli/audio/TemporaryFiles.h"
#include "cli/commands/Commands.h"
#include "cli/commands/Options.h"

#include <cerrno>
#include <cstring>

namespace
{

constexpr int kFailed = 1;
constexpr int kWrongCommandLine = 2;

constexpr const char* kExamples = R"(Examples:
  wail render guitar.wav --sense 0.4 --range 1     writes guitar-wail.wav
  wail plot guitar.wav -o guitar.png --invert on   draws what that does
  wail preset                                      lists the presets
Run 'wail COMMAND --help' for the options of a command.)";

// The option whose value is missing, which CLI11 reports as "--sense: 1 required 0..1 missing"; null if none is.
const CLI::Option* optionWithoutValue(const CLI::App& command, const CLI::ParseError& error)
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
    if (const CLI::Option* const option = optionWithoutValue(*command, error))
        what = option->get_name() + " needs a value, " + option->get_type_name();
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
    const std::string suggestion = didYouMean(word, known);
    const char* const kind = command == &app ? "unknown command" : "unexpected argument";
    return fmt::format("{} {}{}", word.starts_with('-') ? "unknown option" : kind, word,
                       suggestion.empty() ? help : suggestion);
}

// Unwritten standard output is an error, unless its reader has closed it.
void finishOutput()
{
    if ((std::fflush(stdout) != 0 || std::ferror(stdout) != 0) && errno != EPIPE)
        throw Error("cannot write standard output: {}", std::strerror(errno));
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
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& help) {
        app.exit(help);
    } catch (const CLI::ParseError& error) {
        printLine(stderr, "error: " + describe(app, error));
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
    } catch (const ClosedPipe&) {
        return 0;
    } catch (const std::exception& error) {
        printLine(stderr, fmt::format("error: {}", error.what()));
        return dynamic_cast<const UsageError*>(&error) != nullptr ? kWrongCommandLine : kFailed;
    }
}
