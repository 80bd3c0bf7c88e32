// Writes the LV2 bundle's data to standard output, at build time.
//
// write_turtle plugin TEMPLATE: writes wail.ttl. In the template, {uri} stands for the plug-in's URI and
// {SYMBOL} for the index, symbol, name, kind, default and range of a parameter's port. write_turtle
// presets: writes presets.ttl, with the shipped presets. Exit status 1 if the template cannot be read,
// lacks a parameter, or has another name in braces.

#include "effect/Parameters.h"
#include "presets/FactoryPresets.h"

#include <charconv>
#include <fstream>
#include <iostream>
#include <iterator>
#include <set>
#include <sstream>
#include <string_view>

namespace
{

std::string quoted(const std::string& text)
{
    std::string result = "\"";
    for (const char c : text)
        result += c == '"' || c == '\\' ? std::string{'\\', c} : std::string{c};
    return result + '"';
}

// The shortest decimal that reads as the same number. It has a point: hosts take numbers without for
// integers.
std::string textOf(float value)
{
    char digits[64];
    const std::string text(
        digits, std::to_chars(digits, digits + sizeof digits, value, std::chars_format::fixed).ptr);
    return text.find('.') == std::string::npos ? text + ".0" : text;
}

std::string portOf(std::size_t index)
{
    const Parameter& parameter = kParameters[index];
    std::ostringstream port;
    port << "a lv2:InputPort , lv2:ControlPort ;\n"
         << "\t\tlv2:index " << index << " ;\n"
         << "\t\tlv2:symbol " << quoted(parameter.symbol) << " ;\n"
         << "\t\tlv2:name " << quoted(parameter.name) << " ;\n"
         << "\t\tlv2:default " << textOf(parameter.initial) << " ;\n"
         << "\t\tlv2:minimum 0.0 ;\n"
         << "\t\tlv2:maximum 1.0 ;\n"
         << "\t\tlv2:portProperty "
         << (parameter.isSwitch
                 ? "lv2:toggled ;\n\t\tlv2:scalePoint [ rdfs:label \"off\" ; rdf:value 0.0 ] , "
                   "[ rdfs:label \"on\" ; rdf:value 1.0 ] ;"
                 : "pprop:hasStrictBounds ;");
    return port.str();
}

bool writePlugin(const std::string& templateFile)
{
    std::ifstream stream(templateFile);
    std::string text;
    std::set<std::string> wanted{"uri"};
    for (const Parameter& parameter : kParameters)
        wanted.insert(parameter.symbol);
    const auto textFor = [&wanted](const std::string& name) -> std::string {
        if (wanted.erase(name) == 0)
            return "";
        for (std::size_t i = 0; i < kParameters.size(); ++i) {
            if (name == kParameters[i].symbol)
                return portOf(i);
        }
        return WAIL_LV2_URI;
    };
    for (bool isName = false; std::getline(stream, text, isName ? '}' : '{'); isName = !isName) {
        const std::string written = isName ? textFor(text) : text;
        if (isName && written.empty())
            return false;
        std::cout << written;
    }
    return wanted.empty();
}

// Without "enabled", the host's bypass: to select a preset must not switch the effect on.
void writePresets()
{
    std::cout << "@prefix lv2: <http://lv2plug.in/ns/lv2core#> .\n"
                 "@prefix pset: <http://lv2plug.in/ns/ext/presets#> .\n"
                 "@prefix rdfs: <http://www.w3.org/2000/01/rdf-schema#> .\n";
    for (const FactoryPreset& preset : factoryPresets()) {
        std::cout << "\n<" WAIL_LV2_URI ":" << preset.id
                  << ">\n\ta pset:Preset ;\n\tlv2:appliesTo <" WAIL_LV2_URI << "> ;\n\trdfs:label "
                  << quoted(preset.name) << " ;\n\tlv2:port";
        for (std::size_t i = kOnOff + 1; i < kParameters.size(); ++i)
            std::cout << (i == kOnOff + 1 ? "" : " ,") << " [\n\t\tlv2:symbol "
                      << quoted(kParameters[i].symbol) << " ;\n\t\tpset:value " << textOf(preset.values[i])
                      << "\n\t]";
        std::cout << " .\n";
    }
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc == 3 && std::string_view(argv[1]) == "plugin") {
        if (!writePlugin(argv[2])) {
            std::cerr << "error: cannot use " << argv[2] << '\n';
            return 1;
        }
    } else {
        writePresets();
    }
    return std::cout.flush() ? 0 : 1;
}
