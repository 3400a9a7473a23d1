#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include <asio/io_context.hpp>

#include "bus/timer.h"
#include "pallbus/faults/fault_injector.h"
#include "pallbus/faults/fault_script.h"

namespace pallbus::broker {

// Starts and ends faults at their times. Any number of scripts can run at once. Thread of the loop.
class FaultScheduler {
  public:
    using Clock = faults::FaultInjector::Clock;

    // What the server does beside asking the injector about each message.
    struct Actions {
        std::function<void()> applyActive;   // the active faults have changed
        std::function<void()> flushDelayed;  // delivers what the faults hold back
        // Closes the connections of that client, or all of them.
        std::function<void(std::optional<int32_t> client)> closeConnections;
    };

    // `injector` outlives this.
    FaultScheduler(asio::io_context& io, faults::FaultInjector& injector, Actions actions);

    // Runs the steps, their times counted from now. Steps that are due have been run on return.
    void run(const std::vector<faults::FaultStep>& steps);
    // Ends all active faults and discards the scheduled ones.
    void clear();
    // One line for each active fault, and one for each scheduled fault with its time.
    std::vector<std::string> describe() const;

  private:
    void endFaults();
    void execute(const faults::FaultRule& fault, Clock::time_point now);
    void executeDue();

    faults::FaultInjector& injector_;
    Actions actions_;
    std::multimap<Clock::time_point, faults::FaultRule> scheduled_;
    lumo::Timer timer_;
};

}  // namespace pallbus::broker
