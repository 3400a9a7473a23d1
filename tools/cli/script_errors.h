#pragma once

#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

namespace cli {

// What a user asked for cannot be done; one line for each reason. A program that ends with it
// prints the lines and returns kUsageError (runProgram).
struct UserError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

}  // namespace cli

namespace cli::script {

// The errors in a script, one line each: "FILE:LINE: problem".
class Error : public UserError {
  public:
    Error(std::string_view name, int number, std::string_view problem);
    explicit Error(const std::string& lines);
};

// Collects the errors in a script, so that all of them are reported at once.
class Errors {
  public:
    explicit Errors(std::string_view name) : name_(name) {}  // of the script

    // In that line of the text, from 1. Ignores a repetition.
    void add(int number, const std::string& problem);

    bool hasAfter(int number) const;  // one of a later line

    // Throw Error, if there are any, with the one that was added first, or with all in the order of
    // the lines up to a limit.
    void throwFirst() const;
    void throwAll() const;

  private:
    using Problem = std::pair<int, std::string>;

    std::string formatProblem(const Problem& problem) const;

    std::string name_;
    std::set<Problem> all_;
    Problem first_{};
};

}  // namespace cli::script
