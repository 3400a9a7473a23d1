#include "soaking/ledger.h"

#include <algorithm>
#include <utility>

namespace soak {

namespace {

// What is not foreseeable is not known.
void note(std::map<std::string, std::string>& known, const Request& request) {
    if (request.kept.empty()) {
        known.erase(request.parameter->name);
    } else {
        known[request.parameter->name] = request.kept;
    }
}

bool isSteady(const std::string& name) {
    return std::ranges::any_of(writableParameters(), [&name](const Parameter& parameter) {
        return parameter.steady && name == parameter.name;
    });
}

}  // namespace

void Ledger::setTrouble(bool trouble) {
    trouble_ = trouble;
    for (Open& open : outstanding_) {
        open.excused = open.excused || trouble;
    }
}

void Ledger::fault(size_t Counts::*kind, bool excused, size_t times) {
    counts_.*(excused ? &Counts::excused : kind) += times;
}

void Ledger::sent(Request request, Clock::time_point now) {
    ++counts_.requests;
    counts_.answersDue += request.answers;
    Open open{std::move(request), now, 0, trouble_, false, {}};
    open.answersLeft = open.request.answers;
    for (const std::string& name : open.request.names) {
        const auto known = promised_.find(name);
        if (known != promised_.end() && isSteady(name)) {
            open.expected.insert(*known);
        }
    }
    if (open.request.parameter != nullptr) {
        note(promised_, open.request);
    }
    outstanding_.push_back(std::move(open));
}

std::optional<Request> Ledger::answered(const Answer& answer) {
    const auto found = std::ranges::find_if(
        outstanding_, [&answer](const Open& open) { return open.request.number == answer.number; });
    if (found == outstanding_.end()) {
        fault(&Counts::unexpected, trouble_);
        return std::nullopt;
    }
    std::for_each(outstanding_.begin(), found, [this](const Open& open) { lose(open); });
    outstanding_.erase(outstanding_.begin(), found);

    Open& open = outstanding_.front();
    ++counts_.answers;
    if (answer.status != open.request.status) {
        fault(&Counts::wrongStatus, open.excused);
    }
    const auto expected = open.expected.find(answer.name);
    if (expected != open.expected.end() && expected->second != answer.value) {
        fault(&Counts::wrongValue, open.excused);
    }
    if (--open.answersLeft > 0) {
        return std::nullopt;
    }
    finish(open);
    std::optional<Request> done = std::move(open.request);
    outstanding_.pop_front();
    return done;
}

void Ledger::finish(const Open& open) {
    if (open.request.parameter != nullptr) {
        note(acknowledged_, open.request);
        if (!open.announced) {
            fault(&Counts::unannounced, open.excused);
        }
    }
}

void Ledger::notified(const std::string& name, const std::string& value) {
    ++counts_.notifications;
    for (Open& open : outstanding_) {
        const Request& request = open.request;
        if (!open.announced && request.parameter != nullptr && request.parameter->name == name &&
            (request.announced.empty() || request.announced == value)) {
            open.announced = true;
            return;
        }
    }
}

std::vector<Request> Ledger::cutOff() {
    std::vector<Request> requests;
    for (Open& open : outstanding_) {
        counts_.cutOff += open.answersLeft;
        if (open.request.parameter != nullptr) {
            promised_.erase(open.request.parameter->name);
            acknowledged_.erase(open.request.parameter->name);
        }
        requests.push_back(std::move(open.request));
    }
    outstanding_.clear();
    return requests;
}

void Ledger::giveUpOn(Clock::time_point sentBefore) {
    while (!outstanding_.empty() && outstanding_.front().since < sentBefore) {
        lose(outstanding_.front());
        outstanding_.pop_front();
    }
}

void Ledger::lose(const Open& open) {
    fault(&Counts::lost, open.excused, open.answersLeft);
    if (open.request.parameter != nullptr) {
        promised_.erase(open.request.parameter->name);
        acknowledged_.erase(open.request.parameter->name);
    }
}

bool Ledger::networkSetOutstanding() const {
    return std::ranges::any_of(outstanding_, [](const Open& open) {
        return open.request.parameter != nullptr && open.request.parameter->isNetwork();
    });
}

std::optional<std::string> Ledger::acknowledged(const std::string& name) const {
    const auto known = acknowledged_.find(name);
    return known == acknowledged_.end() ? std::nullopt : std::optional(known->second);
}

}  // namespace soak
