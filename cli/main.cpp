#include "cli/Error.h"
#include "cli/Text.h"
#include "cli/audio/OutputFile.h"
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

// What is wrong with the command line, and which help to ask.
std::string describe(const CLI::App& app, const CLI::ParseError& error)
{
    const CLI::App* command = &app;
    std::string name = app.get_name();
    for (; !command->get_subcommands().empty(); name += " " + command->get_name())
        command = command->get_subcommands().front();
    std::string what = error.what();
    // CLI11 reports a missing value as "--sense: 1 required 0..1 missing".
    const CLI::Option* const option = command->get_option_no_throw(what.substr(0, what.find(':')));
    if (option != nullptr && what.ends_with(" missing"))
        what = option->get_name() + " needs a value, " + option->get_type_name();
    else if (const std::vector<std::string> unknown = app.remaining(true); !unknown.empty())
        what =
            (unknown.front().starts_with('-') ? "unknown option " : "unexpected argument ") + unknown.front();
    else if (command == &app && error.get_name() == "RequiredError")
        what = "a command is required";
    return what + "; try " + name + " --help";
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
    app.get_formatter()->column_width(30);
    app.get_formatter()->label("SUBCOMMAND", "COMMAND");
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
        guardOutputFiles();
        return run(argc, argv);
    } catch (const ClosedPipe&) {
        return 0;
    } catch (const std::exception& error) {
        printLine(stderr, fmt::format("error: {}", error.what()));
        return dynamic_cast<const UsageError*>(&error) != nullptr ? kWrongCommandLine : kFailed;
    }
}
