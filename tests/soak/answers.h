#pragma once

#include "bus/tarn_internal_message.h"
#include "soaking/ledger.h"

namespace soak {

// The one member of a message's "param"; null when it has none. Belongs to the message.
const cJSON* carried(const TarnInternalMessage& message);

// What a response says to the books.
Answer answerOf(const TarnInternalMessage& message);

}  // namespace soak
