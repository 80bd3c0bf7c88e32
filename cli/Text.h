#pragma once

#include <charconv>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>

// The whole text as a decimal number, with or without a sign; none if it is anything else.
template <typename Number>
std::optional<Number> parseNumber(std::string_view text)
{
    if (text.starts_with('+') && !text.starts_with("+-"))
        text.remove_prefix(1);
    Number number{};
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && stop == end ? std::optional(number) : std::nullopt;
}

// A to Z in lower case; other characters stay.
std::string lowerCase(std::string text);

// The text itself if it is valid UTF-8; else its bytes read as Latin-1.
std::string toUtf8(const std::string& text);

// Prints the text as one line.
void printLine(std::FILE* stream, std::string text);
