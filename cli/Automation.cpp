#include "cli/Automation.h"

#include "cli/Error.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <fstream>

namespace
{

using Json = nlohmann::json;

Json parse(const std::filesystem::path& file)
{
    std::ifstream stream(file);
    if (!stream)
        throw Error(std::strerror(errno));
    if (stream.peek() == std::ifstream::traits_type::eof())
        throw Error(std::filesystem::is_directory(file) ? "it is a folder" : "it is empty");
    try {
        return Json::parse(stream);
    } catch (const Json::parse_error& error) {
        throw Error("it is no JSON, from byte " + std::to_string(error.byte) + " on");
    }
}

// In samples.
double timeOf(const std::string& text, double sampleRate, std::optional<std::int64_t> inputFrames)
{
    double number = 0.0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    const std::string unit(stop, end);
    if (error != std::errc() || !(number >= 0.0) || (unit != "" && unit != "s" && unit != "%"))
        throw Error("'" + text +
                    "' is no time; write samples (\"48000\"), seconds (\"1.5s\") or a share (\"50%\")");
    if (unit == "s")
        return number * sampleRate;
    if (unit == "")
        return number;
    if (!inputFrames)
        throw Error("'" + text + "' needs the length of the input, which this pipe does not tell");
    return number / 100.0 * static_cast<double>(*inputFrames);
}

double valueOf(const Parameter& parameter, const Json& value)
{
    if (value.is_string())
        return parameterValue(parameter, value.get<std::string>());
    if (!value.is_number() || !(value.get<double>() >= 0.0 && value.get<double>() <= 1.0))
        throw Error(value.dump() + (parameter.isSwitch ? " is neither \"on\" nor \"off\""
                                                       : " is not a number from 0.0 to 1.0"));
    return value.get<double>();
}

std::vector<Keyframe> keyframesOf(const Json& content, VstInt32 index, double sampleRate,
                                  std::optional<std::int64_t> inputFrames)
{
    const Parameter& parameter = kParameters[static_cast<std::size_t>(index)];
    if (!content.is_object())
        return {{0.0, valueOf(parameter, content)}};
    std::vector<Keyframe> keyframes;
    for (const auto& [time, value] : content.items())
        keyframes.push_back({timeOf(time, sampleRate, inputFrames), valueOf(parameter, value)});
    if (keyframes.empty())
        throw Error("it has no keyframes");
    std::ranges::sort(keyframes, {}, &Keyframe::time);
    if (std::ranges::adjacent_find(keyframes, {}, &Keyframe::time) != keyframes.end())
        throw Error("it has two keyframes at the same time");
    return keyframes;
}

}  // namespace

Automation::Automation(const std::filesystem::path& file, double sampleRate,
                       std::optional<std::int64_t> inputFrames)
try {
    const Json json = parse(file);
    if (!json.is_object())
        throw Error("it is no JSON object of parameters");
    for (const auto& [name, content] : json.items()) {
        Lane lane{parameterIndex(name), {}};
        try {
            lane.keyframes = keyframesOf(content, lane.index, sampleRate, inputFrames);
        } catch (const Error& error) {
            throw Error("'" + name + "': " + error.what());
        }
        lanes.push_back(std::move(lane));
    }
} catch (const Error& error) {
    throw Error("cannot use " + file.string() + ": " + error.what());
}

ParameterValues Automation::at(std::int64_t frame) const
{
    ParameterValues values;
    for (const Lane& lane : lanes)
        values[lane.index] = valueAt(lane, static_cast<double>(frame));
    return values;
}

float Automation::valueAt(const Lane& lane, double time)
{
    const auto next = std::ranges::upper_bound(lane.keyframes, time, {}, &Keyframe::time);
    if (next == lane.keyframes.begin())
        return static_cast<float>(next->value);
    const Keyframe& last = *std::prev(next);
    if (next == lane.keyframes.end() || kParameters[static_cast<std::size_t>(lane.index)].isSwitch)
        return static_cast<float>(last.value);
    const double share = (time - last.time) / (next->time - last.time);
    return static_cast<float>(last.value + (next->value - last.value) * share);
}
