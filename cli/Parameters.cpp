#include "cli/Parameters.h"

#include "cli/Error.h"
#include "cli/Suggestion.h"

#include <cctype>
#include <charconv>

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
    throw Error("no parameter '" + name + "'" + didYouMean(name, names));
}

float parameterValue(const Parameter& parameter, const std::string& text)
{
    if (parameter.isSwitch) {
        if (text != "on" && text != "off")
            throw Error("'" + text + "' is neither on nor off");
        return text == "on" ? 1.0f : 0.0f;
    }
    float value = 0.0f;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc() || stop != end || !(value >= 0.0f && value <= 1.0f))
        throw Error("'" + text + "' is not a number from 0.0 to 1.0");
    return value;
}
