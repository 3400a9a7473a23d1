#include "cli/command.h"

#include <strings.h>

#include <algorithm>
#include <utility>

#include "cli/cli11.h"

namespace cli {

namespace {

std::string join(const std::vector<std::string>& words, const char* between) {
    std::string text;
    for (const std::string& word : words) {
        text += (text.empty() ? "" : between) + word;
    }
    return text;
}

bool equalsIgnoringCase(const std::string& one, const std::string& other) {
    return ::strcasecmp(one.c_str(), other.c_str()) == 0;
}

// "set cable": its name behind those of the commands above it, without the program's.
std::string formatName(const CLI::App& command) {
    const CLI::App* const above = command.get_parent();
    return above && above->get_parent() ? formatName(*above) + " " + command.get_name()
                                        : command.get_name();
}

}  // namespace

Argument& Argument::kind(const std::string& word) {
    option_->type_name(word);
    return *this;
}

Argument& Argument::choices(const std::vector<std::string>& words) {
    const auto check = [words](std::string& text) -> std::string {
        const auto word = std::ranges::find_if(
            words, [&](const std::string& each) { return equalsIgnoringCase(each, text); });
        if (word == words.end()) {
            return "invalid value '" + text + "'; choose from " + join(words, ", ");
        }
        text = *word;
        return "";
    };
    // Help and completion take the words from this name (listChoices).
    option_->transform(CLI::Validator(check, "{" + join(words, ",") + "}"));
    return *this;
}

Argument& Argument::check(Validator check) {
    option_->check(CLI::Validator(std::move(check), ""));
    return *this;
}

Argument& Argument::required() {
    option_->required();
    return *this;
}

Argument& Argument::showsDefault() {
    option_->capture_default_str();
    return *this;
}

Argument& Argument::oneEachTime() {
    option_->allow_extra_args(false);
    return *this;
}

Argument& Argument::separatedByCommas() {
    option_->delimiter(',');
    return *this;
}

Argument& Argument::excludes(const std::string& option) {
    option_->excludes(option);
    return *this;
}

Command Command::addCommand(const std::string& name, const std::string& about) {
    return Command(*app_->add_subcommand(name, about), *selected_);
}

void Command::requireCommand() {
    app_->require_subcommand(1);
}

void Command::allowOneCommand() {
    app_->require_subcommand(0, 1);
}

void Command::allowOptionsAnywhere() {
    app_->fallthrough();
}

Argument Command::addFlag(const std::string& names, bool& variable, const std::string& about) {
    return Argument(*app_->add_flag(names, variable, about)->disable_flag_override());
}

template <Readable T>
Argument Command::add(const std::string& names, T& variable, const std::string& about) {
    return Argument(*app_->add_option(names, variable, about));
}

template Argument Command::add(const std::string&, std::string&, const std::string&);
template Argument Command::add(const std::string&, std::vector<std::string>&, const std::string&);
template Argument Command::add(const std::string&, int&, const std::string&);
template Argument Command::add(const std::string&, uint16_t&, const std::string&);
template Argument Command::add(const std::string&, uint64_t&, const std::string&);
template Argument Command::add(const std::string&, double&, const std::string&);

void Command::excludes(const std::vector<std::string>& options) {
    for (const std::string& option : options) {
        app_->excludes(app_->get_parent()->get_option(option));
    }
}

void Command::notes(const std::string& text) {
    app_->footer(text);
}

// The parser calls the innermost command first, and then every command above it.
void Command::work(std::function<int()> run) {
    app_->callback([selected = selected_, name = formatName(*app_), run = std::move(run)] {
        if (!selected->run) {
            selected->command = name;
            selected->run = run;
        }
    });
}

}  // namespace cli
