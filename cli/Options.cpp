#include "cli/Options.h"

#include "cli/Error.h"

#include <optional>

namespace
{

// An option with a parser of the program's own, whose errors become those of the command line.
template <typename Parse>
CLI::Option* addParsed(CLI::App& command, const std::string& name, Parse parse, const std::string& help)
{
    const auto parseAll = [name, parse](const std::string& text) {
        try {
            parse(text);
        } catch (const Error& error) {
            throw CLI::ValidationError(name, error.what());
        }
    };
    return command.add_option_function<std::string>(name, parseAll, help);
}

// None where the text is "auto".
std::optional<double> parseUnlessAuto(const std::string& text, int low, int high, const std::string& unit)
{
    if (text == "auto")
        return {};
    double number = 0.0;
    if (!CLI::detail::lexical_cast(text, number) || !(number >= low && number <= high))
        throw Error("'" + text + "' is neither auto nor a number of " + unit + " from " +
                    std::to_string(low) + " to " + std::to_string(high));
    return number;
}

Tail parseTail(const std::string& text)
{
    const auto seconds = parseUnlessAuto(text, 0, 3600, "seconds");
    return {.seconds = seconds.value_or(0.0), .automatic = !seconds};
}

Gain parseGain(const std::string& text)
{
    const auto decibels = parseUnlessAuto(text, -200, 200, "dB");
    return {.decibels = decibels.value_or(0.0), .automatic = !decibels};
}

class HelpFormatter : public CLI::Formatter
{
public:
    HelpFormatter()
    {
        column_width(26);
        label("SUBCOMMAND", "COMMAND");
    }

    std::string make_option_opts(const CLI::Option* option) const override
    {
        const bool takesNothing = option->get_type_size() == 0 || option->get_positional();
        return takesNothing ? "" : " " + typeOf(*option);
    }
};

}  // namespace

CLI::Validator between(int low, int high)
{
    const auto check = [low, high](const std::string& text) {
        int number = 0;
        const bool isInside = CLI::detail::lexical_cast(text, number) && number >= low && number <= high;
        return isInside ? ""
                        : "'" + text + "' is not a whole number from " + std::to_string(low) + " to " +
                              std::to_string(high);
    };
    return {check, ""};
}

void addBundleOption(CLI::App& command, std::filesystem::path& bundle)
{
    command.add_option("--bundle", bundle, "plug-in to use instead of Wail's own")->type_name("PATH");
}

void addSoundOptions(CLI::App& command, SoundSettings& settings)
{
    for (std::size_t i = 0; i < kParameters.size(); ++i) {
        const Parameter& parameter = kParameters[i];
        const auto index = static_cast<VstInt32>(i);
        const auto set = [&settings, &parameter, index](const std::string& text) {
            settings.parameters[index] = parameterValue(parameter, text);
        };
        addParsed(command, std::string("--") + parameter.option, set, parameter.help)
            ->type_name(parameter.isSwitch ? "on|off" : "0..1")
            ->group("Sound");
    }
    command.add_option("--preset", settings.preset, ".fxp file, or a name that wail preset lists")
        ->type_name("FILE")
        ->group("Sound");
    command.add_option("--bank", settings.bank, ".fxb file")->type_name("FILE")->group("Sound");
    command.add_option("--program", settings.program, "program of the bank, from 1 to 16")
        ->type_name("N")
        ->group("Sound");
}

void addRenderOptions(CLI::App& command, RenderSettings& settings)
{
    command.add_option("--automation", settings.sound.automation, "parameters over time, a JSON file")
        ->type_name("FILE")
        ->group("Sound");
    command.add_option("--block", settings.sound.blockSize, "frames in a block, 64 by default")
        ->check(between(1, 1 << 20))
        ->type_name("N")
        ->group("Sound");
    const auto setTail = [&settings](const std::string& text) { settings.tail = parseTail(text); };
    addParsed(command, "--tail", setTail, "time to ring out; auto: until below -90 dBFS")
        ->type_name("SECONDS|auto")
        ->group("Sound");
    const auto setGain = [&settings](const std::string& text) { settings.gain = parseGain(text); };
    addParsed(command, "--gain", setGain,
              "level of the output, 0 by default; auto: so low that nothing clips")
        ->type_name("DB|auto")
        ->group("Sound");
}

void addFormatOption(CLI::App& command, AudioFormat& format)
{
    const auto set = [&format](const std::string& text) { format = parseAudioFormat(text); };
    addParsed(command, "--format", set, "as in flac, pcm24 or wav/float; the input's by default")
        ->type_name("FORMAT");
}

std::string typeOf(const CLI::Option& option)
{
    const std::string type = option.get_type_name();  // and behind a colon what it is checked for
    return type.substr(0, type.find(':'));
}

std::shared_ptr<CLI::Formatter> helpFormatter()
{
    return std::make_shared<HelpFormatter>();
}
