#include "cli/Text.h"

#include <iconv.h>

#include <algorithm>

namespace
{

// Converts a text to UTF-8; none if it is not valid in the given encoding.
std::optional<std::string> convert(const std::string& text, const char* encoding)
{
    iconv_t converter = iconv_open("UTF-8", encoding);
    std::string from = text;
    std::string to(4 * text.size(), '\0');  // UTF-8 has at most four bytes for a character
    char* next = from.data();
    char* end = to.data();
    std::size_t left = from.size();
    std::size_t room = to.size();
    const bool valid = iconv(converter, &next, &left, &end, &room) != static_cast<std::size_t>(-1);
    iconv_close(converter);
    to.resize(to.size() - room);
    return valid ? std::optional(to) : std::nullopt;
}

}  // namespace

std::string lowerCase(std::string text)
{
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; };
    std::ranges::transform(text, text.begin(), lower);
    return text;
}

std::string toUtf8(const std::string& text)
{
    return convert(text, "UTF-8").value_or(convert(text, "LATIN1").value_or(""));
}

void printLine(std::FILE* stream, std::string text)
{
    std::ranges::replace(text, '\n', ' ');  // names of files may hold some
    std::fputs((text + '\n').c_str(), stream);
}
