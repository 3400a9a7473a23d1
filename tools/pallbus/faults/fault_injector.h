#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <random>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "pallbus/faults/fault_rule.h"

namespace pallbus::faults {

// Holds the active faults and decides what they do to each message. Has no sockets and no clock of
// its own: the caller passes messages and times in. All randomness comes from the seed, so the same
// messages in the same order meet the same faults. Used by one thread.
class FaultInjector {
  public:
    using Clock = std::chrono::steady_clock;

    // A message between a client and the broker.
    struct Transit {
        Direction direction = Direction::from;  // not both
        uint64_t connection = 0;                // later connections have larger numbers
        std::optional<int32_t> client;          // connection id, once the client has logged in
        std::string_view message;               // payload or frame
    };

    explicit FaultInjector(uint64_t seed) : random_(seed) {}

    // Announces a new connection; its number is the largest so far.
    void addConnection(uint64_t connection) { newestConnection_ = connection; }

    // Activates a fault of any kind but close and clear, which have no duration. Faults add up; an
    // equal rule restarts. A blackhole affects the connections that exist now.
    void add(const FaultRule& rule, Clock::time_point now);
    void clear() { active_.clear(); }
    bool isIdle() const { return active_.empty(); }

    // Removes the faults whose duration has passed.
    void expire(Clock::time_point now);
    // When the next fault expires; empty when none has a duration.
    std::optional<Clock::time_point> nextExpiry() const;

    bool refusesConnections() const;
    // Whether the broker reads what the client of this connection id sends.
    bool readsFrom(std::optional<int32_t> client) const;
    // Applies the active faults to the message and counts it.
    Delivery apply(const Transit& transit);
    // Changes `count` different bytes, or all if there are fewer.
    void corruptBytes(std::span<char> bytes, size_t count);

    // One line for each active fault: the fault, how often it was applied, the time that is left.
    std::vector<std::string> describeActive(Clock::time_point now) const;

  private:
    struct ActiveFault {
        FaultRule rule;
        std::optional<Clock::time_point> end;
        uint64_t newestConnection;  // when the fault was added
        size_t candidates = 0;      // messages that match client, direction and object
        size_t applied = 0;         // messages the fault was applied to
        bool exhausted = false;
    };

    static bool matches(const ActiveFault& fault, const Transit& transit);
    bool isDue(ActiveFault& fault);
    void applyRule(const FaultRule& rule, Delivery& delivery);

    std::mt19937_64 random_;
    uint64_t newestConnection_ = 0;
    std::vector<ActiveFault> active_;
};

// The object in the header of a payload or frame; empty when it is not a message.
std::optional<std::string> parseObjectName(std::string_view message);

}  // namespace pallbus::faults
