#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace pallbus {

// What can go wrong on the bus.
enum class Kind {
    drop,         // messages are lost
    delay,        // messages arrive later
    corrupt,      // some of their bytes are others
    split,        // each byte to a client is a segment of its own
    join,         // several messages to a client are one segment
    cut,          // half a message to a client, then the end of its connection
    close,        // the end of a connection, between messages; at once
    refuse,       // no new connection
    silent,       // connections stand, but nothing is heard or sent on them
    stopReading,  // what a client sends piles up on its side
};

// As the bus sees it: from a client to the bus, from the bus to a client.
enum class Direction { both, from, to };

// Which of the messages that it could befall.
enum class Often { each, percent, every, next };

// One trouble: what happens to whom, how often and how long. A plain value.
struct Rule {
    Kind kind = Kind::drop;
    std::chrono::milliseconds delayLeast{};  // of a delay
    std::chrono::milliseconds delayMost{};
    size_t count = 0;  // messages joined, bytes corrupted
    Often often = Often::each;
    double percent = 0;
    size_t number = 0;  // of every and next
    Direction direction = Direction::both;
    std::optional<int32_t> client;                  // connection id; nothing: any client
    std::optional<std::string> object;              // it and all below; nothing: any object
    std::optional<std::chrono::milliseconds> time;  // in force so long; nothing: until calm

    bool operator==(const Rule&) const = default;
};

}  // namespace pallbus
