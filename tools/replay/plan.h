#pragma once

#include <chrono>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <variant>
#include <vector>

#include "recording/recording.h"

namespace replay {

// What a recording says about one of those who were on the bus: what it was sent, and what it
// said. Heartbeats and their answers are left out: they belong to the connection of the day.
struct Step {
    enum class Kind {
        connect,  // it came, or came back
        send,     // it was sent the payload
        expect,   // it sent the payload
    };
    Kind kind = Kind::connect;
    std::chrono::microseconds at{};
    std::string payload;

    bool operator==(const Step&) const = default;
};

// Whose part in the recording is meant: the client of a connection id, or the one with the most
// announcements of an object and answers for it.
using Against = std::variant<int32_t, std::string>;

// Digits are an id, all else is an object.
Against parseAgainst(const std::string& text);

// Whoever is meant said nothing in the recording.
struct NobodySpeaks : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// All steps in order; the first is a connect. Throws NobodySpeaks.
//
// It was sent the answers that were meant for it, and the requests and announcements about what it
// had subscribed. One that was there before the recording began had subscribed "system", or the
// object in `against`.
std::vector<Step> makePlan(const std::vector<recording::Entry>& entries, const Against& against);

}  // namespace replay
