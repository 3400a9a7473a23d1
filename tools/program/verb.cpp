#include "program/verb.h"

#include <utility>

#include "program/library.h"

Value& Value::kind(const std::string& word) {
    option_->type_name(word);
    return *this;
}

Value& Value::choices(const std::vector<std::string>& words) {
    option_->check(CLI::IsMember(words));
    return *this;
}

Value& Value::check(Check check) {
    option_->check(CLI::Validator(std::move(check), ""));
    return *this;
}

Value& Value::required() {
    option_->required();
    return *this;
}

Value& Value::showsDefault() {
    option_->capture_default_str();
    return *this;
}

Value& Value::oneEachTime() {
    option_->allow_extra_args(false);
    return *this;
}

Value& Value::excludes(const std::string& option) {
    option_->excludes(option);
    return *this;
}

Verb Verb::addVerb(const std::string& name, const std::string& about) {
    return Verb(*app_->add_subcommand(name, about));
}

void Verb::needsVerb() {
    app_->require_subcommand(1);
}

void Verb::takesOneVerb() {
    app_->require_subcommand(0, 1);
}

void Verb::optionsGoAnywhere() {
    app_->fallthrough();
}

Value Verb::addFlag(const std::string& names, bool& variable, const std::string& about) {
    return Value(*app_->add_flag(names, variable, about));
}

template <Readable T>
Value Verb::add(const std::string& names, T& variable, const std::string& about) {
    return Value(*app_->add_option(names, variable, about));
}

template Value Verb::add(const std::string&, std::string&, const std::string&);
template Value Verb::add(const std::string&, std::vector<std::string>&, const std::string&);
template Value Verb::add(const std::string&, int&, const std::string&);
template Value Verb::add(const std::string&, uint16_t&, const std::string&);
template Value Verb::add(const std::string&, uint64_t&, const std::string&);
template Value Verb::add(const std::string&, double&, const std::string&);

void Verb::excludes(const std::vector<std::string>& options) {
    for (const std::string& option : options) {
        app_->excludes(app_->get_parent()->get_option(option));
    }
}

void Verb::notes(const std::string& text) {
    app_->footer(text);
}

void Verb::action(std::function<void()> act) {
    app_->callback([name = app_->get_name(), act = std::move(act)] {
        try {
            act();
        } catch (const BadUsage& problem) {
            throw CLI::ValidationError(name, problem.what());
        }
    });
}
