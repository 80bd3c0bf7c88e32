#include "cli/Text.h"

#include <algorithm>
#include <array>

namespace
{

// The number of bytes of the UTF-8 character at the beginning of the text; 0 if it is invalid there.
// Source: The Unicode Standard, table 3-7.
std::size_t utf8Length(std::string_view text)
{
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    struct Row {
        unsigned char first, last, secondFirst, secondLast, length;
    };
    static constexpr std::array<Row, 9> kRows{{{0x00, 0x7f, 0, 0, 1},
                                               {0xc2, 0xdf, 0x80, 0xbf, 2},
                                               {0xe0, 0xe0, 0xa0, 0xbf, 3},
                                               {0xe1, 0xec, 0x80, 0xbf, 3},
                                               {0xed, 0xed, 0x80, 0x9f, 3},
                                               {0xee, 0xef, 0x80, 0xbf, 3},
                                               {0xf0, 0xf0, 0x90, 0xbf, 4},
                                               {0xf1, 0xf3, 0x80, 0xbf, 4},
                                               {0xf4, 0xf4, 0x80, 0x8f, 4}}};
    for (const Row& row : kRows) {
        if (byte(0) < row.first || byte(0) > row.last)
            continue;
        bool valid = text.size() >= row.length;
        for (std::size_t i = 1; valid && i < row.length; ++i)
            valid =
                byte(i) >= (i == 1 ? row.secondFirst : 0x80) && byte(i) <= (i == 1 ? row.secondLast : 0xbf);
        return valid ? row.length : 0;
    }
    return 0;
}

bool isUtf8(std::string_view text)
{
    while (!text.empty()) {
        const std::size_t length = utf8Length(text);
        if (length == 0)
            return false;
        text.remove_prefix(length);
    }
    return true;
}

// The Levenshtein distance.
std::size_t editDistance(const std::string& a, const std::string& b)
{
    std::vector<std::size_t> row(b.size() + 1);
    for (std::size_t j = 0; j <= b.size(); ++j)
        row[j] = j;
    for (std::size_t i = 1; i <= a.size(); ++i) {
        std::size_t diagonal = row[0]++;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const std::size_t replaced = diagonal + (a[i - 1] == b[j - 1] ? 0 : 1);
            diagonal = row[j];
            row[j] = std::min({row[j] + 1, row[j - 1] + 1, replaced});
        }
    }
    return row[b.size()];
}

}  // namespace

std::string lowerCase(std::string text)
{
    std::ranges::transform(text, text.begin(), [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
    });
    return text;
}

std::string toUtf8(const std::string& text)
{
    if (isUtf8(text))
        return text;
    std::string converted;
    for (const unsigned char c : text) {
        if (c < 0x80) {
            converted += static_cast<char>(c);
        } else {
            converted += static_cast<char>(0xc0 | c >> 6);
            converted += static_cast<char>(0x80 | (c & 0x3f));
        }
    }
    return converted;
}

std::string didYouMean(const std::string& word, const std::vector<std::string>& candidates)
{
    std::size_t nearest = word.size() / 3 + 2;  // a word farther away has little in common
    std::string suggestion;
    for (const std::string& candidate : candidates) {
        const std::size_t distance = editDistance(word, candidate);
        if (distance < nearest && distance < candidate.size()) {
            nearest = distance;
            suggestion = "; did you mean " + candidate + "?";
        }
    }
    return suggestion;
}

void printLine(std::FILE* stream, std::string text)
{
    std::ranges::replace(text, '\n', ' ');  // names of files may hold some
    std::fputs((text + '\n').c_str(), stream);
}
