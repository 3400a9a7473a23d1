// Each active fault is one rule with its counters. A message is checked against the rules in the
// order in which they were added: client and direction first, then the object, whose name is
// decoded only when a rule asks for it, then the frequency. What the rules do adds up in one
// Delivery; a dropped message meets no further rule, so that "next N" counts only messages that
// exist.

#include "pallbus/faults/fault_injector.h"

#include <algorithm>
#include <set>

#include "bus/tarn_internal_header.h"

namespace pallbus::faults {

namespace {

using std::chrono::duration_cast;
using std::chrono::milliseconds;

bool isAtOrBelow(const std::string& objectName, const std::string& object) {
    return objectName == object || object.empty() || objectName.starts_with(object + ".");
}

bool matchesClient(const FaultRule& rule, std::optional<int32_t> client) {
    return !rule.client || rule.client == client;
}

bool appliesToMessages(FaultKind kind) {
    return kind != FaultKind::refuse && kind != FaultKind::stall && kind != FaultKind::close;
}

}  // namespace

std::optional<std::string> parseObjectName(std::string_view message) {
    const size_t begin = message.find('[');
    const size_t end = message.find('\n');
    if (begin == std::string_view::npos || end == std::string_view::npos || end < begin) {
        return std::nullopt;
    }
    const std::string line(message.substr(begin, end - begin));
    const auto decoded = lumo::decodeHeader(line.c_str(), timespec{});
    return decoded ? std::optional(decoded->header.objectName) : std::nullopt;
}

void FaultInjector::add(const FaultRule& rule, Clock::time_point now) {
    std::erase_if(active_, [&rule](const ActiveFault& fault) { return fault.rule == rule; });
    active_.push_back({rule, rule.duration ? std::optional(now + *rule.duration) : std::nullopt,
                       newestConnection_});
}

void FaultInjector::expire(Clock::time_point now) {
    std::erase_if(active_,
                  [now](const ActiveFault& fault) { return fault.end && *fault.end <= now; });
}

std::optional<FaultInjector::Clock::time_point> FaultInjector::nextExpiry() const {
    std::optional<Clock::time_point> next;
    for (const ActiveFault& fault : active_) {
        if (fault.end && (!next || *fault.end < *next)) {
            next = fault.end;
        }
    }
    return next;
}

bool FaultInjector::refusesConnections() const {
    return std::ranges::any_of(
        active_, [](const ActiveFault& fault) { return fault.rule.kind == FaultKind::refuse; });
}

bool FaultInjector::readsFrom(std::optional<int32_t> client) const {
    return std::ranges::none_of(active_, [client](const ActiveFault& fault) {
        return fault.rule.kind == FaultKind::stall && matchesClient(fault.rule, client);
    });
}

Delivery FaultInjector::apply(const Transit& transit) {
    Delivery delivery;
    // Decoded at most once, and only when a rule asks for it.
    std::optional<std::optional<std::string>> name;
    const auto matchesObject = [&](const FaultRule& rule) {
        if (rule.object && !name) {
            name.emplace(parseObjectName(transit.message));
        }
        return !rule.object || (*name && isAtOrBelow(**name, *rule.object));
    };
    for (ActiveFault& fault : active_) {
        if (matches(fault, transit) && matchesObject(fault.rule) && isDue(fault)) {
            applyRule(fault.rule, delivery);
        }
        if (delivery.dropped) {
            break;
        }
    }
    std::erase_if(active_, [](const ActiveFault& fault) { return fault.exhausted; });
    return delivery;
}

// Everything but the object, which is more expensive to check.
bool FaultInjector::matches(const ActiveFault& fault, const Transit& transit) {
    const FaultRule& rule = fault.rule;
    return appliesToMessages(rule.kind) && matchesClient(rule, transit.client) &&
           (rule.direction == Direction::both || rule.direction == transit.direction) &&
           (rule.kind != FaultKind::blackhole || transit.connection <= fault.newestConnection);
}

bool FaultInjector::isDue(ActiveFault& fault) {
    const FaultRule& rule = fault.rule;
    ++fault.candidates;
    switch (rule.frequency) {
        case Frequency::always:
            break;
        case Frequency::percent:
            if (std::uniform_real_distribution<double>(0, 100)(random_) >= rule.percent) {
                return false;
            }
            break;
        case Frequency::every:
            if (fault.candidates % rule.number != 0) {
                return false;
            }
            break;
        case Frequency::next:
            fault.exhausted = fault.candidates >= rule.number;
            break;
    }
    ++fault.applied;
    return true;
}

void FaultInjector::applyRule(const FaultRule& rule, Delivery& delivery) {
    switch (rule.kind) {
        case FaultKind::drop:
        case FaultKind::blackhole:
            delivery.dropped = true;
            break;
        case FaultKind::delay:
            delivery.delay += milliseconds(std::uniform_int_distribution<milliseconds::rep>(
                rule.delayMin.count(), rule.delayMax.count())(random_));
            break;
        case FaultKind::corrupt:
            delivery.corruptedBytes += rule.count;
            break;
        case FaultKind::fragment:
            delivery.fragmented = true;
            break;
        case FaultKind::coalesce:
            delivery.coalesced = rule.count;
            break;
        case FaultKind::truncate:
            delivery.truncated = true;
            break;
        case FaultKind::close:
        case FaultKind::refuse:
        case FaultKind::stall:
        case FaultKind::clear:
            break;
    }
}

void FaultInjector::corruptBytes(std::span<char> bytes, size_t count) {
    std::set<size_t> positions;
    while (positions.size() < std::min(count, bytes.size())) {
        positions.insert(std::uniform_int_distribution<size_t>(0, bytes.size() - 1)(random_));
    }
    for (const size_t position : positions) {
        const int mask = std::uniform_int_distribution<int>(1, 255)(random_);
        bytes[position] = static_cast<char>(bytes[position] ^ mask);
    }
}

std::vector<std::string> FaultInjector::describeActive(Clock::time_point now) const {
    std::vector<std::string> lines;
    for (const ActiveFault& fault : active_) {
        std::string notes;
        if (appliesToMessages(fault.rule.kind)) {
            notes = " applied to " + std::to_string(fault.applied) + " of " +
                    std::to_string(fault.candidates) + " messages";
        }
        if (fault.end) {
            notes += " " + std::to_string(duration_cast<milliseconds>(*fault.end - now).count()) +
                     "ms left";
        }
        lines.push_back(fault.rule.text.words + (notes.empty() ? "" : "  #" + notes));
    }
    return lines;
}

}  // namespace pallbus::faults
