#include "cli/commands/Options.h"

#include "cli/Error.h"
#include "cli/Text.h"

#include <cmath>

namespace
{

using Parse = std::function<void(const std::string&)>;

constexpr double kLongestTime = 1e6;  // s
constexpr int kPrograms = 16;

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

void addSoundOption(CLI::App& command, const std::string& name, const std::string& type,
                    const std::string& help, Parse parse)
{
    addOption(command, name, type, help, std::move(parse))->group("Sound");
}

// None for "auto".
std::optional<double> parseRealOrAuto(const std::string& text, double low, double high,
                                      const std::string& unit)
{
    return text == "auto" ? std::nullopt
                          : std::optional(parseReal(text, low, high, "auto or a number of " + unit));
}

}  // namespace

CLI::Option* addOption(CLI::App& command, const std::string& name, const std::string& type,
                       const std::string& help, Parse parse)
{
    const std::string shown = name.substr(name.find(',') + 1);
    const auto parseChecked = [shown, parse = std::move(parse)](const std::string& text) {
        if (text.empty())
            throw CLI::ValidationError(shown, "the value is empty");
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

double parseReal(const std::string& text, double low, double high, const std::string& kind)
{
    const auto number = parseNumber<double>(text);
    if (!number || !(*number >= low && *number <= high))
        throw Error("'{}' is not {} from {} to {}", text, kind, low, high);
    return *number;
}

void addProgramOptions(CLI::App& command, ProgramChoice& choice)
{
    for (std::size_t i = 0; i < kParameters.size(); ++i) {
        const Parameter& parameter = kParameters[i];
        addSoundOption(command, std::string("--") + parameter.option, parameter.isSwitch ? "on|off" : "0..1",
                       parameter.help, [&choice, &parameter, i](const std::string& text) {
                           choice.parameters[static_cast<VstInt32>(i)] = parameterValue(parameter, text);
                       });
    }
    addSoundOption(command, "--preset", "FILE", ".fxp file, or a name that wail preset lists",
                   [&choice](const std::string& text) { choice.preset = text; });
    addSoundOption(command, "--bank", "FILE", ".fxb file",
                   [&choice](const std::string& text) { choice.bank = text; });
    addSoundOption(command, "--program", "N", "program of the bank, from 1 to 16",
                   [&choice](const std::string& text) { choice.number = parseInteger(text, 1, kPrograms); });
}

void addRenderOptions(CLI::App& command, RenderOptions& options)
{
    RenderSettings& settings = options.settings;
    addProgramOptions(command, options.choice);
    addSoundOption(command, "--automation", "FILE", "parameters over time, a JSON file",
                   [&options](const std::string& text) { options.automation = text; });
    addSoundOption(
        command, "--block", "N", "frames in a block, 64 by default",
        [&settings](const std::string& text) { settings.blockSize = parseInteger(text, 1, 1 << 20); });
    addSoundOption(command, "--start", "SECONDS", "begin this far into the input",
                   [&settings](const std::string& text) {
                       settings.startSeconds = parseReal(text, 0.0, kLongestTime, "a time in seconds");
                   });
    addSoundOption(command, "--duration", "SECONDS", "render only so much of it",
                   [&settings](const std::string& text) {
                       settings.durationSeconds = parseReal(text, 1e-6, kLongestTime, "a time in seconds");
                   });
    addSoundOption(command, "--tail", "SECONDS|auto", "to ring out; auto: until below -90 dBFS",
                   [&settings](const std::string& text) {
                       settings.tailSeconds = parseRealOrAuto(text, 0.0, 3600.0, "seconds");
                   });
}

void addGainOption(CLI::App& command, RenderOptions& options)
{
    addSoundOption(command, "--gain", "DB|auto", "0 by default; auto: so low that nothing clips",
                   [&options](const std::string& text) {
                       options.settings.gainDecibels = parseRealOrAuto(text, -200.0, 200.0, "dB");
                   });
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

std::string describePeak(double peak)
{
    return peak > 0.0 ? fmt::format("peak {:.1f} dBFS", 20.0 * std::log10(peak)) : "silent";
}

std::shared_ptr<CLI::Formatter> helpFormatter()
{
    return std::make_shared<HelpFormatter>();
}
