#include <sstream>
#include <string>
#include <vector>

#include "pallbus/commands/commands.h"
#include "pallbus/faults/fault_parser.h"

namespace pallbus {

namespace {

using Words = std::vector<std::string>;

// In quotes the words are part of the word that is completed: everything up to its last blank.
Words precedingWords(const cli::CompletionRequest& request, const std::string& head) {
    Words words = request.option.empty() ? request.before : Words();
    std::istringstream text(head);
    for (std::string word; text >> word;) {
        words.push_back(word);
    }
    return words;
}

Words candidates(Words before) {
    const bool isFirst = before.empty();
    if (!isFirst && (before.front() == "at" || before.front() == "after")) {
        if (before.size() == 1) {
            return {};
        }
        before.erase(before.begin(), before.begin() + 2);
    }
    Words words = faults::nextKeywords(before);
    if (isFirst) {
        words.push_back("at");
    }
    return words;
}

}  // namespace

std::vector<cli::Completion> completeFault(const cli::CompletionRequest& request) {
    if (request.kind != "LINE") {
        return {};
    }
    const std::string head = request.word.substr(0, request.word.rfind(' ') + 1);
    std::vector<cli::Completion> completions;
    for (const std::string& word : candidates(precedingWords(request, head))) {
        completions.push_back({head + word, ""});
    }
    return completions;
}

}  // namespace pallbus
