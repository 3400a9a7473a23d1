#pragma once

#include <concepts>
#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "program/checks.h"

namespace CLI {
class App;
class Option;
}  // namespace CLI

// What a program for people can be told: verbs with their options and words. The library that reads
// it is named here and included in this room only: it takes seconds to compile wherever it is seen.

// What an option or a word is read into.
template <typename T>
concept Readable = std::same_as<T, std::string> || std::same_as<T, std::vector<std::string>> ||
    std::same_as<T, int> || std::same_as<T, uint16_t> || std::same_as<T, uint64_t> ||
    std::same_as<T, double>;

// Thrown by an action whose words, each good by itself, make no sense together.
struct BadUsage : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// An option, or a word that has its place behind a verb; each call tells more of it and gives it
// back. Lives as long as the CommandLine that it is on.
class Value {
  public:
    explicit Value(CLI::Option& option) : option_(&option) {}

    // What it takes, such as "PORT": help shows it, and completion goes by it.
    Value& kind(const std::string& word);
    // It is one of a few words, in which no comma and no brace may stand.
    Value& choices(const std::vector<std::string>& words);
    Value& check(Check check);
    Value& required();
    // Help tells what the variable holds before the line is read.
    Value& showsDefault();
    // An option may stand any number of times, each time with one value.
    Value& oneEachTime();
    // Not together with the option of that name, which is described already.
    Value& excludes(const std::string& option);

  private:
    CLI::Option* option_;
};

// A verb, or the program itself. A name for something on a CommandLine, to be copied freely; lives
// as long as that.
class Verb {
  public:
    explicit Verb(CLI::App& app) : app_(&app) {}

    Verb addVerb(const std::string& name, const std::string& about);
    // One of its verbs has to follow.
    void needsVerb();
    // At most one of its verbs follows.
    void takesOneVerb();
    // What it takes may also stand behind its verbs; for a verb: behind its own words.
    void optionsGoAnywhere();

    // Variables have to outlive the reading of the line. `names` is "-s,--long" of an option, or
    // "NAME" of a word in its place; "!--no-x" is a flag that makes it false.
    Value addFlag(const std::string& names, bool& variable, const std::string& about);
    template <Readable T>
    Value add(const std::string& names, T& variable, const std::string& about = "");

    // Not together with these options of the verb or program above it.
    void excludes(const std::vector<std::string>& options);
    // What its help ends with.
    void notes(const std::string& text);
    // Called when the line was read and names this verb; may throw BadUsage.
    void action(std::function<void()> act);

  private:
    CLI::App* app_;
};
