#include "cli/Manual.h"

#include "cli/Options.h"

#include <sstream>

namespace
{

constexpr const char* kManualStart = R"(.TH WAIL 1 "" "wail )" WAIL_VERSION R"(" "User Commands"
.SH NAME
wail \- play audio files through a comb filter that sweeps with the level
.SH SYNOPSIS
.B wail
.I COMMAND
[\fIOPTION\fR]... [\fIFILE\fR]...
.SH DESCRIPTION
Loads the Wail plug-in as a host does and works on audio files with it, each channel with an
instance of its own. An output appears under its name only when it is complete.
.SH COMMANDS
)";

constexpr const char* kManualEnd = R"(.SH FORMATS
wav, flac, aiff, ogg, opus, mp3, caf, rf64, w64 and au; sample types pcm8, pcm16, pcm24, pcm32,
float and double; or both with a slash between them. An output keeps the format of its input
unless its extension or \-\-format says otherwise.
.SH AUTOMATION
A JSON object that gives each parameter a value, 0 to 1 or "on" or "off", or keyframes: values by
their times, in samples ("48000"), seconds ("1.5s") or share of the input ("50%"). Between two
keyframes values run in a straight line; switches stay until the next one.
.PP
.EX
{"range": {"0s": 0.2, "50%": 1}, "invert": {"0s": "off", "1.5s": "on"}}
.EE
.SH EXIT STATUS
0 done; 1 it failed, one line on standard error says why; 2 wrong command line; 130 or the like when
a signal ended it.
)";

constexpr const char* kCompletionStart = R"(# bash completion for wail
_wail()
{
  local word=${COMP_WORDS[COMP_CWORD]} words=
  case ${COMP_WORDS[COMP_CWORD-1]} in
    --preset) words=$(wail preset 2>/dev/null | cut -d' ' -f1) ;;
    --on-off|--invert) words='on off' ;;
    *) case "${COMP_WORDS[*]:1:COMP_CWORD-1} " in
)";

constexpr const char* kCompletionEnd = R"(    esac ;;
  esac
  COMPREPLY=($(compgen -W "$words" -- "$word"))
}
complete -o default -F _wail wail
)";

// The text as troff takes it: hyphens that can be copied, and no line that reads as a request.
std::string troff(const std::string& text)
{
    std::string escaped;
    for (const char c : text) {
        const bool startsLine = escaped.empty() || escaped.back() == '\n';
        if (startsLine && (c == '.' || c == '\''))
            escaped += "\\&";
        escaped += c == '-' ? "\\-" : c == '\\' ? "\\e" : std::string(1, c);
    }
    return escaped;
}

bool isShown(const CLI::Option* option)
{
    return !option->get_group().empty();
}

void writeOptions(std::ostringstream& page, const CLI::App& command)
{
    for (const CLI::Option* const option : command.get_options()) {
        if (!isShown(option) || option == command.get_help_ptr())
            continue;
        const bool takesValue = option->get_type_size() != 0 && !option->get_positional();
        page << ".TP\n.B " << troff(option->get_name(false, true));
        if (takesValue)
            page << " \\fI" << troff(typeOf(*option)) << "\\fR";
        page << '\n' << troff(option->get_description()) << '\n';
    }
}

void writeCommand(std::ostringstream& page, const CLI::App& command, const std::string& name)
{
    page << ".SS " << troff(name) << '\n' << troff(command.get_description()) << ".\n";
    writeOptions(page, command);
    if (!command.get_footer().empty())
        page << ".PP\n.EX\n" << troff(command.get_footer()) << "\n.EE\n";
    for (const CLI::App* const sub : command.get_subcommands({}))
        writeCommand(page, *sub, name + " " + sub->get_name());
}

// A case of the completion for the command and each of its own, the longest names first.
void writeCases(std::ostringstream& script, const CLI::App& command, const std::string& path)
{
    std::string words;
    for (const CLI::App* const sub : command.get_subcommands({})) {
        writeCases(script, *sub, path + sub->get_name() + " ");
        words += sub->get_name() + " ";
    }
    for (const CLI::Option* const option : command.get_options())
        for (const std::string& name : option->get_lnames())
            words += isShown(option) ? "--" + name + " " : "";
    script << "    \"" << path << "\"*) words=\"" << words << "\" ;;\n";
}

}  // namespace

std::string manualPage(const CLI::App& app)
{
    std::ostringstream page;
    page << kManualStart;
    for (const CLI::App* const command : app.get_subcommands({}))
        writeCommand(page, *command, "wail " + command->get_name());
    page << kManualEnd;
    return page.str();
}

std::string bashCompletion(const CLI::App& app)
{
    std::ostringstream script;
    script << kCompletionStart;
    writeCases(script, app, "");
    script << kCompletionEnd;
    return script.str();
}
