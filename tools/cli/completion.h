#pragma once

#include <strings.h>

#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace CLI {
class App;
}  // namespace CLI

namespace cli {

// Completion for shells. Commands, options and choices come from the App that parses the line; the
// program adds only values that are not known when it is built, such as names of parameters.

// A word that a shell can offer.
struct Completion {
    std::string word;   // the whole word; after one that ends with "=" or "." more follows
    std::string about;  // for people, may be empty
};

inline bool startsWithIgnoringCase(std::string_view word, std::string_view prefix) {
    return word.size() >= prefix.size() &&
           ::strncasecmp(word.data(), prefix.data(), prefix.size()) == 0;
}

// A value to be completed.
struct CompletionRequest {
    std::string command;                         // the innermost command, "set"
    std::string option;                          // "--port"; empty for a positional argument
    std::string kind;                            // "NAME", "PORT"
    std::string word;                            // the beginning of the value
    std::map<std::string, std::string> options;  // earlier option values, by "--name"
    std::vector<std::string> before;             // earlier positional arguments of the command
};

// Completes values that only the program knows. Called at each press of Tab, so it is quick, and
// silent on errors.
using CompleteValue = std::function<std::vector<Completion>(const CompletionRequest& request)>;

// The output of `PROGRAM complete WORDS...`, whose last word is to be completed. The first line is
// the kind ("words", "files", "directories" or "commands"); each further line is a word that begins
// with it (in any case, unless one does exactly), a tab, and its description.
std::string completion(const CLI::App& app, const std::vector<std::string>& words,
                       const CompleteValue& completeValue = {});

}  // namespace cli
