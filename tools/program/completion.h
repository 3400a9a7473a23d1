#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "program/help_text.h"
#include "program/offer.h"

// What may stand in one place of a command line, for the completion of the shells. Verbs, options
// and choices are taken from the App that reads the line; only what changes while the program is
// built once (names of parameters) has to be added by the program.

// A value that was begun.
struct BegunValue {
    std::string verb;    // the innermost verb before it, "set"
    std::string option;  // the option that it is for, "--port"; "" for a positional
    std::string kind;    // what is to stand there: "NAME", "PORT"
    std::string word;    // what stands there
    std::map<std::string, std::string> options;  // values given so far, by "--name"
    std::vector<std::string> before;             // what stands between the verb and it
};

// What the program itself knows of such values. It may be asked at each press of a key: it has to
// be quick, and silent when it knows nothing.
using OfferValues = std::function<std::vector<Offer>(const BegunValue& begun)>;

// What `PROGRAM complete WORDS...` prints, where the last word is the one to be completed: in the
// first line what can stand there ("words", "files", "directories" or "commands"), then each
// possible word that begins with it (in any case, where none does exactly) and, behind a tab, what
// it is.
std::string completion(const CLI::App& app, const std::vector<std::string>& words,
                       const OfferValues& offerValues = {});
