#pragma once

#include <vector>

#include "program/offer.h"

namespace pallbus {

// Completes faults: word by word, or as one word in quotes.
std::vector<Offer> completeFault(const BegunValue& begun);

}  // namespace pallbus
