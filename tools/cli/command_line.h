#pragma once

#include <functional>
#include <memory>
#include <string>

#include "cli/command.h"
#include "cli/completion.h"

namespace cli {

// The exit status of a program whose command line is invalid.
inline constexpr int kUsageError = 2;

// The main() of a program. Returns the status of the work; kUsageError after a UserError, such as
// errors in a script; or `failure` after any other exception. Prints the text of the exception.
int runProgram(const char* program, int failure, const std::function<int()>& work);

// The text with every control character replaced, so that it fits one line.
std::string onOneLine(std::string text, char replacement = '?');

// Prints each line on standard error, with the program's name before it.
void printErrors(const char* program, const std::string& lines);

// The version of all programs, "1.2.3".
const char* programVersion();

// The command line of a program. Every program has the same form of --help, --version, and error
// messages of one line that start with its name.
class CommandLine {
  public:
    CommandLine(const std::string& program, const std::string& about);
    ~CommandLine();
    CommandLine(const CommandLine&) = delete;
    CommandLine& operator=(const CommandLine&) = delete;

    // The program itself, to which commands and options are added.
    Command program();

    // Parses the line into the variables, then runs the work of the command that it names. Returns
    // the exit status: that of the work, 0 after --help and --version, kUsageError or the command's
    // own status (Command::reportFailures) after an error in the line. The hidden command
    // "complete" prints what can stand in place of the last of its words; completeValue adds the
    // values that the program knows. Exceptions of the work other than UsageError pass through
    // unless the command reports them; throws std::runtime_error when the output cannot be written.
    int run(int argc, const char* const* argv, const CompleteValue& completeValue = {});

  private:
    // Of the innermost command that the line names. Null without one.
    const FailureReport* findFailureReport() const;
    // Both print the error and return the exit status.
    int reportUsageError(const std::string& error) const;
    int reportFailure(const FailureReport& report, const std::string& error) const;

    std::unique_ptr<CLI::App> app_;
    SelectedWork selected_;
};

}  // namespace cli
