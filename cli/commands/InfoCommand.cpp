#include "cli/Text.h"
#include "cli/commands/Commands.h"
#include "cli/engine/HostedEffect.h"
#include "host/VstRecords.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <cstdio>

namespace
{

using Json = nlohmann::ordered_json;

std::string fourCharacters(VstInt32 code)
{
    std::string text;
    for (int shift = 24; shift >= 0; shift -= 8)
        text += static_cast<char>(code >> shift & 0xff);
    return text;
}

// The shortest decimal number that is the same float.
double shortest(float value)
{
    return parseNumber<double>(fmt::format("{}", value)).value_or(value);
}

Json describe(const HostedEffect& effect, VstInt32 index)
{
    VstParameterProperties properties{};
    effect.dispatch(effGetParameterProperties, index, 0, &properties);
    Json parameter{{"index", index},
                   {"name", effect.text(effGetParamName, index)},
                   {"value", shortest(effect.parameter(index))},
                   {"text", effect.text(effGetParamDisplay, index)},
                   {"label", effect.text(effGetParamLabel, index)},
                   {"automatable", effect.dispatch(effCanBeAutomated, index) == 1},
                   {"switch", (properties.flags & kVstParameterIsSwitch) != 0}};
    if ((properties.flags & kVstParameterUsesFloatStep) != 0)
        parameter["step"] = shortest(properties.stepFloat);
    return parameter;
}

Json describe(const HostedEffect& effect)
{
    const AEffect& record = effect.properties();
    Json info{{"bundle", toUtf8(bundleFile().string())},
              {"name", effect.text(effGetEffectName)},
              {"vendor", effect.text(effGetVendorString)},
              {"vendorVersion", effect.dispatch(effGetVendorVersion)},
              {"uniqueID", fourCharacters(record.uniqueID)},
              {"version", record.version},
              {"inputs", record.numInputs},
              {"outputs", record.numOutputs},
              {"latencySamples", record.initialDelay}};
    for (VstInt32 index = 0; index < record.numParams; ++index)
        info["parameters"].push_back(describe(effect, index));
    for (VstInt32 index = 0; index < record.numPrograms; ++index)
        info["programs"].push_back(effect.text(effGetProgramNameIndexed, index));
    return info;
}

const std::string& text(const Json& value)
{
    return value.get_ref<const std::string&>();
}

std::string summaryOf(const Json& info)
{
    std::string summary =
        fmt::format("{} by {}, version {}, {}\n\n    Parameter      Value  Shown as\n", text(info["name"]),
                    text(info["vendor"]), info["vendorVersion"].dump(), text(info["bundle"]));
    for (const Json& parameter : info["parameters"])
        summary += fmt::format("{:>3} {:<9} {:>10}  {}\n", parameter["index"].dump(), text(parameter["name"]),
                               parameter["value"].dump(), text(parameter["text"]));
    summary += "\nPrograms:";
    for (std::size_t i = 0; i < info["programs"].size(); ++i)
        summary += fmt::format("{} {} {}", i > 0 ? "," : "", i + 1, text(info["programs"][i]));
    return summary;
}

}  // namespace

void addInfoCommand(CLI::App& app)
{
    const auto json = std::make_shared<bool>(false);
    CLI::App& sub = *app.add_subcommand("info", "Print what the plug-in reports about itself");
    sub.add_flag("--json", *json, "everything, as JSON");
    sub.footer("Examples:\n  wail info\n  wail info --json | jq '.parameters[].name'");
    sub.final_callback([json] {
        const Json info = describe(HostedEffect());
        std::puts((*json ? info.dump(2) : summaryOf(info)).c_str());
    });
}
