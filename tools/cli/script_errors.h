#pragma once

#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

namespace cli::script {

// What is wrong with a script, in a line for each problem: "FILE:LINE: problem".
class Error : public std::runtime_error {
  public:
    Error(std::string_view name, int number, std::string_view problem);
    explicit Error(const std::string& lines);
};

// Gathers what is wrong with a script, so that whoever wrote it learns it all at once.
class Errors {
  public:
    explicit Errors(std::string_view name) : name_(name) {}  // of the script

    // In that line of the text, from 1. The same once more changes nothing.
    void add(int number, const std::string& problem);

    bool hasBehind(int number) const;  // one of a later line

    void throwFirst() const;  // Error with the one that was added first; nothing without any
    void throwAll() const;    // with all in the order of the lines, or as many as a person reads

  private:
    using Problem = std::pair<int, std::string>;

    std::string textOf(const Problem& problem) const;

    std::string name_;
    std::set<Problem> all_;
    Problem first_{};
};

}  // namespace cli::script
