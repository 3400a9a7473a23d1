#pragma once

#include <concepts>
#include <cstdint>
#include <functional>
#include <map>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "cli/validators.h"

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace cli {

// How a program describes its commands, options and arguments. The parser library is included in
// this module only: it takes seconds to compile wherever it is seen.

// The types that an option or argument can be read into.
template <typename T>
concept Readable = std::same_as<T, std::string> || std::same_as<T, std::vector<std::string>> ||
    std::same_as<T, int> || std::same_as<T, uint16_t> || std::same_as<T, uint64_t> ||
    std::same_as<T, double>;

// Thrown by the work of a command when its arguments, each valid by itself, do not fit together.
struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// An option or positional argument of a command; each call adds to its description and returns it.
// Lives as long as its CommandLine.
class Argument {
  public:
    explicit Argument(CLI::Option& option) : option_(&option) {}

    // What the value is, such as "PORT": shown by the help, and used by completion.
    Argument& kind(const std::string& word);
    // The value is one of these words, in any case; they contain no comma and no brace.
    Argument& choices(const std::vector<std::string>& words);
    Argument& check(Validator check);
    Argument& required();
    // The help shows the initial value of the variable.
    Argument& showsDefault();
    // The option can be repeated, with one value each time.
    Argument& oneEachTime();
    // One value may be several, "a,b".
    Argument& separatedByCommas();
    // Not together with the option of that name, which is described already.
    Argument& excludes(const std::string& option);

  private:
    CLI::Option* option_;
};

// How a command reports that it failed: its exit status, and what it prints on standard output for
// the text of an error.
struct FailureReport {
    int status = 0;
    std::function<std::string(const std::string& error)> format;
};

// The work that the command line selected.
struct SelectedWork {
    std::string command;
    std::function<int()> run;
    std::map<const CLI::App*, FailureReport> failureReports;  // of commands with one of their own
};

// A command, or the program itself. A handle that can be copied; lives as long as its CommandLine.
class Command {
  public:
    Command(CLI::App& app, SelectedWork& selected) : app_(&app), selected_(&selected) {}

    Command addCommand(const std::string& name, const std::string& about);
    // One of its commands has to follow.
    void requireCommand();
    // At most one of its commands follows.
    void allowOneCommand();
    // Its options may also follow the commands below it, or its own arguments.
    void allowOptionsAnywhere();

    // The variable outlives the parsing. `names` is "-s,--long" for an option, or "NAME" for a
    // positional argument; the flag "!--no-x" sets the variable to false.
    Argument addFlag(const std::string& names, bool& variable, const std::string& about);
    template <Readable T>
    Argument add(const std::string& names, T& variable, const std::string& about = "");

    // Not together with these options of the command or program above it.
    void excludes(const std::vector<std::string>& options);
    // The text at the end of the help.
    void notes(const std::string& text);
    // After an error in the arguments of this command, and after any exception of its work, the
    // program prints this report in addition to its error message, and exits with its status.
    void reportFailures(FailureReport report) {
        selected_->failureReports[app_] = std::move(report);
    }
    // The work of this command: runs after the whole line was parsed, and returns the exit status.
    // May throw UsageError.
    void work(std::function<int()> run);

  private:
    CLI::App* app_;
    SelectedWork* selected_;
};

}  // namespace cli
