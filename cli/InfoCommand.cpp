#include "cli/Commands.h"
#include "cli/Options.h"
#include "host/VstRecords.h"

#include <nlohmann/json.hpp>

#include <cstdio>

namespace
{

using Json = nlohmann::ordered_json;

// Slots of the extension in the effect object's table.
enum Slot {
    kNumOfInJacks = 153,
    kNumOfOutJacks,
    kNumOfInSig,
    kNumOfOutSig,
    kStartNumInSig,
    kStartNumOutSig,
    kDryInSigNum,
    kHeaderVersion = 162
};

struct InfoCommand {
    std::filesystem::path bundle;
    bool json = false;
};

std::string uniqueIdOf(const Effect& effect)
{
    std::string text;
    for (int shift = 24; shift >= 0; shift -= 8)
        text += static_cast<char>(effect.properties().uniqueID >> shift & 0xff);
    return text;
}

Json parametersOf(const Effect& effect)
{
    Json parameters = Json::array();
    for (VstInt32 index = 0; index < effect.properties().numParams; ++index) {
        VstParameterProperties properties{};
        const bool known = effect.dispatch(effGetParameterProperties, index, 0, &properties) == 1;
        Json entry{{"index", index},
                   {"name", effect.text(effGetParamName, index)},
                   {"value", effect.parameter(index)},
                   {"text", effect.text(effGetParamDisplay, index)},
                   {"label", effect.text(effGetParamLabel, index)},
                   {"automatable", effect.dispatch(effCanBeAutomated, index) == 1}};
        if (known)
            entry["switch"] = (properties.flags & kVstParameterIsSwitch) != 0;
        if (known && (properties.flags & kVstParameterUsesFloatStep) != 0)
            entry["step"] = properties.stepFloat;
        parameters.push_back(entry);
    }
    return parameters;
}

// The jacks of one direction, with their signals.
Json jacksOf(const Effect& effect, Slot numJacks, Slot numSignals, Slot firstSignal)
{
    Json jacks = Json::array();
    for (VstInt32 jack = 0; jack < effect.call<VstInt32>(numJacks); ++jack)
        jacks.push_back({{"signals", effect.call<VstInt32>(numSignals, jack)},
                         {"firstSignal", effect.call<VstInt32>(firstSignal, jack)}});
    return jacks;
}

Json programsOf(Effect& effect)
{
    Json programs = Json::array();
    for (VstInt32 index = 0; index < effect.properties().numPrograms; ++index) {
        effect.setProgram(index);
        programs.push_back(effect.text(effGetProgramName));
    }
    effect.setProgram(0);
    return programs;
}

Json describe(const Bundle& bundle)
{
    Effect effect(bundle);
    const AEffect& record = effect.properties();
    return {
        {"bundle", bundle.file().string()},
        {"name", effect.text(effGetEffectName)},
        {"product", effect.text(effGetProductString)},
        {"vendor", effect.text(effGetVendorString)},
        {"vendorVersion", effect.dispatch(effGetVendorVersion)},
        {"uniqueID", uniqueIdOf(effect)},
        {"version", record.version},
        {"interfaceVersion", effect.dispatch(effGetVstVersion)},
        {"extensionVersion", effect.call<VstInt32>(kHeaderVersion)},
        {"category", effect.dispatch(effGetPlugCategory)},
        {"inputs", record.numInputs},
        {"outputs", record.numOutputs},
        {"latencySamples", record.initialDelay},
        {"inputJacks", jacksOf(effect, kNumOfInJacks, kNumOfInSig, kStartNumInSig)},
        {"outputJacks", jacksOf(effect, kNumOfOutJacks, kNumOfOutSig, kStartNumOutSig)},
        {"dryInputSignal", effect.call<VstInt32>(kDryInSigNum)},
        {"parameters", parametersOf(effect)},
        {"programs", programsOf(effect)},
    };
}

std::string jackText(const Json& jacks)
{
    std::string text = std::to_string(jacks.size()) + (jacks.size() == 1 ? " jack" : " jacks");
    for (const Json& jack : jacks)
        text += ", " + jack["signals"].dump() + (jack["signals"] == 1 ? " signal" : " signals");
    return text;
}

std::string stepText(const Json& parameter)
{
    char text[32] = "";
    if (parameter.contains("step"))
        std::snprintf(text, sizeof text, "steps of %g", parameter["step"].get<double>());
    return text;
}

const char* c(const Json& text)
{
    return text.get_ref<const std::string&>().c_str();
}

void print(const Json& info)
{
    std::printf("%s by %s, version %s\n\n", c(info["name"]), c(info["vendor"]),
                info["vendorVersion"].dump().c_str());
    const std::pair<const char*, std::string> rows[] = {
        {"Plug-in", info["bundle"]},
        {"Unique ID", info["uniqueID"].get<std::string>() + ", version " + info["version"].dump()},
        {"Interface", info["interfaceVersion"].dump() + ", extension " + info["extensionVersion"].dump()},
        {"Input", jackText(info["inputJacks"])},
        {"Output", jackText(info["outputJacks"])},
        {"Dry input", info["dryInputSignal"] == -1 ? "none" : "signal " + info["dryInputSignal"].dump()},
        {"Latency", info["latencySamples"].dump() + " samples"},
    };
    for (const auto& [label, text] : rows)
        std::printf("%-10s %s\n", label, text.c_str());

    std::printf("\n    Parameter   Value  Shown as\n");
    for (const Json& parameter : info["parameters"])
        std::printf("%3d %-9s %7.4f  %-8s %s\n", parameter["index"].get<int>(), c(parameter["name"]),
                    parameter["value"].get<double>(), c(parameter["text"]),
                    parameter.value("switch", false) ? "switch" : stepText(parameter).c_str());

    std::printf("\nPrograms\n");
    int number = 0;
    for (const Json& program : info["programs"])
        std::printf("%3d %s\n", ++number, c(program));
}

}  // namespace

void addInfoCommand(CLI::App& app)
{
    const auto command = std::make_shared<InfoCommand>();
    CLI::App& sub = *app.add_subcommand("info", "Tell what the plug-in says of itself");
    sub.add_flag("--json", command->json, "as JSON");
    addBundleOption(sub, command->bundle);
    sub.footer("Examples:\n  wail info\n  wail info --json | jq '.parameters[].name'");
    sub.final_callback([command] {
        const Json info = describe(Bundle(command->bundle));
        if (command->json)
            std::printf("%s\n", info.dump(2).c_str());
        else
            print(info);
    });
}
