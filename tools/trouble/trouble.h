#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <random>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "trouble/fate.h"
#include "trouble/rule.h"

namespace pallbus {

// The trouble in force on the bus: stands between the links and the switchboard and says what
// becomes of each message. Without sockets and without a clock of its own. Everything left to
// chance comes from the seed: the same messages meet the same fates. Used by one thread.
class Trouble {
  public:
    using Clock = std::chrono::steady_clock;

    // A message on its way.
    struct Passage {
        Direction direction = Direction::from;  // not both
        uint64_t connection = 0;                // its number, larger for those that came later
        std::optional<int32_t> client;          // connection id of the client, if it logged in
        std::string_view message;               // payload or frame
    };

    explicit Trouble(uint64_t seed) : random_(seed) {}

    // There is a connection of that number, the largest so far.
    void join(uint64_t connection) { newest_ = connection; }

    // Any kind but Kind::close, which is over at once. Adds to what is in force; the very same
    // trouble begins anew. Silence befalls the connections that are there now.
    void begin(const Rule& rule, Clock::time_point now);
    void calm() { active_.clear(); }
    bool isCalm() const { return active_.empty(); }

    // Ends what has lasted its time.
    void endDue(Clock::time_point now);
    // When the first of it has; nothing while all of it lasts.
    std::optional<Clock::time_point> nextEnd() const;

    bool refuses() const;
    // Whether the bus takes in what a client of this connection id sends.
    bool reads(std::optional<int32_t> client) const;
    // What becomes of the message; counts it.
    Fate meet(const Passage& passage);
    // Gives so many of the bytes another value, all of them if there are less.
    void corrupt(std::span<char> bytes, size_t count);

    // A line for each trouble in force, in its own words and how much of it there was.
    std::vector<std::string> show(Clock::time_point now) const;

  private:
    struct Active {
        Rule rule;
        std::optional<Clock::time_point> end;
        uint64_t newest;      // connection when it began
        size_t met = 0;       // messages that it could have befallen
        size_t befallen = 0;  // those that it has
        bool spent = false;
    };

    static bool concerns(const Active& active, const Passage& passage);
    bool befalls(Active& active);
    void apply(const Rule& rule, Fate& fate);

    std::mt19937_64 random_;
    uint64_t newest_ = 0;
    std::vector<Active> active_;
};

// The object that a payload or frame is about; nothing when it is no message.
std::optional<std::string> objectNameOf(std::string_view message);

}  // namespace pallbus
