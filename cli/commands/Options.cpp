#include "cli/commands/Options.h"

#include <cmath>

namespace
{

constexpr double kLongestTime = 1e6;  // s
constexpr int kPrograms = 16;

}  // namespace

CLI::Option* addOption(CLI::App& command, const std::string& name, const std::string& type,
                       const std::string& help, std::function<void(const std::string&)> parse)
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

void addProgramOptions(CLI::App& command, ProgramChoice& choice)
{
    command.option_defaults()->group("Sound");
    for (VstInt32 index = 0; const ParameterOption& option : kParameterOptions) {
        addOption(command, std::string("--") + option.name, option.isSwitch ? "on|off" : "0..1", option.help,
                  [&choice, index](const std::string& text) {
                      choice.parameters[index] = parameterValue(index, text);
                  });
        ++index;
    }
    addText(command, "--preset", "FILE", ".fxp file, or a name that wail preset lists", choice.preset);
    addText(command, "--bank", "FILE", ".fxb file", choice.bank);
    addNumber(command, "--program", "N", "program of the bank, from 1 to 16", choice.number, 1, kPrograms);
}

void addRenderOptions(CLI::App& command, RenderOptions& options)
{
    RenderSettings& settings = options.settings;
    addProgramOptions(command, options.choice);
    addText(command, "--automation", "FILE", "parameters over time, a JSON file", options.automation);
    addNumber(command, "--block", "N", "frames in a block, 64 by default", settings.blockSize, 1, 1 << 20);
    addNumber(command, "--start", "SECONDS", "begin this far into the input", settings.startSeconds, 0.0,
              kLongestTime);
    addNumber(command, "--duration", "SECONDS", "render only so much of it", settings.durationSeconds, 1e-6,
              kLongestTime);
    addNumber(command, "--tail", "SECONDS", "to ring out; 0.3 is enough for any setting",
              settings.tailSeconds, 0.0, kLongestTime);
    addNumber(command, "--gain", "DB", "of the output, 0 by default", settings.gainDecibels, -200.0, 200.0);
}

RenderSettings RenderOptions::load() const
{
    HostedEffect effect;
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

std::string plural(std::int64_t number, const std::string& noun)
{
    return fmt::format("{} {}{}", number, noun, number == 1 ? "" : "s");
}

void printWarnings(const AudioInput& input)
{
    if (input.wasCutOff())
        printLine(stderr, fmt::format("warning: {} ends before the length in its header", input.name()));
    if (input.nonFiniteSamples() > 0)
        printLine(stderr, fmt::format("warning: {} holds {} not finite", input.name(),
                                      plural(input.nonFiniteSamples(), "sample")));
}
