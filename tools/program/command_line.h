#pragma once

#include <memory>
#include <optional>
#include <string>

#include "program/offer.h"
#include "program/verb.h"

// What the programs for people have in common on their command lines.

// Status of a program that did not understand its command line.
inline constexpr int kBadUsage = 2;

// Others' words in a line of one's own: control characters, line ends among them, become "?".
std::string onOneLine(std::string text, char instead = '?');

// Says on standard error, a line each with the program's name before it, what the lines tell.
void complainOfEach(const char* program, const std::string& lines);

// The version of all programs, "1.2.3".
const char* programVersion();

// All that a program can be told, and the reading of what it was told. Every program has --help in
// one form, --version, and complaints that begin with its name and fit one line.
class CommandLine {
  public:
    CommandLine(const std::string& program, const std::string& about);
    ~CommandLine();
    CommandLine(const CommandLine&) = delete;
    CommandLine& operator=(const CommandLine&) = delete;

    // The program itself, which verbs and options are added to.
    Verb program();

    // Reads the line into the variables and takes the action of the verb. Nothing when the program
    // is to go on; otherwise the status to end with: 0 when help or version were asked for and
    // printed, kBadUsage after a complaint on standard error. The verb "complete", which no help
    // shows, is answered here: it gives the shells what could stand for the last of its words, the
    // values with the help of `offerValues`. To be called when everything was added. What an action
    // throws, other than BadUsage, is passed on;
    // std::runtime_error when what was asked for could not be printed.
    std::optional<int> read(int argc, const char* const* argv, const OfferValues& offerValues = {});

  private:
    std::unique_ptr<CLI::App> app_;
};
