// The assignments are first checked against the descriptors of their parameters; if one of them
// does not fit, nothing is sent. Then each is sent as a request of its own, so that every answer
// belongs to one parameter. An assignment whose value is in force already is skipped when its turn
// comes, because an earlier one may have changed it. A signal ends the wait for an answer through a
// descriptor of the session.

#include "pallctl/commands/set_request.h"

#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <string_view>
#include <utility>

#include "bus/message_types.h"
#include "cli/escape.h"
#include "cli/standard_output.h"
#include "pallctl/network/network_plan.h"

namespace pallctl {

namespace {

constexpr Outcome kSet{"set", kSuccess};
constexpr Outcome kUnchanged{"unchanged", kSuccess};
constexpr Outcome kWouldSet{"wouldSet", kSuccess};
constexpr Outcome kRefusedByDevice{"refused", kRefused};

Outcome selectOutcome(std::optional<int> code) {
    if (!code) {
        return kUnanswered;
    }
    const ExitStatus status = client::exitStatusFor(*code);
    if (status == kSuccess) {
        return kSet;
    }
    return status == kNotFound ? kUnknownName : kRefusedByDevice;
}

std::string formatProblem(const Outcome& outcome, int code) {
    if (outcome.status == kSuccess) {
        return "";
    }
    return code == 0 ? "no answer; the set may still take effect"
                     : std::to_string(code) + " " + statusText(code);
}

// As in a job in the background of a script.
bool isIgnored(int signal) {
    struct sigaction action {};
    return ::sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

}  // namespace

util::UniqueJSON SetRequest::toJSON(const Change& change) {
    util::UniqueJSON object = util::jsonObject();
    util::addMember(object.get(), "name", util::jsonString(change.name));
    util::addMember(object.get(), "outcome", util::jsonString(change.outcome.word));
    util::addMember(object.get(), "statusCode",
                    change.code == 0 ? util::jsonNull() : util::jsonNumber(change.code));
    util::addMember(object.get(), "problem",
                    change.problem.empty() ? util::jsonNull() : util::jsonString(change.problem));
    if (change.outcome.word == std::string_view(kWouldSet.word)) {
        util::addMember(object.get(), "value", util::copyJSON(change.value.get()));
    }
    return object;
}

ExitStatus SetRequest::parse(const std::vector<std::string>& words) {
    ExitStatus status = kSuccess;
    for (const std::string& word : words) {
        status = std::max(status, parse(word));
    }
    return status;
}

ExitStatus SetRequest::parse(const std::string& word) {
    const size_t equals = word.find('=');
    if (equals == std::string::npos || equals == 0) {
        return reject(changes_.emplace_back(Change{word}), kInvalidValue,
                      "needs the form NAME=VALUE");
    }
    const std::string name = client_.device().fullName(word.substr(0, equals));
    Change* const earlier = findChange(name);
    if (earlier == nullptr) {
        changes_.push_back({name, word.substr(equals + 1)});
        return kSuccess;
    }
    return earlier->isRejected() ? kUsage : reject(*earlier, kInvalidValue, "given more than once");
}

void SetRequest::add(const std::string& name, util::UniqueJSON value) {
    changes_.push_back({name, "", std::move(value)});
}

size_t SetRequest::countSet() const {
    return static_cast<size_t>(std::ranges::count_if(changes_, [](const Change& change) {
        return change.outcome.word == std::string_view(kSet.word);
    }));
}

SetRequest::Change* SetRequest::findChange(const std::string& name) {
    const auto found = std::ranges::find(changes_, name, &Change::name);
    return found == changes_.end() ? nullptr : &*found;
}

std::vector<std::string> SetRequest::names() const {
    std::vector<std::string> names;
    for (const Change& change : changes_) {
        if (!change.isRejected()) {
            names.push_back(change.name);
        }
    }
    return names;
}

ExitStatus SetRequest::plan() {
    ExitStatus status = kSuccess;
    for (Change& change : changes_) {
        status = std::max(status, change.isRejected() ? change.outcome.status : plan(change));
    }
    return status;
}

ExitStatus SetRequest::plan(Change& change) const {
    const client::Parameter* parameter = client_.cache().described(change.name);
    if (!parameter && !options_.force) {
        return reject(change, kUnknownName, client_.describeUnknown(change.name));
    }
    client::ParsedValue parsed = parseValue(parameter, change.text);
    if (!parsed.value) {
        return reject(change, kInvalidValue, parsed.problem);
    }
    change.value = std::move(parsed.value);
    return kSuccess;
}

ExitStatus SetRequest::reject(Change& change, const Outcome& outcome, const std::string& problem) {
    client::complain(change.name, problem);
    change.outcome = outcome;
    change.problem = problem;
    return outcome.status;
}

client::ParsedValue SetRequest::parseValue(const client::Parameter* parameter,
                                           const std::string& text) const {
    if (options_.force) {
        return parseForced(parameter, text);
    }
    if (parameter->descriptor.readOnly) {
        return {nullptr, "is read-only"};
    }
    return style_.raw ? client::parseRawValue(parameter->descriptor, text)
                      : client::parseValue(*parameter, text);
}

client::ParsedValue SetRequest::parseForced(const client::Parameter* parameter,
                                            const std::string& text) const {
    if (style_.raw) {
        return client::parseRawValue(client::Descriptor(), text);
    }
    client::ParsedValue parsed =
        parameter ? client::parseValue(*parameter, text) : client::ParsedValue();
    return parsed.value ? std::move(parsed)
                        : client::ParsedValue{client::parseUntypedValue(text), ""};
}

// Whether nothing is to be sent; of a structure only the members that differ are.
bool SetRequest::skipUnchanged(Change& change, const client::Parameter* parameter) const {
    if (options_.always || !parameter) {
        return false;
    }
    const bool isSame = client::isSameValue(parameter->value.get(), change.value.get());
    if (isSame) {
        change.outcome = kUnchanged;
        change.problem.clear();
        change.value.reset();
        if (style_.format == Format::table) {
            client::complain(change.name,
                             "is " + formatOneLine(*parameter, style_) + " already; not sent");
        }
    } else if (cJSON_IsObject(change.value.get())) {
        client::dropSameMembers(parameter->value.get(), change.value.get());
    }
    return isSame;
}

// The wanted value as it is shown once it is set.
std::string SetRequest::formatPreview(const Change& change,
                                      const client::Parameter* parameter) const {
    client::Parameter wanted{parameter ? parameter->descriptor : client::Descriptor(),
                             util::copyJSON(change.value.get())};
    wanted.descriptor.name = change.name;
    return "would set " + cli::escapeForTerminal(change.name) + " from " +
           (parameter ? formatOneLine(*parameter, style_) : "-") + " to " +
           formatOneLine(wanted, style_) + '\n';
}

ExitStatus SetRequest::send(int& signal) {
    std::optional<cli::SignalFD> signals;
    if (!isIgnored(SIGINT)) {
        signals.emplace(std::initializer_list<int>{SIGINT, SIGTERM});
        client_.session().endWith(signals->descriptor());
    }
    ExitStatus status = kSuccess;
    for (Change& change : changes_) {
        if (status != kNoAnswer && !isInterrupted()) {
            send(change);
        }
        if (!change.problem.empty()) {
            client::complain(change.name, change.problem);
        }
        status = std::max(status, change.outcome.status);
    }
    signal = signals ? signals->take() : 0;
    return status;
}

bool SetRequest::isInterrupted() {
    client_.session().pause(client::Deadline());
    return client_.session().outputGone();
}

void SetRequest::send(Change& change) {
    if (skipUnchanged(change, client_.cache().described(change.name))) {
        return;
    }
    suggestRollback(change.name);
    const auto code = client_.device().set(change.name, std::move(change.value));
    change.outcome = selectOutcome(code);
    change.code = code.value_or(0);
    change.problem = !code && client_.session().outputGone()
                         ? "interrupted; the set may still take effect"
                         : formatProblem(change.outcome, change.code);
}

// Only for people; through a prefix the old settings cannot be read.
void SetRequest::suggestRollback(const std::string& name) const {
    const NetworkMember* const member = findNetworkMember(client_.device().leafName(name));
    if (member && !client_.device().isThroughPrefix() && ::isatty(STDERR_FILENO) == 1) {
        client::complain(name,
                         std::string("takes effect even if it disconnects you; 'pallctl network ") +
                             member->option + "' rolls back unless confirmed");
    }
}

// Instead of send(): prints what it would send.
void SetRequest::preview() {
    for (Change& change : changes_) {
        const client::Parameter* parameter = client_.cache().described(change.name);
        if (!skipUnchanged(change, parameter)) {
            change.outcome = kWouldSet;
            change.problem.clear();
            if (style_.format == Format::table) {
                cli::print(formatPreview(change, parameter));
            }
        }
    }
}

void SetRequest::report() const {
    if (style_.format == Format::json) {
        const util::UniqueJSON object = util::jsonObject();
        for (const Change& change : changes_) {
            util::addMember(object.get(), change.name.c_str(), toJSON(change));
        }
        cli::print(jsonLine(object.get()) + "\n");
    } else if (style_.format == Format::keyvalue) {
        for (const Change& change : changes_) {
            cli::print(formatAssignment(change.name, change.outcome.word) + "\n");
        }
    }
}

}  // namespace pallctl
