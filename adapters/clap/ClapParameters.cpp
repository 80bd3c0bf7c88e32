#include "adapters/clap/ClapParameters.h"

#include "host/CopyText.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <string_view>

namespace
{

constexpr double kTextSteps = 1000.0;  // that texts tell apart between the values 0 and 1: "0.00" to "10.00"

bool isKnown(clap::Id id) noexcept
{
    return id < kNumParams;
}

double limited(clap::Id id, double value) noexcept
{
    value = std::clamp(value, 0.0, 1.0);
    return kParameters[id].isSwitch ? std::trunc(value) : value;
}

// From the effect's value to the host's, and back.
double invertedIfBypass(clap::Id id, double value) noexcept
{
    return id == kOnOff ? 1.0 - value : value;
}

std::string_view withoutBlanks(std::string_view text) noexcept
{
    const std::size_t first = std::min(text.find_first_not_of(" \t"), text.size());
    return text.substr(first, text.find_last_not_of(" \t") + 1 - first);
}

// lower: lower-case letters.
bool matches(std::string_view text, std::string_view lower) noexcept
{
    return std::ranges::equal(
        text, lower, [](char a, char b) { return a == b || (a >= 'A' && a <= 'Z' && a - 'A' == b - 'a'); });
}

}  // namespace

ClapParameters::ClapParameters() noexcept
{
    for (clap::Id id = 0; id < kNumParams; ++id)
        values[id] = invertedIfBypass(id, static_cast<double>(kParameters[id].initial));
}

bool ClapParameters::getInfo(std::uint32_t index, clap::ParamInfo& info) noexcept
{
    if (!isKnown(index))
        return false;
    const Parameter& parameter = kParameters[index];
    info = {};
    info.id = index;
    info.flags =
        clap::kParamIsAutomatable | (parameter.isSwitch ? clap::kParamIsStepped : clap::kParamIsModulatable);
    if (index == kOnOff)
        info.flags |= clap::kParamIsBypass;
    copyText(info.name, index == kOnOff ? "Bypass" : parameter.name, clap::kNameSize - 1);
    info.maxValue = 1.0;
    info.defaultValue = invertedIfBypass(index, static_cast<double>(parameter.initial));
    return true;
}

bool ClapParameters::valueToText(K_TypeBase& effect, clap::Id id, double value, char* text,
                                 std::uint32_t capacity)
{
    if (!isKnown(id) || text == nullptr || std::isnan(value))
        return false;
    char shown[kVstMaxParamStrLen + 1];
    effect.getParameterDisplayOf(static_cast<VstInt32>(id), static_cast<float>(limited(id, value)), shown);
    const char* const start = shown + std::strspn(shown, " ");
    return std::strlen(start) < capacity && copyText(text, start, kVstMaxParamStrLen);
}

bool ClapParameters::textToValue(clap::Id id, const char* text, double& value) noexcept
{
    if (!isKnown(id) || text == nullptr)
        return false;
    const std::string_view typed = withoutBlanks(text);
    if (kParameters[id].isSwitch) {
        value = matches(typed, "on") ? 1.0 : 0.0;
        return value == 1.0 || matches(typed, "off");
    }
    char number[32];
    if (typed.size() > sizeof number)
        return false;
    std::ranges::replace_copy(typed, number, ',', '.');  // the decimal comma of many languages
    const char* const end = number + typed.size();
    double shown = 0.0;
    const auto [stop, error] = std::from_chars(number, end, shown);
    if (error != std::errc() || stop != end || !std::isfinite(shown))
        return false;
    value = std::round(std::clamp(shown / 10.0, 0.0, 1.0) * kTextSteps) / kTextSteps;
    return true;
}

bool ClapParameters::areValid(const Values& values) noexcept
{
    for (clap::Id id = 0; id < kNumParams; ++id) {
        if (values[id] != limited(id, values[id]))  // NaN never equals
            return false;
    }
    return true;
}

ClapParameters::Values ClapParameters::all() const noexcept
{
    Values result{};
    for (clap::Id id = 0; id < kNumParams; ++id)
        result[id] = value(id);
    return result;
}

void ClapParameters::setAll(const Values& next) noexcept
{
    for (clap::Id id = 0; id < kNumParams; ++id)
        values[id].store(next[id], std::memory_order_relaxed);
    reloaded.store(true, std::memory_order_release);
}

void ClapParameters::setProgram(const std::array<float, kNumParams>& program) noexcept
{
    for (clap::Id id = kOnOff + 1; id < kNumParams; ++id)
        values[id].store(static_cast<double>(program[id]), std::memory_order_relaxed);
    reloaded.store(true, std::memory_order_release);
}

bool ClapParameters::takeReload() noexcept
{
    return reloaded.load(std::memory_order_relaxed) && reloaded.exchange(false, std::memory_order_acquire);
}

std::optional<VstInt32> ClapParameters::take(const clap::Event& event) noexcept
{
    const bool isModulation = event.type == clap::kParamModulation;
    if (event.space != clap::kCoreSpace || (event.type != clap::kParamValue && !isModulation) ||
        event.size < sizeof(clap::ParamEvent))
        return std::nullopt;
    const auto& change = reinterpret_cast<const clap::ParamEvent&>(event);
    const clap::Id id = change.param;
    if (!isKnown(id) || std::isnan(change.value) || (isModulation && kParameters[id].isSwitch))
        return std::nullopt;
    if (isModulation)
        modulations[id] = change.value;
    else
        values[id].store(limited(id, change.value), std::memory_order_relaxed);
    return static_cast<VstInt32>(id);
}

float ClapParameters::heard(VstInt32 index) const noexcept
{
    const auto id = static_cast<clap::Id>(index);
    return static_cast<float>(invertedIfBypass(id, limited(id, value(id) + modulations[id])));
}
