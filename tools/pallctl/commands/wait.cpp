#include <algorithm>
#include <iterator>
#include <memory>
#include <optional>
#include <utility>

#include "cli/standard_output.h"
#include "client/parse_value.h"
#include "pallctl/commands/commands.h"

namespace pallctl {

namespace {

using std::chrono::milliseconds;

constexpr milliseconds kReadTimeout = client::Timeouts().read;

// A single answer takes no longer than the whole wait.
client::ConnectionOptions limitTimeout(client::ConnectionOptions connection) {
    connection.timeout = std::min(connection.timeout.value_or(kReadTimeout), kReadTimeout);
    return connection;
}

constexpr Outcome kOutcomes[] = {
    {"reached", kSuccess}, kInvalidValue,     kUnknownName,
    kUnanswered,           {"noBus", kNoBus}, {"timeout", kTimedOut},
};

const char* outcomeWord(ExitStatus status) {
    return std::find_if(std::begin(kOutcomes), std::end(kOutcomes),
                        [=](const Outcome& outcome) { return outcome.status == status; })
        ->word;
}

class Wait {
  public:
    Wait(const client::ConnectionOptions& connection, const Style& style)
        : client_(limitTimeout(connection), client::Subscription::announcements),
          style_(style),
          timeout_(connection.timeout),
          latestStart_(client::Clock::now() + connection.wait) {}

    ExitStatus run(const Assignment& wanted) {
        ExitStatus status = begin(wanted);
        if (status == kSuccess) {
            status = follow();
        }
        if (status == kFailed) {
            client::complain("standard output", "the reader has gone");
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
        parameter_ = client_.cache().described(client_.device().fullName(wanted.name));
        if (!parameter_ && outputGone()) {
            return kFailed;  // before the first reading was complete
        }
        if (!parameter_) {
            client::complain(client_.device().fullName(wanted.name), "not found");
            return kNotFound;
        }
        client::ParsedValue parsed =
            style_.raw ? client::parseRawValue(parameter_->descriptor, wanted.value)
                       : client::parseValue(*parameter_, wanted.value);
        if (!parsed.value) {
            client::complain(parameter_->descriptor.name, parsed.problem);
            return kUsage;
        }
        wanted_ = std::move(parsed.value);
        startClock();
        return kSuccess;
    }

    // The timeout starts when bus and daemon are there.
    void startClock() {
        if (timeout_) {
            giveUp_ = std::min(client::Clock::now(), latestStart_) + *timeout_;
        }
    }

    ExitStatus follow() {
        while (!client::hasValueAsShown(*parameter_, wanted_.get())) {
            if (outputGone()) {
                return kFailed;
            }
            if (client::Clock::now() >= giveUp_) {
                client::complain(parameter_->descriptor.name,
                                 "timed out; the value is " + formatOneLine(*parameter_, style_));
                return kTimedOut;
            }
            client_.follow(giveUp_);
        }
        return kSuccess;
    }

    // Prints the parameter, once it is known, and the outcome.
    void report(const std::string& name, ExitStatus status) const {
        if (style_.format == Format::json) {
            util::UniqueJSON outcome = parameter_ ? toJSON(*parameter_) : util::jsonObject();
            if (!parameter_) {
                util::addMember(outcome.get(), "name", util::jsonString(name));
            }
            util::addMember(outcome.get(), "outcome", util::jsonString(outcomeWord(status)));
            const util::UniqueJSON object = util::jsonObject();
            util::addMember(object.get(), name.c_str(), std::move(outcome));
            cli::print(jsonLine(object.get()) + "\n");
        } else if (style_.format == Format::keyvalue) {
            const std::string value =
                parameter_ ? formatAssignment(*parameter_, style_) + '\n' : "";
            cli::print(value + formatAssignment("outcome", outcomeWord(status)) + "\n");
        }
    }

    bool outputGone() const { return client_.session().outputGone(); }

    client::Client client_;
    Style style_;
    std::optional<milliseconds> timeout_;
    client::Deadline latestStart_;  // of the timeout
    client::Deadline giveUp_ = client::Deadline::max();
    const client::Parameter* parameter_ = nullptr;  // owned by the cache
    util::UniqueJSON wanted_;
};

ExitStatus wait(const Options& options, const std::string& assignment) {
    const auto wanted = parseAssignments({assignment});
    return wanted ? Wait(options.connection(), options.style()).run(wanted->front()) : kUsage;
}

}  // namespace

void addWait(cli::Command program, const Options& options) {
    cli::Command command = program.addCommand("wait", "Wait until a parameter has a value");
    const auto assignment = std::make_shared<std::string>();
    command.add("NAME=VALUE", *assignment, "Compared by type, not as text").required();
    command.notes("Exits with 9 when --timeout has passed; without it waits forever.");
    command.work([&options, assignment] { return wait(options, *assignment); });
}

}  // namespace pallctl
