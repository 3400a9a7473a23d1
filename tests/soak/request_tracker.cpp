#include "soak_lib/request_tracker.h"

#include <algorithm>
#include <utility>

namespace soak {

namespace {

bool isSteady(const std::string& name) {
    return std::ranges::any_of(writableParameters(), [&name](const Parameter& parameter) {
        return parameter.steady && name == parameter.name;
    });
}

}  // namespace

void RequestTracker::setExcused(bool excused) {
    excused_ = excused;
    if (!excused) {
        return;
    }
    for (PendingRequest& pending : pending_) {
        pending.excused = true;
        promise(pending);
    }
}

void RequestTracker::countFailure(size_t Counts::*kind, bool excused, size_t times) {
    counts_.*(excused ? &Counts::excused : kind) += times;
}

// A value that a fault may have damaged or that cannot be predicted is not promised.
void RequestTracker::promise(const PendingRequest& pending) {
    const Request& request = pending.request;
    if (request.parameter == nullptr) {
        return;
    }
    if (pending.excused || request.kept.empty()) {
        promised_.erase(request.parameter->name);
    } else {
        promised_[request.parameter->name] = request.kept;
    }
}

void RequestTracker::sent(Request request, Clock::time_point now) {
    ++counts_.requests;
    counts_.answersDue += request.answers;
    const size_t answers = request.answers;
    PendingRequest pending{
        std::move(request), now, settings_.edition(), answers, excused_, false, {}};
    for (const std::string& name : pending.request.names) {
        const auto known = promised_.find(name);
        if (known != promised_.end() && isSteady(name)) {
            pending.expected.insert(*known);
        }
    }
    promise(pending);
    pending_.push_back(std::move(pending));
}

void RequestTracker::answered(const Answer& answer) {
    const auto found = std::ranges::find_if(pending_, [&answer](const PendingRequest& pending) {
        return pending.request.number == answer.number;
    });
    if (found == pending_.end()) {
        countFailure(&Counts::unexpected, excused_);
        return;
    }
    std::for_each(pending_.begin(), found, [this](const auto& pending) { lose(pending); });
    pending_.erase(pending_.begin(), found);

    PendingRequest& pending = pending_.front();
    ++counts_.answers;
    if (answer.status != pending.request.status) {
        countFailure(&Counts::wrongStatus, pending.excused);
    }
    const auto expected = pending.expected.find(answer.name);
    if (expected != pending.expected.end() && expected->second != answer.value) {
        countFailure(&Counts::wrongValue, pending.excused);
    }
    if (--pending.answersLeft == 0) {
        finish(pending);
        pending_.pop_front();
    }
}

void RequestTracker::finish(const PendingRequest& pending) {
    const Request& request = pending.request;
    if (request.parameter == nullptr) {
        return;
    }
    if (!pending.announced) {
        countFailure(&Counts::unannounced, pending.excused);
    }
    const bool known = !pending.excused && !request.kept.empty();
    settings_.acknowledge(*request.parameter, known ? std::optional(request.kept) : std::nullopt,
                          pending.edition);
}

void RequestTracker::notified(const std::string& name, const std::string& value) {
    ++counts_.notifications;
    const auto announced = std::ranges::find_if(pending_, [&](const PendingRequest& pending) {
        const Request& request = pending.request;
        return !pending.announced && request.parameter != nullptr &&
               request.parameter->name == name &&
               (request.announced.empty() || request.announced == value);
    });
    if (announced != pending_.end()) {
        announced->announced = true;
    }
}

void RequestTracker::expire(Clock::time_point sentBefore) {
    while (!pending_.empty() && pending_.front().since < sentBefore) {
        lose(pending_.front());
        pending_.pop_front();
    }
}

void RequestTracker::lose(const PendingRequest& pending) {
    countFailure(&Counts::lost, pending.excused, pending.answersLeft);
    if (pending.request.parameter != nullptr) {
        promised_.erase(pending.request.parameter->name);
        settings_.forget(*pending.request.parameter);
    }
}

bool RequestTracker::isNetworkSetPending() const {
    return std::ranges::any_of(pending_, [](const PendingRequest& pending) {
        return pending.request.parameter != nullptr && pending.request.parameter->isNetwork();
    });
}

}  // namespace soak
