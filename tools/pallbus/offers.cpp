#include "offers.h"

#include <sstream>
#include <string>

#include "trouble/words.h"

namespace pallbus {

namespace {

using Words = std::vector<std::string>;

// Those of a line in quotes are in the word that was begun: all up to its last blank.
Words wordsBefore(const BegunValue& begun, const std::string& head) {
    Words words = begun.option.empty() ? begun.before : Words();
    std::istringstream text(head);
    for (std::string word; text >> word;) {
        words.push_back(word);
    }
    return words;
}

bool isTime(const Words& words) {
    return words.front() == "at" || words.front() == "after";
}

Words wordsToCome(const BegunValue& begun, Words before) {
    const bool isBegin = before.empty();
    if (!isBegin && isTime(before)) {
        if (before.size() == 1) {
            return {};
        }
        before.erase(before.begin(), before.begin() + 2);
    }
    Words words = wordsBehind(before);
    if (isBegin) {
        words.push_back("at");
    }
    if (isBegin && begun.verb == "do") {
        words.push_back("show");
    }
    return words;
}

}  // namespace

std::vector<Offer> offers(const BegunValue& begun) {
    if (begun.kind != "LINE") {
        return {};
    }
    const std::string head = begun.word.substr(0, begun.word.rfind(' ') + 1);
    std::vector<Offer> offers;
    for (const std::string& word : wordsToCome(begun, wordsBefore(begun, head))) {
        offers.push_back({head + word, ""});
    }
    return offers;
}

}  // namespace pallbus
