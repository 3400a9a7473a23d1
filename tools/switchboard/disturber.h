#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include <asio/io_context.hpp>
#include <asio/steady_timer.hpp>

#include "trouble/plan.h"
#include "trouble/trouble.h"

namespace pallbus {

// Has the trouble of plans begin and end at its times. Any number of plans can be under way. Thread
// of the loop.
class Disturber {
  public:
    using Clock = Trouble::Clock;

    // What there is to do beside what `trouble` says of messages.
    struct Deeds {
        std::function<void()> obey;   // the trouble in force is another
        std::function<void()> hurry;  // what it keeps waiting is to go on
        // The connections of that client, or all, are to end.
        std::function<void(std::optional<int32_t> client)> close;
    };

    // `trouble` lives longer than this.
    Disturber(asio::io_context& io, Trouble& trouble, Deeds deeds);

    // Carries the plan out, its times counted from now. What is due at once is done on return.
    void play(const std::vector<Step>& plan);
    // The end of all trouble, in force and still to come.
    void stop();
    // A line for each trouble in force, and for each to come with its time.
    std::vector<std::string> show() const;

  private:
    void carryOut(const Order& order, Clock::time_point now);
    void doDue();

    Trouble& trouble_;
    Deeds deeds_;
    std::multimap<Clock::time_point, Order> toCome_;
    asio::steady_timer timer_;
};

}  // namespace pallbus
