#include "program/offer.h"

#include <strings.h>

bool beginsInAnyCase(std::string_view word, std::string_view begun) {
    return word.size() >= begun.size() &&
           ::strncasecmp(word.data(), begun.data(), begun.size()) == 0;
}
