#pragma once

#include <string>
#include <string_view>
#include <vector>

// Finds what a user probably meant by an unknown word. Pure functions, any thread.

namespace cli {

// The candidates that are most similar to the word, ignoring case and the dashes of options: those
// with the same letters, otherwise those with the fewest typing mistakes, otherwise those that
// contain the word. In their order, kMaxSimilarWords at most; empty if none is similar.
inline constexpr size_t kMaxSimilarWords = 3;
std::vector<std::string> findSimilar(std::string_view word,
                                     const std::vector<std::string>& candidates);

// The same for the end of an error message: "; did you mean 'get' or 'set'?", or "".
std::string suggest(std::string_view word, const std::vector<std::string>& candidates);

}  // namespace cli
