#pragma once

#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

// A word that a shell may offer to whoever types a command line.
struct Offer {
    std::string word;   // the whole word, with what was typed of it; one that ends with "=" or "."
                        // wants to be gone on with
    std::string about;  // for people, may be empty
};

// Whether the word begins so, capital letters or not.
bool beginsInAnyCase(std::string_view word, std::string_view begun);

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
