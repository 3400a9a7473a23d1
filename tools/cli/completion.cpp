// The words before the last one are followed through the App as the parser would read them; that
// leads to a Place: a command, its arguments so far, and perhaps an option that lacks its value.
// The place decides whether options, commands or values complete the last word.

#include "cli/completion.h"

#include <algorithm>
#include <iterator>
#include <set>

#include "cli/cli11.h"
#include "cli/command_line.h"
#include "cli/help_text.h"

namespace cli {

namespace {

// Kinds of values that a shell knows better than the program.
struct ShellKind {
    const char* kind;
    const char* answer;
};
constexpr ShellKind kShellKinds[] = {
    {"FILE", "files"},
    {"DIR", "directories"},
    {"COMMAND", "commands"},
};

constexpr const char* kHelpCommand = "help";

// The place in the command line to be completed.
struct Place {
    const CLI::App* command = nullptr;
    const CLI::Option* wantsValue = nullptr;  // the last word was an option without its value
    std::vector<std::string> positionals;     // since the command, or since "--"
    bool optionsEnded = false;                // by "--"; only the last positional argument follows
    std::map<std::string, std::string> options;
};

// The app, and those above it whose options it accepts.
std::vector<const CLI::App*> withParents(const CLI::App* command) {
    std::vector<const CLI::App*> apps{command};
    while (command->get_fallthrough() && command->get_parent() != nullptr) {
        command = command->get_parent();
        apps.push_back(command);
    }
    return apps;
}

std::vector<const CLI::Option*> collectOptions(const CLI::App* command) {
    std::vector<const CLI::Option*> found;
    for (const CLI::App* app : withParents(command)) {
        const auto own = listOptions(*app, false);
        found.insert(found.end(), own.begin(), own.end());
    }
    return found;
}

const CLI::Option* findOption(const CLI::App* command, const std::string& name) {
    const auto all = collectOptions(command);
    const auto found = std::ranges::find_if(
        all, [&](const CLI::Option* option) { return option->check_name(name); });
    return found == all.end() ? nullptr : *found;
}

std::string longName(const CLI::Option& option) {
    return option.get_lnames().empty() ? option.get_name() : "--" + option.get_lnames().front();
}

bool looksLikeOption(const Place& place, const std::string& word) {
    return !place.optionsEnded && word.size() > 1 && word[0] == '-';
}

void passOption(Place& place, const std::string& word) {
    const size_t equals = word.find('=');
    const CLI::Option* option = findOption(place.command, word.substr(0, equals));
    if (option == nullptr || option->get_expected_max() == 0) {
        return;
    }
    if (equals == std::string::npos) {
        place.wantsValue = option;
    } else {
        place.options[longName(*option)] = word.substr(equals + 1);
    }
}

void passWord(Place& place, const std::string& word) {
    const bool isFirst = place.command->get_parent() == nullptr && place.positionals.empty();
    if (isFirst && word == kHelpCommand) {
        return;  // commands follow, as without it
    }
    const CLI::App* command =
        place.positionals.empty() ? findCommand(*place.command, word) : nullptr;
    if (command != nullptr && !place.optionsEnded) {
        place.command = command;
    } else {
        place.positionals.push_back(word);
    }
}

void pass(Place& place, const std::string& word) {
    if (place.wantsValue != nullptr) {
        place.options[longName(*place.wantsValue)] = word;
        place.wantsValue = nullptr;
    } else if (word == "--" && !place.optionsEnded) {
        place.optionsEnded = true;
        place.positionals.clear();
    } else if (looksLikeOption(place, word)) {
        passOption(place, word);
    } else {
        passWord(place, word);
    }
}

// The completions found so far.
struct Answer {
    std::string kind = "words";
    std::vector<Completion> completions;
};

void answerOptions(const Place& place, Answer& answer) {
    std::set<std::string> seen;  // every command has its own --help
    for (const CLI::Option* option : collectOptions(place.command)) {
        if (seen.insert(longName(*option)).second) {
            answer.completions.push_back({longName(*option), option->get_description()});
        }
    }
}

void answerCommands(const Place& place, Answer& answer) {
    if (!place.positionals.empty() || place.optionsEnded) {
        return;
    }
    for (const CLI::App* command : place.command->get_subcommands({})) {
        answer.completions.push_back({command->get_name(), command->get_description()});
    }
}

// `before` is the part of the word before the value.
void answerValues(const Place& place, const CLI::Option& option, const std::string& word,
                  const std::string& before, const CompleteValue& completeValue, Answer& answer) {
    const std::string kind = option.get_positional() ? option.get_name(true) : valueWord(option);
    const auto* const own = std::ranges::find(kShellKinds, kind, &ShellKind::kind);
    if (own != std::end(kShellKinds)) {
        answer.kind = own->answer;
        return;
    }
    std::vector<Completion> completions;
    for (const std::string& choice : listChoices(option)) {
        completions.push_back({choice, ""});
    }
    if (completions.empty() && completeValue) {
        const std::string name = option.get_positional() ? "" : longName(option);
        completions = completeValue(
            {place.command->get_name(), name, kind, word, place.options, place.positionals});
    }
    for (Completion& completion : completions) {
        answer.completions.push_back({before + completion.word, std::move(completion.about)});
    }
}

void answerPositional(const Place& place, const std::string& word,
                      const CompleteValue& completeValue, Answer& answer) {
    const auto all = listOptions(*place.command, true);
    if (all.empty()) {
        return;
    }
    const size_t last = all.size() - 1;
    const size_t at = place.positionals.size() + (place.optionsEnded ? last : 0);
    const CLI::Option& option = *all[std::min(at, last)];
    if (at > last && option.get_expected_max() <= 1) {
        return;
    }
    answerValues(place, option, word, "", completeValue, answer);
    if (at > last && answer.kind == "commands") {
        answer.kind = "files";  // the arguments of an unknown command
    }
}

Answer answerTo(const Place& place, const std::string& word, const CompleteValue& completeValue) {
    Answer answer;
    const size_t equals = word.find('=');
    if (place.wantsValue != nullptr) {
        answerValues(place, *place.wantsValue, word, "", completeValue, answer);
    } else if (looksLikeOption(place, word) && equals != std::string::npos) {
        if (const auto* option = findOption(place.command, word.substr(0, equals))) {
            answerValues(place, *option, word.substr(equals + 1), word.substr(0, equals + 1),
                         completeValue, answer);
        }
    } else if (!place.optionsEnded && word.starts_with("-")) {
        answerOptions(place, answer);
    } else {
        answerCommands(place, answer);
        answerPositional(place, word, completeValue, answer);
    }
    return answer;
}

// A word with a control character is left out.
bool fitsALine(const std::string& word) {
    return onOneLine(word) == word;
}

template <typename Condition>
std::string formatLines(const std::vector<Completion>& completions, Condition isMeant) {
    std::string text;
    for (const Completion& completion : completions) {
        if (isMeant(completion.word) && fitsALine(completion.word)) {
            const std::string about = onOneLine(completion.about, ' ');
            text += completion.word + (about.empty() ? "" : "\t" + about) + "\n";
        }
    }
    return text;
}

}  // namespace

std::string completion(const CLI::App& app, const std::vector<std::string>& words,
                       const CompleteValue& completeValue) {
    Place place;
    place.command = &app;
    const std::string last = words.empty() ? "" : words.back();
    for (size_t i = 0; i + 1 < words.size(); ++i) {
        pass(place, words[i]);
    }
    const Answer answer = answerTo(place, last, completeValue);
    const auto begins = [&](const std::string& word) { return word.starts_with(last); };
    const auto beginsSomehow = [&](const auto& word) { return startsWithIgnoringCase(word, last); };
    const std::string exact = formatLines(answer.completions, begins);
    return answer.kind + "\n" +
           (exact.empty() ? formatLines(answer.completions, beginsSomehow) : exact);
}

}  // namespace cli
