#pragma once

#include <time.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "bus/message_types.h"
#include "bus/scheduled_time.h"

// The first line of a bus message: its type, object, sender, receiver and scheduled time. A plain
// value, used by one thread at a time.
struct TarnInternalHeader {
    TarnInternalHeader() = default;
    virtual ~TarnInternalHeader() = default;
    TarnInternalHeader(const TarnInternalHeader&) = default;
    TarnInternalHeader& operator=(const TarnInternalHeader&) = default;
    TarnInternalHeader(TarnInternalHeader&&) = default;
    TarnInternalHeader& operator=(TarnInternalHeader&&) = default;

    MessageType type = MessageType::none;
    int32_t source = 0;       // connection id of the sender
    int32_t destination = 0;  // in a response the requester's source, otherwise 0
    std::string objectName;   // dotted path, as in "system.connection"
    lumo::ScheduledTime scheduled;
    std::vector<std::string> objectPath;  // empty until splitObjectName is called
    std::string sourceQualifier;          // the text of a source received as N@text
    std::string destinationQualifier;

    // Fills objectPath with the parts of objectName between its dots; an empty name is one empty
    // part.
    void splitObjectName();

    // The header line with its line feed, at most 255 bytes: a longer one is cut. objectName is not
    // escaped, and of a scheduled time only the fact that there is one is written.
    std::string encode() const;
    // Appends the same bytes to the text.
    void encodeTo(std::string& text) const;
};

namespace lumo {

struct DecodedHeader {
    TarnInternalHeader header;
    TimeFault timeFault = TimeFault::none;  // for the caller to log
    std::string timeText;                   // the scheduled time that has the fault
};

// Reads a header line. `now` decides whether its scheduled time is still to come. Nothing unless
// the line is an array of at least four items that begins with a known type word and an object
// name. A source or destination in an unknown form reads as 0.
std::optional<DecodedHeader> decodeHeader(const char* line, const timespec& now);

}  // namespace lumo
