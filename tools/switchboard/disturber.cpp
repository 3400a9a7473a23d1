#include "switchboard/disturber.h"

#include <utility>

namespace pallbus {

namespace {

using std::chrono::duration_cast;
using std::chrono::milliseconds;

std::string textOf(const Order& order) {
    const Rule* rule = std::get_if<Rule>(&order);
    return rule != nullptr ? textOf(*rule) : "calm";
}

}  // namespace

Disturber::Disturber(asio::io_context& io, Trouble& trouble, Deeds deeds)
    : trouble_(trouble), deeds_(std::move(deeds)), timer_(io) {}

void Disturber::play(const std::vector<Step>& plan) {
    const Clock::time_point now = Clock::now();
    for (const Step& step : plan) {
        toCome_.emplace(now + step.at, step.order);
    }
    doDue();
}

void Disturber::stop() {
    toCome_.clear();
    play({{milliseconds{}, Calm{}}});
}

void Disturber::carryOut(const Order& order, Clock::time_point now) {
    const Rule* rule = std::get_if<Rule>(&order);
    if (rule == nullptr) {
        trouble_.calm();
        deeds_.hurry();
    } else if (rule->kind == Kind::close) {
        deeds_.close(rule->client);
    } else {
        trouble_.begin(*rule, now);
    }
}

// What has lasted its time ends before anything new begins. Each thing is done at its own time by
// the books, however late the loop comes to it.
void Disturber::doDue() {
    const Clock::time_point now = Clock::now();
    while (!toCome_.empty() && toCome_.begin()->first <= now) {
        const auto due = toCome_.extract(toCome_.begin());
        trouble_.endDue(due.key());
        carryOut(due.mapped(), due.key());
    }
    trouble_.endDue(now);
    deeds_.obey();

    std::optional<Clock::time_point> next = trouble_.nextEnd();
    if (!toCome_.empty() && (!next || toCome_.begin()->first < *next)) {
        next = toCome_.begin()->first;
    }
    if (!next) {
        return;
    }
    timer_.expires_at(*next);
    timer_.async_wait([this](const asio::error_code& error) {
        if (!error) {
            doDue();
        }
    });
}

std::vector<std::string> Disturber::show() const {
    const Clock::time_point now = Clock::now();
    std::vector<std::string> lines = trouble_.show(now);
    for (const auto& [due, order] : toCome_) {
        const auto left = duration_cast<milliseconds>(due - now).count();
        lines.push_back("at " + std::to_string(left) + "ms " + textOf(order));
    }
    return lines;
}

}  // namespace pallbus
