#include "host/AudioEffect.h"

#include "host/CopyText.h"

#include <charconv>
#include <cmath>
#include <initializer_list>

namespace
{

constexpr int kTextBudget = 8;  // characters of float2string's text, with sign position and point

// The units digit of value; '0' if it is not above 0.
char unitsDigit(double value)
{
    return value > 0.0 ? static_cast<char>('0' + static_cast<int>(std::fmod(value, 10.0))) : '0';
}

}  // namespace

// Rounds half away from zero, by adding 0.005 and truncating. Hosts show the same digits only if the sum is
// rounded to single precision: 0.125 + 0.005 is then just below 0.13.
void AudioEffect::float2string(float value, char* text, VstInt32 maxLen)
{
    constexpr float kRounding = 0.005f;
    if (std::fabs(value) < kRounding)
        value = 0.0f;
    else
        value += std::copysign(kRounding, value);

    if (std::isnan(value)) {
        copyText(text, "NaN", maxLen);
        return;
    }
    const double magnitude = std::fabs(static_cast<double>(value));
    if (magnitude >= 1000000.0) {  // sign position, seven digits and the point exceed the budget
        copyText(text, "Huge!", maxLen);
        return;
    }

    char number[kTextBudget + 1];
    const auto whole = static_cast<int>(magnitude);
    number[0] = value < 0.0f ? '-' : ' ';
    char* end = std::to_chars(number + 1, number + kTextBudget, whole).ptr;
    *end++ = '.';

    const double hundredths = (magnitude - whole) * 100.0;
    for (const double place : {hundredths / 10.0, hundredths}) {
        if (end < number + kTextBudget)
            *end++ = unitsDigit(place);
    }
    *end = '\0';
    copyText(text, number, maxLen);
}

void AudioEffect::int2string(VstInt32 value, char* text, VstInt32 maxLen)
{
    constexpr VstInt32 kLimit = 100000000;
    constexpr VstInt32 kNinePlaces = 999999999;  // negative numbers may have nine digits
    char number[12] = "Huge!";
    if (value < kLimit && value >= -kNinePlaces)
        *std::to_chars(number, number + sizeof number, value).ptr = '\0';
    copyText(text, number, maxLen);
}

void AudioEffect::dB2string(float value, char* text, VstInt32 maxLen)
{
    if (value <= 0.0f)
        copyText(text, "-Inf", maxLen);
    else
        float2string(static_cast<float>(20.0 * std::log10(static_cast<double>(value))), text, maxLen);
}

void AudioEffect::Hz2string(float samples, char* text, VstInt32 maxLen)
{
    float2string(samples == 0.0f ? 0.0f : getSampleRate() / samples, text, maxLen);
}

void AudioEffect::ms2string(float samples, char* text, VstInt32 maxLen)
{
    const double seconds1000 = static_cast<double>(samples) * 1000.0 / static_cast<double>(getSampleRate());
    float2string(static_cast<float>(seconds1000), text, maxLen);
}
