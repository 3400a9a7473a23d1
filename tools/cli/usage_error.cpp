// The parser reports what it expected in words of its own. A word that no command takes explains an
// error best; otherwise the kind of the error selects a function that rewrites the parser's text.

#include "cli/usage_error.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <string_view>
#include <vector>

#include "cli/help_text.h"
#include "cli/similar_words.h"

namespace cli {

namespace {

using Words = std::vector<std::string>;

// The end of the options.
constexpr const char* kDashes = "--";

// The parser gives such an error the name of the app.
constexpr int kExtras = static_cast<int>(CLI::ExitCodes::ExtrasError);

// The command and those above it, the innermost first.
std::vector<const CLI::App*> withParents(const CLI::App& command) {
    std::vector<const CLI::App*> apps;
    for (const CLI::App* app = &command; app != nullptr; app = app->get_parent()) {
        apps.push_back(app);
    }
    return apps;
}

// The first word that no command took; "--" only if it is the last one.
std::optional<std::string> findUnexpectedWord(const CLI::App& command) {
    for (const CLI::App* app : withParents(command)) {
        Words words = app->remaining();
        if (words.size() > 1 && words.front() == kDashes) {
            words.erase(words.begin());
        }
        if (!words.empty()) {
            return words.front();
        }
    }
    return std::nullopt;
}

Words listOptionNames(const CLI::App& command) {
    Words names;
    for (const CLI::App* app : withParents(command)) {
        for (const CLI::Option* option : listOptions(*app, false)) {
            for (const std::string& name : option->get_lnames()) {
                names.push_back("--" + name);
            }
        }
    }
    std::ranges::sort(names);
    names.erase(std::unique(names.begin(), names.end()), names.end());
    return names;
}

Words listCommandNames(const CLI::App& command) {
    Words names;
    for (const CLI::App* each : command.get_subcommands([](const CLI::App*) { return true; })) {
        names.push_back(each->get_name());
    }
    return names;
}

// "; choose from cable, psu"; nothing for the program itself, whose help lists its commands.
std::string formatChoices(const CLI::App& command) {
    std::string choices;
    if (command.get_parent() != nullptr) {
        for (const std::string& name : listCommandNames(command)) {
            choices += (choices.empty() ? "; choose from " : ", ") + name;
        }
    }
    return choices;
}

// "set cable: ", for an error that belongs to a command as a whole.
std::string formatPath(const CLI::App& command) {
    std::string path;
    for (const CLI::App* app : withParents(command)) {
        if (app->get_parent() != nullptr) {
            path.insert(0, app->get_name() + (path.empty() ? "" : " "));
        }
    }
    return path.empty() ? "" : path + ": ";
}

std::string describeUnexpectedWord(const CLI::App& command, const std::string& word) {
    if (word.starts_with('-')) {
        return "unknown option '" + word + "'" +
               suggest(word.substr(0, word.find('=')), listOptionNames(command));
    }
    const bool hasCommands = !listCommandNames(command).empty();
    return hasCommands ? describeUnknownCommand(command, word)
                       : "unexpected argument '" + word + "'";
}

const CLI::Option* findOption(const CLI::App& command, const std::string& name) {
    for (const CLI::App* app : withParents(command)) {
        if (const CLI::Option* option = app->get_option_no_throw(name)) {
            return option;
        }
    }
    return nullptr;
}

std::string removeEnd(const std::string& text, std::string_view end) {
    return text.ends_with(end) ? text.substr(0, text.size() - end.size()) : text;
}

std::string replace(std::string text, std::string_view part, std::string_view by) {
    const size_t at = text.find(part);
    return at == std::string::npos ? text : text.replace(at, part.size(), by);
}

// "NAME is required"
std::string describeMissingArgument(const CLI::App& command, const std::string& text) {
    const bool needsCommand = command.get_require_subcommand_min() > 0;
    return needsCommand ? formatPath(command) + "a command is required" + formatChoices(command)
                        : formatPath(command) + "missing " + removeEnd(text, " is required");
}

// "--timeout: 1 required TIME missing", "--timeout: At Most 1 required but received 2", "json was
// given a disallowed flag override"
std::string describeMismatch(const CLI::App& command, const std::string& text) {
    const std::string name = text.substr(0, text.find_first_of(": "));
    if (text.find(" override") != std::string::npos) {
        return "--" + name + ": takes no value";
    }
    const CLI::Option* const option = findOption(command, name);
    return text.find(" At Most ") != std::string::npos || option == nullptr
               ? name + ": given more than once"
               : name + ": missing " + valueWord(*option);
}

// "--json excludes --keyvalue"
std::string describeConflict(const CLI::App&, const std::string& text) {
    return replace(text, " excludes ", " cannot be combined with ");
}

// "Could not convert: --port = x"
std::string describeConversion(const CLI::App&, const std::string& text) {
    return replace(replace(text, "Could not convert: ", ""), " = ", ": invalid value ");
}

struct ErrorKind {
    const char* name;
    std::string (*describe)(const CLI::App& command, const std::string& text);
};

constexpr ErrorKind kKinds[] = {
    {"RequiredError", describeMissingArgument},
    {"ArgumentMismatch", describeMismatch},
    {"ExcludesError", describeConflict},
    {"ConversionError", describeConversion},
};

}  // namespace

const CLI::App& findReachedCommand(const CLI::App& program) {
    const auto commands = program.get_subcommands();
    return commands.empty() ? program : findReachedCommand(*commands.back());
}

std::string describeUsageError(const CLI::App& program, const CLI::Error& error) {
    const CLI::App& command = findReachedCommand(program);
    const auto word = findUnexpectedWord(command);
    const bool isAboutWord = error.get_exit_code() == kExtras ||
                             command.get_require_subcommand_min() > 0 ||
                             (word && word->starts_with('-'));
    if (word && word != kDashes && isAboutWord) {
        return formatPath(command) + describeUnexpectedWord(command, *word);
    }
    const auto* const kind = std::ranges::find(kKinds, error.get_name(), &ErrorKind::name);
    return kind == std::end(kKinds) ? error.what() : kind->describe(command, error.what());
}

std::string describeUnknownCommand(const CLI::App& command, const std::string& word) {
    const std::string suggestion = suggest(word, listCommandNames(command));
    return "unknown command '" + word + "'" +
           (suggestion.empty() ? formatChoices(command) : suggestion);
}

}  // namespace cli
