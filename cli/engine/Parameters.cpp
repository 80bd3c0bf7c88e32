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
        if (std::isalnum(c))
            letters += static_cast<char>(std::tolower(c));
    return letters;
}

}  // namespace

VstInt32 parameterIndex(const std::string& name)
{
    std::string names;
    for (VstInt32 index = 0; const ParameterOption& option : kParameterOptions) {
        if (lettersOf(name) == lettersOf(option.name))
            return index;
        names += fmt::format("{}{}", index++ == 0 ? "" : ", ", option.name);
    }
    throw Error("no parameter '{}'; there are {}", name, names);
}

float parameterValue(VstInt32 index, const std::string& text)
{
    const auto value = parseNumber<float>(text);
    if (kParameterOptions[static_cast<std::size_t>(index)].isSwitch) {
        if (text == "on" || text == "true" || value == 1.0f)
            return 1.0f;
        if (text == "off" || text == "false" || value == 0.0f)
            return 0.0f;
        throw Error("'{}' is neither on nor off", text);
    }
    if (!value || !(*value >= 0.0f && *value <= 1.0f))
        throw Error("'{}' is not a number from 0 to 1", text);
    return *value;
}

std::string describeValues(const std::vector<float>& values)
{
    std::string text;
    for (std::size_t i = 0; i < values.size(); ++i) {
        const ParameterOption& option = kParameterOptions[i];
        const std::string value = !option.isSwitch    ? fmt::format("{}", values[i])
                                  : values[i] == 1.0f ? "on"
                                                      : "off";
        text += fmt::format("{}--{} {}", i == 0 ? "" : " ", option.name, value);
    }
    return text;
}
