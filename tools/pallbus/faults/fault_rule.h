#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace pallbus::faults {

enum class FaultKind {
    drop,       // messages are lost
    delay,      // messages arrive later
    corrupt,    // some bytes of a message change
    fragment,   // each byte to a client is a TCP segment of its own
    coalesce,   // several messages to a client share one TCP segment
    truncate,   // half of a message reaches the client, then its connection closes
    close,      // connections close at once, between messages
    refuse,     // new connections are refused
    blackhole,  // connections stay open, but everything on them is lost
    stall,      // the bus stops reading; what a client sends piles up on its side
    clear,      // ends all faults
};

// As the bus sees it: from a client to the bus, from the bus to a client.
enum class Direction { both, from, to };

// Which of the matching messages a fault applies to.
enum class Frequency { always, percent, every, next };

// A fault as its author wrote it: the words with one blank between them, the name of the object in
// quotes, "for" before every duration. Does not count in comparisons, because different words can
// mean the same fault.
struct FaultText {
    std::string words;
    bool operator==(const FaultText&) const { return true; }
};

// One fault: what happens to whom, how often and for how long. A plain value.
struct FaultRule {
    FaultKind kind = FaultKind::drop;
    std::chrono::milliseconds delayMin{};
    std::chrono::milliseconds delayMax{};
    size_t count = 0;  // messages to coalesce, bytes to corrupt
    Frequency frequency = Frequency::always;
    double percent = 0;
    size_t number = 0;  // N of "every N" and "next N"
    Direction direction = Direction::both;
    std::optional<int32_t> client;                      // connection id; absent: any client
    std::optional<std::string> object;                  // with all below it; absent: any object
    std::optional<std::chrono::milliseconds> duration;  // absent: until the faults are cleared
    FaultText text;

    bool operator==(const FaultRule&) const = default;
};

// What all active faults together do to one message.
struct Delivery {
    bool dropped = false;  // then the other members have no meaning
    std::chrono::milliseconds delay{};
    size_t corruptedBytes = 0;

    // Only on the way to a client.
    bool fragmented = false;  // one segment for each byte
    size_t coalesced = 0;     // messages that share a segment; 0: none do
    bool truncated = false;   // half of the message, then nothing more

    bool operator==(const Delivery&) const = default;
};

}  // namespace pallbus::faults
