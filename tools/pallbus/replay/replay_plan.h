#pragma once

#include <chrono>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <variant>
#include <vector>

#include "recording/recording.h"

namespace pallbus::replay {

// One step of a replay: what happened to the recorded device. Heartbeats are not part of it,
// because they belong to each connection.
struct Step {
    enum class Kind {
        connect,  // the device connected or reconnected
        send,     // the device received the payload
        expect,   // the device sent the payload
    };
    Kind kind = Kind::connect;
    std::chrono::microseconds at{};
    std::string payload;

    bool operator==(const Step&) const = default;
};

// The recorded client to replay: the client with a connection id, or the one that sent the most
// notifications and responses of an object.
using Participant = std::variant<int32_t, std::string>;

// An integer is a connection id, any other text an object.
Participant parseParticipant(const std::string& text);

// The participant sent nothing in the recording.
struct ParticipantNotFound : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// All steps in order; the first is a connect. Throws ParticipantNotFound.
//
// The device received the responses addressed to it, and the requests and notifications of the
// objects that it had subscribed to. A device that was connected before the recording started is
// assumed to have subscribed to "system", or to the object of `participant`.
std::vector<Step> planReplay(const std::vector<recording::Entry>& entries,
                             const Participant& participant);

}  // namespace pallbus::replay
