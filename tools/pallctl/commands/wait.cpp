// All parameters are read once, and every condition is checked against the descriptor of its
// parameter. Then the follower keeps the cache up to date, and the conditions are evaluated after
// each message.

#include <algorithm>
#include <iterator>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "cli/standard_output.h"
#include "pallctl/commands/commands.h"
#include "pallctl/values/condition.h"

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

// A condition with the parameter that it is about, as far as they are known.
struct Term {
    Condition condition;
    std::string name;                              // full
    const client::Parameter* parameter = nullptr;  // owned by the cache
    util::UniqueJSON wanted = nullptr;

    bool isMet() const { return pallctl::isMet(*parameter, condition.comparison, wanted.get()); }
};

// Waits until all conditions are met at the same time.
class Wait {
  public:
    Wait(const client::ConnectionOptions& connection, const Style& style,
         const std::vector<Condition>& conditions)
        : client_(limitTimeout(connection), client::Subscription::announcements),
          style_(style),
          timeout_(connection.timeout),
          latestStart_(client::Clock::now() + connection.wait) {
        for (const Condition& condition : conditions) {
            terms_.push_back({condition, client_.device().fullName(condition.name)});
        }
    }

    ExitStatus run() {
        ExitStatus status = begin();
        if (status == kSuccess) {
            status = follow();
        }
        if (status == kFailed) {
            client::complain("standard output", "the reader has gone");
        } else {
            report(status);
        }
        return status;
    }

  private:
    ExitStatus begin() {
        std::vector<std::string> names;
        for (const Term& term : terms_) {
            names.push_back(term.name);
        }
        ExitStatus status = client_.read(names);
        if (status != kSuccess) {
            return status;
        }
        for (Term& term : terms_) {
            status = std::max(status, begin(term));
        }
        startClock();
        return status != kSuccess && outputGone() ? kFailed : status;
    }

    // Errors are not worth a message when the output went before the first reading was complete.
    ExitStatus begin(Term& term) const {
        term.parameter = client_.cache().described(term.name);
        if (!term.parameter) {
            complain(term, client_.describeUnknown(term.name));
            return kNotFound;
        }
        client::ParsedValue parsed = parseWanted(*term.parameter, term.condition, style_.raw);
        if (!parsed.value) {
            complain(term, parsed.problem);
            return kUsage;
        }
        term.wanted = std::move(parsed.value);
        return kSuccess;
    }

    void complain(const Term& term, const std::string& problem) const {
        if (!outputGone()) {
            client::complain(term.name, problem);
        }
    }

    // The timeout starts when bus and daemon are there.
    void startClock() {
        if (timeout_) {
            giveUp_ = std::min(client::Clock::now(), latestStart_) + *timeout_;
        }
    }

    ExitStatus follow() {
        while (!std::ranges::all_of(terms_, &Term::isMet)) {
            if (outputGone()) {
                return kFailed;
            }
            if (client::Clock::now() >= giveUp_) {
                reportTimeout();
                return kTimedOut;
            }
            client_.follow(giveUp_);
        }
        return kSuccess;
    }

    void reportTimeout() const {
        for (const Term& term : terms_) {
            if (!term.isMet()) {
                complain(term, "timed out; the value is " + formatOneLine(*term.parameter, style_));
            }
        }
    }

    // Prints the parameters that are known, and the outcome.
    void report(ExitStatus status) const {
        if (style_.format == Format::json) {
            reportJSON(outcomeWord(status));
        } else if (style_.format == Format::keyvalue) {
            std::set<std::string> seen;
            for (const Term& term : terms_) {
                if (term.parameter && seen.insert(term.name).second) {
                    cli::print(formatAssignment(*term.parameter, style_) + "\n");
                }
            }
            cli::print(formatAssignment("outcome", outcomeWord(status)) + "\n");
        }
    }

    void reportJSON(const char* outcome) const {
        const util::UniqueJSON object = util::jsonObject();
        for (const Term& term : terms_) {
            if (!util::jsonMember(object.get(), term.name.c_str())) {
                util::UniqueJSON member =
                    term.parameter ? toJSON(*term.parameter) : util::jsonObject();
                if (!term.parameter) {
                    util::addMember(member.get(), "name", util::jsonString(term.name));
                }
                util::addMember(member.get(), "outcome", util::jsonString(outcome));
                util::addMember(object.get(), term.name.c_str(), std::move(member));
            }
        }
        cli::print(jsonLine(object.get()) + "\n");
    }

    bool outputGone() const { return client_.session().outputGone(); }

    client::Client client_;
    Style style_;
    std::optional<milliseconds> timeout_;
    client::Deadline latestStart_;  // of the timeout
    client::Deadline giveUp_ = client::Deadline::max();
    std::vector<Term> terms_;
};

ExitStatus wait(const Options& options, const std::vector<std::string>& words) {
    std::vector<Condition> conditions;
    for (const std::string& word : words) {
        const auto condition = parseCondition(word);
        if (!condition) {
            client::complain(word, "needs the form NAME=VALUE, or with != < <= > >=");
            return kUsage;
        }
        conditions.push_back(*condition);
    }
    return Wait(options.connection(), options.style(), conditions).run();
}

}  // namespace

void addWait(cli::Command program, const Options& options) {
    cli::Command command = program.addCommand("wait", "Wait until parameters have these values");
    const auto conditions = std::make_shared<std::vector<std::string>>();
    command
        .add("NAME=VALUE", *conditions,
             "Compared by type, not as text; also with !=, '<', '<=', '>' and '>='")
        .required();
    command.notes(
        "Waits until all conditions are met at the same time. Exits with 9 when --timeout\n"
        "has passed; without it waits forever.");
    command.work([&options, conditions] { return wait(options, *conditions); });
}

}  // namespace pallctl
