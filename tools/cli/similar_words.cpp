#include "cli/similar_words.h"

#include <algorithm>
#include <limits>
#include <numeric>
#include <utility>

namespace cli {

namespace {

constexpr size_t kMinPartLength = 2;      // a single letter is part of nearly every word
constexpr size_t kMaxWordLength = 100;    // the table of distances grows with both lengths
constexpr size_t kLettersPerMistake = 5;  // one mistake, and another one for every five letters
constexpr size_t kMaxMistakes = 3;

// The ranks of a candidate: 0 to kMaxMistakes is the number of its typing mistakes.
constexpr size_t kContainsWord = kMaxMistakes + 1;
constexpr size_t kDifferent = std::numeric_limits<size_t>::max();

// The letters that count: without the dashes before an option, in lower case.
std::string normalize(std::string_view text) {
    std::string lower(text.substr(std::min(text.find_first_not_of('-'), text.size())));
    std::ranges::transform(lower, lower.begin(), [](char letter) {
        return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
    });
    return lower;
}

// The typing mistakes between two words: a letter missing, added or wrong, or two letters swapped.
// Row by row over the first word; a row has the distances of its beginning to those of the second.
size_t countMistakes(const std::string& one, const std::string& other) {
    std::vector<size_t> beforeLast;
    std::vector<size_t> last(other.size() + 1);
    std::iota(last.begin(), last.end(), size_t{0});
    for (size_t i = 1; i <= one.size(); ++i) {
        std::vector<size_t> row(other.size() + 1, i);
        for (size_t j = 1; j <= other.size(); ++j) {
            const size_t wrong = one[i - 1] == other[j - 1] ? 0 : 1;
            row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + wrong});
            const bool isSwapped =
                i > 1 && j > 1 && one[i - 1] == other[j - 2] && one[i - 2] == other[j - 1];
            if (isSwapped) {
                row[j] = std::min(row[j], beforeLast[j - 2] + 1);
            }
        }
        beforeLast = std::exchange(last, std::move(row));
    }
    return last.back();
}

size_t rank(const std::string& word, const std::string& candidate) {
    if (candidate.size() <= kMaxWordLength) {
        const size_t mistakes = countMistakes(word, candidate);
        if (mistakes <= std::min(kMaxMistakes, word.size() / kLettersPerMistake + 1)) {
            return mistakes;
        }
    }
    const bool isPart = word.size() >= kMinPartLength && candidate.find(word) != std::string::npos;
    return isPart ? kContainsWord : kDifferent;
}

}  // namespace

std::vector<std::string> findSimilar(std::string_view word,
                                     const std::vector<std::string>& candidates) {
    const std::string wanted = normalize(word);
    if (wanted.size() < kMinPartLength || wanted.size() > kMaxWordLength) {
        return {};
    }
    std::vector<std::string> similar;
    size_t best = kDifferent;
    for (const std::string& candidate : candidates) {
        const size_t now = rank(wanted, normalize(candidate));
        if (now < best) {
            similar.clear();
            best = now;
        }
        if (now == best && best != kDifferent && similar.size() < kMaxSimilarWords) {
            similar.push_back(candidate);
        }
    }
    return similar;
}

std::string suggest(std::string_view word, const std::vector<std::string>& candidates) {
    const std::vector<std::string> similar = findSimilar(word, candidates);
    std::string text;
    for (size_t i = 0; i < similar.size(); ++i) {
        text += i == 0 ? "; did you mean '" : i + 1 == similar.size() ? "' or '" : "', '";
        text += similar[i];
    }
    return text.empty() ? "" : text + "'?";
}

}  // namespace cli
