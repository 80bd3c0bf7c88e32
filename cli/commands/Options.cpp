#include "cli/commands/Options.h"

#include "cli/Error.h"
#include "cli/Text.h"

namespace
{

constexpr double kLongestTime = 1e6;  // s

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
        return takesNothing ? "" : " " + option->get_type_name();
    }
};

}  // namespace

CLI::Option* addOption(CLI::App& command, const std::string& name, const std::string& type,
                       const std::string& help, std::function<void(const std::string&)> parse)
{
    const std::string shown = name.substr(name.find("--") == std::string::npos ? 0 : name.find("--"));
    const auto parseChecked = [shown, type, parse = std::move(parse)](const std::string& text) {
        if (text.empty())
            throw CLI::ValidationError(shown + " needs a value, " + type);
        try {
            parse(text);
        } catch (const Error& error) {
            throw CLI::ValidationError(shown, error.what());
        }
    };
    return command.add_option_function<std::string>(name, parseChecked, help)->type_name(type)->take_last();
}

int parseInteger(const std::string& text, int low, int high)
{
    const auto number = parseNumber<int>(text);
    if (!number || *number < low || *number > high)
        throw Error("'{}' is not a whole number from {} to {}", text, low, high);
    return *number;
}

double parseReal(const std::string& text, double low, double high, const std::string& unit)
{
    const auto number = parseNumber<double>(text);
    if (!number || !(*number >= low && *number <= high))
        throw Error("'{}' is not a number of {} from {} to {}", text, unit, low, high);
    return *number;
}

std::optional<double> parseRealOrAuto(const std::string& text, double low, double high,
                                      const std::string& unit)
{
    if (text == "auto")
        return {};
    try {
        return parseReal(text, low, high, unit);
    } catch (const Error& error) {
        throw Error("{}, or auto", error.what());
    }
}

void addProgramOptions(CLI::App& command, ProgramChoice& choice)
{
    for (std::size_t i = 0; i < kParameters.size(); ++i) {
        const Parameter& parameter = kParameters[i];
        const auto set = [&choice, &parameter, i](const std::string& text) {
            choice.parameters[static_cast<VstInt32>(i)] = parameterValue(parameter, text);
        };
        addOption(command, std::string("--") + parameter.option, parameter.isSwitch ? "on|off" : "0..1",
                  parameter.help, set)
            ->group("Sound");
    }
    addOption(command, "--preset", "FILE", ".fxp file, or a name that wail preset lists",
              [&choice](const std::string& text) { choice.preset = text; })
        ->group("Sound");
    addOption(command, "--bank", "FILE", ".fxb file", [&choice](const std::string& text) {
        choice.bank = text;
    })->group("Sound");
    addOption(command, "--program", "N", "program of the bank, from 1 to 16",
              [&choice](const std::string& text) { choice.number = parseInteger(text, 1, 16); })
        ->group("Sound");
}

void addRenderOptions(CLI::App& command, RenderOptions& options)
{
    addProgramOptions(command, options.choice);
    RenderSettings& settings = options.settings;
    addOption(command, "--automation", "FILE", "parameters over time, a JSON file",
              [&options](const std::string& text) { options.automation = text; })
        ->group("Sound");
    addOption(command, "--block", "N", "frames in a block, 64 by default",
              [&settings](const std::string& text) { settings.blockSize = parseInteger(text, 1, 1 << 20); })
        ->group("Sound");
    addOption(command, "--start", "SECONDS", "begin this far into the input",
              [&settings](const std::string& text) {
                  settings.startSeconds = parseReal(text, 0.0, kLongestTime, "seconds");
              })
        ->group("Sound");
    addOption(command, "--duration", "SECONDS", "render only so much of the input",
              [&settings](const std::string& text) {
                  settings.durationSeconds = parseReal(text, 0.0, kLongestTime, "seconds");
                  if (settings.durationSeconds == 0.0)
                      throw Error("'{}' is no time at all", text);
              })
        ->group("Sound");
    addOption(command, "--tail", "SECONDS|auto", "time to ring out; auto: until below -90 dBFS",
              [&settings](const std::string& text) {
                  settings.tailSeconds = parseRealOrAuto(text, 0.0, 3600.0, "seconds");
              })
        ->group("Sound");
}

RenderSettings RenderOptions::load(const Bundle& bundle) const
{
    HostedEffect effect(bundle);
    RenderSettings loaded = settings;
    loaded.program = chooseProgram(choice, effect);
    if (automation)
        loaded.automation.emplace(*automation);
    return loaded;
}

std::shared_ptr<CLI::Formatter> helpFormatter()
{
    return std::make_shared<HelpFormatter>();
}
