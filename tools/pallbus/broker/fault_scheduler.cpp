#include "pallbus/broker/fault_scheduler.h"

#include <utility>

namespace pallbus::broker {

using std::chrono::duration_cast;
using std::chrono::milliseconds;

FaultScheduler::FaultScheduler(asio::io_context& io, faults::FaultInjector& injector,
                               Actions actions)
    : injector_(injector), actions_(std::move(actions)), timer_(io, [this] { executeDue(); }) {}

void FaultScheduler::run(const std::vector<faults::FaultStep>& steps) {
    const Clock::time_point now = Clock::now();
    for (const faults::FaultStep& step : steps) {
        scheduled_.emplace(now + step.at, step.fault);
    }
    executeDue();
}

void FaultScheduler::clear() {
    scheduled_.clear();
    endFaults();
    executeDue();
}

void FaultScheduler::endFaults() {
    injector_.clear();
    actions_.flushDelayed();
}

void FaultScheduler::execute(const faults::FaultRule& fault, Clock::time_point now) {
    switch (fault.kind) {
        case faults::FaultKind::clear:
            endFaults();
            break;
        case faults::FaultKind::close:
            actions_.closeConnections(fault.client);
            break;
        default:
            injector_.add(fault, now);
    }
}

// Faults expire before new ones start. Each step runs at its nominal time, however late the loop
// calls.
void FaultScheduler::executeDue() {
    const Clock::time_point now = Clock::now();
    while (!scheduled_.empty() && scheduled_.begin()->first <= now) {
        const auto due = scheduled_.extract(scheduled_.begin());
        injector_.expire(due.key());
        execute(due.mapped(), due.key());
    }
    injector_.expire(now);
    actions_.applyActive();

    std::optional<Clock::time_point> next = injector_.nextExpiry();
    if (!scheduled_.empty() && (!next || scheduled_.begin()->first < *next)) {
        next = scheduled_.begin()->first;
    }
    if (next) {
        timer_.arm(*next - Clock::now());
    }
}

std::vector<std::string> FaultScheduler::describe() const {
    const Clock::time_point now = Clock::now();
    std::vector<std::string> lines = injector_.describeActive(now);
    for (const auto& [due, fault] : scheduled_) {
        const auto left = duration_cast<milliseconds>(due - now).count();
        lines.push_back("at " + std::to_string(left) + "ms " + fault.text.words);
    }
    return lines;
}

}  // namespace pallbus::broker
