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
    std::vector<std::string> names;
    for (std::size_t i = 0; i < kParameters.size(); ++i) {
        if (lettersOf(name) == lettersOf(kParameters[i].option))
            return static_cast<VstInt32>(i);
        names.emplace_back(kParameters[i].option);
    }
    throw Error("no parameter '{}'{}", name, didYouMean(name, names));
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

std::string valueText(const Parameter& parameter, float value)
{
    if (parameter.isSwitch)
        return value == 1.0f ? "on" : "off";
    return fmt::format("{}", value);
}
