#include "cli/Suggestion.h"

#include <algorithm>

namespace
{

// The edit distance with swaps of neighbours, two rows back.
// Source: F. J. Damerau, "A technique for computer detection and correction of spelling errors" (1964).
std::size_t distance(const std::string& a, const std::string& b)
{
    std::vector<std::size_t> beforeLast(b.size() + 1), last(b.size() + 1), row(b.size() + 1);
    for (std::size_t j = 0; j <= b.size(); ++j)
        row[j] = j;
    for (std::size_t i = 1; i <= a.size(); ++i) {
        beforeLast.swap(last);
        last.swap(row);
        row[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1)});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
                row[j] = std::min(row[j], beforeLast[j - 2] + 1);
        }
    }
    return row[b.size()];
}

}  // namespace

std::string didYouMean(const std::string& word, const std::vector<std::string>& candidates)
{
    std::size_t nearest = word.size() / 3 + 2;  // what is farther away has little in common
    std::string answer;
    for (const std::string& candidate : candidates) {
        const std::size_t edits = distance(word, candidate);
        if (edits < nearest && edits < candidate.size()) {
            nearest = edits;
            answer = "; did you mean " + candidate + "?";
        }
    }
    return answer;
}
