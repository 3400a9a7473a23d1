#pragma once

#include <string>
#include <string_view>

// A word that a shell may offer to whoever types a command line.
struct Offer {
    std::string word;   // the whole word, with what was typed of it; one that ends with "=" or "."
                        // wants to be gone on with
    std::string about;  // for people, may be empty
};

// Whether the word begins so, capital letters or not.
bool beginsInAnyCase(std::string_view word, std::string_view begun);
