#include "cli/Error.h"
#include "cli/Render.h"

#include <CLI/CLI.hpp>

#include <cmath>
#include <cstdio>

namespace
{

constexpr int kFailed = 1;
constexpr int kWrongCommandLine = 2;

struct ParameterOption {
    const char* option;
    bool isSwitch;
    const char* help;
};

// In the order of the plug-in's parameter indices.
constexpr ParameterOption kParameterOptions[] = {
    {"--on-off", true, "on: the effect is heard; off: the input"},
    {"--sense", false, "how much a loud input drives the sweep"},
    {"--reso", false, "feedback: how sharp the teeth of the comb are"},
    {"--range", false, "how far the sweep goes"},
    {"--balance", false, "from the dry input, 0, to the effect, 1"},
    {"--invert", true, "on: louder lengthens the delay; off: shortens it"},
    {"--envelope", false, "how slowly the sweep falls back"},
};

float parameterValue(const ParameterOption& parameter, const std::string& text)
{
    float value = 0.0f;
    if (parameter.isSwitch) {
        if (text != "on" && text != "off")
            throw CLI::ValidationError(parameter.option, "'" + text + "' is neither on nor off");
        return text == "on" ? 1.0f : 0.0f;
    }
    if (!CLI::detail::lexical_cast(text, value) || !(value >= 0.0f && value <= 1.0f))
        throw CLI::ValidationError(parameter.option, "'" + text + "' is not a number from 0.0 to 1.0");
    return value;
}

void addRender(CLI::App& app, RenderSettings& settings)
{
    CLI::App* const command = app.add_subcommand("render", "Render an audio file through the effect");
    command->add_option("IN", settings.input, "audio file to read")->required();
    command->add_option("-o,--output", settings.output, "audio file to write; its extension says the format")
        ->required()
        ->type_name("OUT");
    VstInt32 index = 0;
    for (const ParameterOption& parameter : kParameterOptions) {
        command
            ->add_option_function<std::string>(
                parameter.option,
                [&settings, &parameter, index](const std::string& text) {
                    settings.parameters[index] = parameterValue(parameter, text);
                },
                parameter.help)
            ->type_name(parameter.isSwitch ? "on|off" : "0..1");
        ++index;
    }
    command->add_option("--block", settings.blockSize, "frames in a block")
        ->check(CLI::Range(1, 1 << 20))
        ->type_name("N")
        ->capture_default_str();
}

void report(const RenderSettings& settings, const RenderResult& result)
{
    const double seconds = static_cast<double>(result.frames) / result.sampleRate;
    std::printf("%s: %.2f s, %d channel%s, %d Hz, peak %.1f dBFS\n", settings.output.c_str(), seconds,
                result.channels, result.channels == 1 ? "" : "s", result.sampleRate,
                20.0 * std::log10(result.peak));
    if (result.limited > 0)
        std::fprintf(stderr,
                     "warning: %lld samples beyond full scale were limited; lower the input's level\n",
                     static_cast<long long>(result.limited));
}

int run(int argc, char** argv)
{
    CLI::App app("wail: renders audio files through the Wail effect, an envelope-swept comb filter.", "wail");
    app.require_subcommand(1);
    RenderSettings settings;
    addRender(app, settings);
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& help) {
        return app.exit(help);
    } catch (const CLI::ParseError& error) {
        std::fprintf(stderr, "error: %s; try wail --help\n", error.what());
        return kWrongCommandLine;
    }
    report(settings, render(settings));
    return 0;
}

}  // namespace

int main(int argc, char** argv)
{
    try {
        return run(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "error: %s\n", error.what());
        return kFailed;
    }
}
