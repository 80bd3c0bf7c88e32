// Writes LV2 presets to standard output, one for each program file that is named: the build's way from
// presets/ to presets.ttl. Exit status 1 when a file cannot be used.

#include "host/AEffect.h"
#include "presets/ProgramFile.h"

#include <charconv>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>

namespace
{

// Of the ports of wail.ttl, by parameter index.
constexpr std::array kSymbols{"enabled", "sense", "reso", "range", "balance", "invert", "envelope"};
constexpr ProgramFileOwner kOwner{fourCharacterCode("WAIL"), kSymbols.size(), 0};

ProgramFile read(const std::filesystem::path& file)
{
    std::ifstream stream(file, std::ios::binary);
    const std::vector<char> bytes{std::istreambuf_iterator<char>(stream), {}};
    return parseProgramFile(bytes, kOwner);
}

std::string quoted(const std::string& text)
{
    std::string result = "\"";
    for (const char c : text)
        result += c == '"' || c == '\\' ? std::string{'\\', c} : std::string{c};
    return result + '"';
}

// The shortest decimal that reads as the same number. It has a point: hosts take numbers without for integers.
std::string textOf(float value)
{
    char digits[64];
    const std::string text(
        digits, std::to_chars(digits, digits + sizeof digits, value, std::chars_format::fixed).ptr);
    return text.find('.') == std::string::npos ? text + ".0" : text;
}

void write(const ProgramFile& program, const std::string& id)
{
    std::cout << "\n<" WAIL_LV2_URI ":" << id << ">\n\ta pset:Preset ;\n\tlv2:appliesTo <" WAIL_LV2_URI
              << "> ;\n\trdfs:label " << quoted(program.name()) << " ;\n\tlv2:port";
    for (std::size_t i = 0; i < kSymbols.size(); ++i)
        std::cout << (i == 0 ? "" : " ,") << " [\n\t\tlv2:symbol \"" << kSymbols[i] << "\" ;\n\t\tpset:value "
                  << textOf(program.values[i]) << "\n\t]";
    std::cout << " .\n";
}

}  // namespace

int main(int argc, char** argv)
{
    std::cout << "@prefix lv2: <http://lv2plug.in/ns/lv2core#> .\n"
                 "@prefix pset: <http://lv2plug.in/ns/ext/presets#> .\n"
                 "@prefix rdfs: <http://www.w3.org/2000/01/rdf-schema#> .\n";
    for (const std::filesystem::path file : std::span(argv, static_cast<std::size_t>(argc)).subspan(1)) {
        try {
            write(read(file), file.stem());
        } catch (const ProgramFileError& error) {
            std::cerr << "error: cannot use " << file.string() << ": " << error.what() << '\n';
            return 1;
        }
    }
    return std::cout.flush() ? 0 : 1;
}
