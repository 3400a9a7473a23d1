#include "client/waiting.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <utility>

#include "client/assignment.h"
#include "client/outcome.h"
#include "client/wire_form.h"
#include "program/standard_output.h"

namespace pallctl {

namespace {

using std::chrono::milliseconds;

constexpr milliseconds kAnswerPatience = Patience().read;

// One answer may take no longer than all of it.
Reach forEachAnswer(Reach reach) {
    reach.timeout = std::min(reach.timeout.value_or(kAnswerPatience), kAnswerPatience);
    return reach;
}

constexpr Outcome kOutcomes[] = {
    {"reached", kSuccess}, kUnfitValue,       kUnknownName,
    kUnanswered,           {"noBus", kNoBus}, {"timeOver", kTimeOver},
};

const char* wordOf(ExitStatus status) {
    return std::find_if(std::begin(kOutcomes), std::end(kOutcomes),
                        [=](const Outcome& outcome) { return outcome.status == status; })
        ->word;
}

class Waiting {
  public:
    Waiting(const Reach& reach, const Style& style)
        : client_(forEachAnswer(reach), Interest::announcements),
          style_(style),
          timeout_(reach.timeout),
          latestBegin_(Clock::now() + reach.wait) {}

    ExitStatus run(const Assignment& wanted) {
        ExitStatus status = begin(wanted);
        if (status == kSuccess) {
            status = follow();
        }
        if (status == kFailed) {
            complain("standard output", "nobody reads it any more");
        } else {
            report(client_.device().fullName(wanted.name), status);
        }
        return status;
    }

  private:
    ExitStatus begin(const Assignment& wanted) {
        const ExitStatus status = client_.read({wanted.name});
        if (status != kSuccess) {
            return status;
        }
        parameter_ = client_.mirror().described(client_.device().fullName(wanted.name));
        if (!parameter_ && outputGone()) {
            return kFailed;  // it may not even have been read
        }
        if (!parameter_) {
            complain(client_.device().fullName(wanted.name), "not found");
            return kNotFound;
        }
        WireForm form = style_.raw ? rawForm(parameter_->descriptor, wanted.value)
                                   : wireForm(*parameter_, wanted.value);
        if (!form.value) {
            complain(parameter_->descriptor.name, form.problem);
            return kUsage;
        }
        wanted_ = std::move(form.value);
        startClock();
        return kSuccess;
    }

    // The time for the value does not begin before bus and daemon are there.
    void startClock() {
        if (timeout_) {
            giveUp_ = std::min(Clock::now(), latestBegin_) + *timeout_;
        }
    }

    ExitStatus follow() {
        while (!readsAs(*parameter_, wanted_.get())) {
            if (outputGone()) {
                return kFailed;
            }
            if (Clock::now() >= giveUp_) {
                complain(parameter_->descriptor.name, "is " + shownValue(*parameter_, style_));
                return kTimeOver;
            }
            listen();
        }
        return kSuccess;
    }

    // The parameter, once it is known, and what came of it.
    void report(const std::string& name, ExitStatus status) const {
        if (style_.format == Format::json) {
            UniqueJSON outcome = parameter_ ? jsonForm(*parameter_) : jsonObject();
            if (!parameter_) {
                addMember(outcome.get(), "name", jsonString(name));
            }
            addMember(outcome.get(), "outcome", jsonString(wordOf(status)));
            const UniqueJSON object = jsonObject();
            addMember(object.get(), name.c_str(), std::move(outcome));
            print(jsonLine(object.get()) + "\n");
        } else if (style_.format == Format::keyvalue) {
            const std::string value = parameter_ ? keyValueForm(*parameter_, style_) + '\n' : "";
            print(value + keyValueForm("outcome", wordOf(status)) + "\n");
        }
    }

    // Until there may be something new.
    void listen() {
        if (!client_.session().isOpen()) {
            stale_ = client_.reconnect(giveUp_);
        } else if (stale_) {
            const auto left = std::chrono::ceil<milliseconds>(giveUp_ - Clock::now());
            stale_ = !client_.device().read({parameter_->descriptor.name},
                                            std::min(left, kAnswerPatience));
        } else if (const auto message = client_.session().receive(giveUp_)) {
            client_.device().hear(*message);
            stale_ = client_.device().takeArrival();
        }
        client_.tellNews();
    }

    bool outputGone() const { return client_.session().outputGone(); }

    Client client_;
    Style style_;
    std::optional<milliseconds> timeout_;
    Deadline latestBegin_;  // bus and daemon are there by then, or never
    Deadline giveUp_ = Deadline::max();
    const Parameter* parameter_ = nullptr;  // of the mirror, which keeps it where it is
    UniqueJSON wanted_;
    bool stale_ = false;  // it may have changed unheard
};

}  // namespace

ExitStatus waitFor(const Reach& reach, const Style& style, const std::string& assignment) {
    const auto wanted = parseAssignments({assignment});
    return wanted ? Waiting(reach, style).run(wanted->front()) : kUsage;
}

}  // namespace pallctl
