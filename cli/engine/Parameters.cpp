#include "cli/engine/Parameters.h"

#include "cli/Error.h"
#include "cli/Text.h"

#include <cctype>

namespace
{

std::string lettersOf(const std::string& name)
{
    std::string letters;
    for (const unsigned char c : name)
        if (std::isalpha(c))
            letters += static_cast<char>(std::tolower(c));
    return letters;
}

}  // namespace

VstInt32 parameterIndex(const std::string& name)
{
    std::string names;
    for (std::size_t i = 0; i < kParameters.size(); ++i) {
        if (lettersOf(name) == lettersOf(kParameters[i].option))
            return static_cast<VstInt32>(i);
        names += fmt::format("{}{}", i == 0 ? "" : ", ", kParameters[i].option);
    }
    throw Error("no parameter '{}'; there are {}", name, names);
}

float parameterValue(const Parameter& parameter, const std::string& text)
{
    if (parameter.isSwitch) {
        if (text == "on" || text == "true" || text == "1")
            return 1.0f;
        if (text == "off" || text == "false" || text == "0")
            return 0.0f;
        throw Error("'{}' is neither on nor off", text);
    }
    const auto value = parseNumber<float>(text);
    if (!value || !(*value >= 0.0f && *value <= 1.0f))
        throw Error("'{}' is not a number from 0 to 1", text);
    return *value;
}

std::string describeValues(const std::vector<float>& values, const char* separator, const char* prefix)
{
    std::string text;
    for (std::size_t i = 0; i < values.size(); ++i) {
        const Parameter& parameter = kParameters[i];
        const std::string value = !parameter.isSwitch ? fmt::format("{}", values[i])
                                  : values[i] == 1.0F ? "on"
                                                      : "off";
        text += fmt::format("{}{}{} {}", i == 0 ? "" : separator, prefix, parameter.option, value);
    }
    return text;
}
