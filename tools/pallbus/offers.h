#pragma once

#include <vector>

#include "program/offer.h"

namespace pallbus {

// What a shell may offer where trouble is told, in words of their own or as one word in quotes.
std::vector<Offer> offers(const BegunValue& begun);

}  // namespace pallbus
