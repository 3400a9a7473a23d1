#pragma once

#include <vector>

#include "program/offer.h"

namespace pallctl {

// Names and values for the completion of a shell, asked from the device that the options given so
// far lead to. Nothing, without a word, when it does not answer within half a second.
std::vector<Offer> liveValues(const BegunValue& begun);

}  // namespace pallctl
