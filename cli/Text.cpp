#include "cli/Text.h"

#include <nlohmann/json.hpp>

#include <algorithm>

std::string lowerCase(std::string text)
{
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; };
    std::ranges::transform(text, text.begin(), lower);
    return text;
}

std::string toUtf8(const std::string& text)
{
    try {
        (void)nlohmann::json(text).dump();  // which checks it
        return text;
    } catch (const nlohmann::json::type_error&) {
        std::string converted;
        for (const unsigned char c : text) {
            if (c >= 0x80)
                converted += static_cast<char>(0xc0 | c >> 6);
            converted += static_cast<char>(c >= 0x80 ? 0x80 | (c & 0x3f) : c);
        }
        return converted;
    }
}

void printLine(std::FILE* stream, std::string text)
{
    std::ranges::replace(text, '\n', ' ');  // names of files may hold some
    std::fputs((text + '\n').c_str(), stream);
}
