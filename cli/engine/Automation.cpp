#include "cli/engine/Automation.h"

#include "cli/Error.h"
#include "cli/Text.h"
#include "cli/engine/Presets.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <set>

namespace
{

using Json = nlohmann::json;

// JSON takes the last of several equal keys; here they are a mistake.
Json parse(const std::string& text)
{
    std::vector<std::set<std::string>> keys;  // of the objects that are open
    const auto checkKey = [&](int, Json::parse_event_t event, const Json& parsed) {
        if (event == Json::parse_event_t::object_start)
            keys.emplace_back();
        else if (event == Json::parse_event_t::object_end)
            keys.pop_back();
        else if (event == Json::parse_event_t::key && !keys.back().insert(parsed.get<std::string>()).second)
            throw Error("'{}' is there twice", parsed.get<std::string>());
        return true;
    };
    Json json;
    try {
        json = Json::parse(text, checkKey);
    } catch (const Json::parse_error& error) {
        throw Error("it is not valid JSON at byte {}", error.byte);
    } catch (const Json::exception&) {
        throw Error("it holds a number that is out of range");
    }
    if (!json.is_object())
        throw Error("it is not a JSON object of parameters");
    return json;
}

// unit: as in Automation, the last character of the text if not 0.
double parseTime(const std::string& text, char unit)
{
    const auto number = parseNumber<double>(text.substr(0, text.size() - (unit != 0 ? 1 : 0)));
    if (!number || !(*number >= 0.0) || !std::isfinite(*number))
        throw Error("'{}' is not a time; write samples (\"48000\"), seconds (\"1.5s\") or percent (\"50%\")",
                    text);
    return *number;
}

// The value of a keyframe: a number or a text that the options take too.
double valueOf(VstInt32 index, const Json& value)
{
    return parameterValue(index, value.is_string() ? value.get<std::string>() : value.dump(-1, ' ', true));
}

}  // namespace

Automation::Automation(std::filesystem::path path) : file(std::move(path))
{
    const std::string text = readSettingsFile(file);
    std::string place;
    try {
        const Json json = parse(text);
        for (const auto& [name, content] : json.items()) {
            Curve curve{parameterIndex(name), {}};
            place = "'" + name + "': ";
            if (std::ranges::find(curves, curve.index, &Curve::index) != curves.end())
                throw Error("it is there twice, in different spellings");
            if (!content.is_object())
                curve.keyframes.push_back({0.0, 0, valueOf(curve.index, content)});
            else
                for (const auto& [time, value] : content.items()) {
                    const char unit = time.ends_with('s') || time.ends_with('%') ? time.back() : '\0';
                    curve.keyframes.push_back({parseTime(time, unit), unit, valueOf(curve.index, value)});
                }
            if (curve.keyframes.empty())
                throw Error("it has no keyframes");
            curves.push_back(std::move(curve));
            place.clear();
        }
    } catch (const Error& error) {
        throw Error("cannot use {}: {}{}", file.string(), place, error.what());
    }
}

void Automation::prepare(double sampleRate, std::optional<std::int64_t> inputFrames)
{
    for (auto& [index, keyframes] : curves) {
        const auto fail = [&,
                           name = kParameterOptions[static_cast<std::size_t>(index)].name](const char* what) {
            throw Error("cannot use {}: '{}': {}", file.string(), name, what);
        };
        for (auto& [time, unit, value] : keyframes) {
            if (unit == '%' && !inputFrames)
                fail("'%' needs the length of the input, which this one does not tell");
            time *= unit == 's' ? sampleRate : unit == '%' ? static_cast<double>(*inputFrames) / 100.0 : 1.0;
        }
        std::ranges::sort(keyframes, {}, &Keyframe::time);
        if (std::ranges::adjacent_find(keyframes, {}, &Keyframe::time) != keyframes.end())
            fail("it has two keyframes at the same time");
    }
}

ParameterSettings Automation::at(std::int64_t frame) const
{
    ParameterSettings values;
    for (const Curve& curve : curves)
        values[curve.index] = curve.at(static_cast<double>(frame));
    return values;
}

float Automation::Curve::at(double time) const
{
    const auto next = std::ranges::upper_bound(keyframes, time, {}, &Keyframe::time);
    if (next == keyframes.begin())
        return static_cast<float>(next->value);
    const Keyframe& last = *std::prev(next);
    if (next == keyframes.end() || kParameterOptions[static_cast<std::size_t>(index)].isSwitch)
        return static_cast<float>(last.value);
    const double share = (time - last.time) / (next->time - last.time);
    return static_cast<float>(last.value + (next->value - last.value) * share);
}
