#include "cli/engine/Automation.h"

#include "cli/Error.h"
#include "cli/Text.h"
#include "cli/engine/Places.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <set>

namespace
{

using Json = nlohmann::json;

const Parameter& parameterAt(VstInt32 index)
{
    return kParameters[static_cast<std::size_t>(index)];
}

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
    try {
        return Json::parse(text, checkKey);
    } catch (const Json::parse_error& error) {
        throw Error("it is not valid JSON at byte {}", error.byte);
    } catch (const Json::exception&) {
        throw Error("it holds a number that is out of range");
    }
}

double valueOf(const Parameter& parameter, const Json& value)
{
    if (value.is_string())
        return parameterValue(parameter, value.get<std::string>());
    const double number = value.is_number() ? value.get<double>() : -1.0;
    if (number >= 0.0 && number <= 1.0 && (!parameter.isSwitch || number == std::floor(number)))
        return number;
    return parameterValue(parameter, value.dump(-1, ' ', true));
}

}  // namespace

Automation::Automation(std::filesystem::path path) : file(std::move(path))
{
    const std::string text = readSettingsFile(file);
    try {
        const Json json = parse(text);
        if (!json.is_object())
            throw Error("it is not a JSON object of parameters");
        for (const auto& [name, content] : json.items()) {
            Lane lane{parameterIndex(name), {}};
            if (std::ranges::find(lanes, lane.index, &Lane::index) != lanes.end())
                throw Error("'{}' is there twice, in different spellings", name);
            const Parameter& parameter = parameterAt(lane.index);
            try {
                if (!content.is_object())
                    lane.keyframes.push_back({{0.0, Unit::kSamples}, valueOf(parameter, content)});
                else
                    for (const auto& [time, value] : content.items())
                        lane.keyframes.push_back({parseTime(time), valueOf(parameter, value)});
                if (lane.keyframes.empty())
                    throw Error("it has no keyframes");
            } catch (const Error& error) {
                throw Error("'{}': {}", name, error.what());
            }
            lanes.push_back(std::move(lane));
        }
    } catch (const Error& error) {
        throw Error("cannot use {}: {}", file.string(), error.what());
    }
}

Automation::Time Automation::parseTime(const std::string& text)
{
    const Unit unit = text.ends_with('s')   ? Unit::kSeconds
                      : text.ends_with('%') ? Unit::kPercent
                                            : Unit::kSamples;
    const std::size_t digits = text.size() - (unit == Unit::kSamples ? 0 : 1);
    const auto number = parseNumber<double>(text.substr(0, digits));
    if (!number || !(*number >= 0.0) || !std::isfinite(*number))
        throw Error("'{}' is not a time; write samples (\"48000\"), seconds (\"1.5s\") or percent (\"50%\")",
                    text);
    return {*number, unit};
}

Schedule::Schedule(const Automation& automation, double sampleRate, std::optional<std::int64_t> inputFrames)
{
    const auto fail = [&](const Automation::Lane& lane, const std::string& what) {
        throw Error("cannot use {}: '{}': {}", automation.file.string(), parameterAt(lane.index).option,
                    what);
    };
    for (const Automation::Lane& lane : automation.lanes) {
        Curve curve{lane.index, {}};
        for (const auto& [time, value] : lane.keyframes) {
            if (time.unit == Automation::Unit::kPercent && !inputFrames)
                fail(lane, "'%' needs the length of the input, which this one does not tell");
            const double scale = time.unit == Automation::Unit::kSeconds ? sampleRate
                                 : time.unit == Automation::Unit::kPercent
                                     ? static_cast<double>(*inputFrames) / 100.0
                                     : 1.0;
            curve.points.push_back({time.number * scale, value});
        }
        std::ranges::sort(curve.points, {}, &Point::time);
        if (std::ranges::adjacent_find(curve.points, {}, &Point::time) != curve.points.end())
            fail(lane, "it has two keyframes at the same time");
        curves.push_back(std::move(curve));
    }
}

ParameterValues Schedule::at(std::int64_t frame) const
{
    ParameterValues values;
    for (const Curve& curve : curves)
        values[curve.index] = valueAt(curve, static_cast<double>(frame));
    return values;
}

float Schedule::valueAt(const Curve& curve, double time)
{
    const auto next = std::ranges::upper_bound(curve.points, time, {}, &Point::time);
    if (next == curve.points.begin())
        return static_cast<float>(next->value);
    const Point& last = *std::prev(next);
    if (next == curve.points.end() || parameterAt(curve.index).isSwitch)
        return static_cast<float>(last.value);
    const double share = (time - last.time) / (next->time - last.time);
    return static_cast<float>(last.value + (next->value - last.value) * share);
}
