#pragma once

#include <string>
#include <vector>

// "; did you mean NAME?" for the candidate that is nearest to the word, by the fewest letters to add, drop,
// change or swap with a neighbour; empty where none is near.
std::string didYouMean(const std::string& word, const std::vector<std::string>& candidates);
