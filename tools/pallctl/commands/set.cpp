// The assignments are first checked against the descriptors of their parameters; if one of them
// does not fit, nothing is sent. Then each is sent as a request of its own, so that every answer
// belongs to one parameter. An assignment whose value is in force already is skipped when its turn
// comes, because an earlier one may have changed it.

#include <unistd.h>

#include <algorithm>
#include <memory>
#include <set>
#include <string_view>
#include <utility>

#include "bus/message_types.h"
#include "cli/escape.h"
#include "cli/standard_output.h"
#include "client/parse_value.h"
#include "pallctl/commands/commands.h"
#include "pallctl/network/network_plan.h"

namespace pallctl {

namespace {

constexpr Outcome kSet{"set", kSuccess};
constexpr Outcome kUnchanged{"unchanged", kSuccess};
constexpr Outcome kWouldSet{"wouldSet", kSuccess};
constexpr Outcome kRefusedByDevice{"refused", kRefused};
constexpr Outcome kNotSent{"notSent", kNoAnswer};

struct SetOptions {
    bool force = false;   // send values that do not fit, also to unknown parameters
    bool always = false;  // send values that are in force: an equal value restarts services
    bool dryRun = false;  // send nothing
};

// One parameter to set, and the outcome.
struct Change {
    std::string name;
    util::UniqueJSON value = nullptr;
    Outcome outcome = kNotSent;
    int code = 0;                      // of the response; 0: none
    std::string problem = "not sent";  // empty on success
};

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

util::UniqueJSON toJSON(const Change& change) {
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

// The full name that is given more than once, in any form; or null.
const std::string* findRepeated(const std::vector<std::string>& names) {
    std::set<std::string> seen;
    const auto repeated = std::find_if(names.begin(), names.end(),
                                       [&](const auto& name) { return !seen.insert(name).second; });
    return repeated == names.end() ? nullptr : &*repeated;
}

// The assignments of one command line.
class SetRequest {
  public:
    SetRequest(client::Client& client, const Style& style, const SetOptions& options)
        : client_(client), style_(style), options_(options) {}

    // When the device could not be read.
    void markNotSent(const std::vector<Assignment>& assignments) {
        for (const Assignment& assignment : assignments) {
            changes_.push_back({client_.device().fullName(assignment.name)});
        }
    }

    // Reports the assignments that cannot be sent.
    ExitStatus plan(const std::vector<Assignment>& assignments) {
        ExitStatus status = kSuccess;
        for (const Assignment& assignment : assignments) {
            status = std::max(status, plan(assignment));
        }
        return status;
    }

    ExitStatus send() {
        ExitStatus status = kSuccess;
        for (Change& change : changes_) {
            if (status != kNoAnswer) {
                send(change);
            }
            if (!change.problem.empty()) {
                client::complain(change.name, change.problem);
            }
            status = std::max(status, change.outcome.status);
        }
        return status;
    }

    // Instead of send(): prints what it would send.
    void preview() {
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

    void report() const {
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

  private:
    ExitStatus plan(const Assignment& assignment) {
        Change change{client_.device().fullName(assignment.name)};
        const client::Parameter* parameter = client_.cache().described(change.name);
        if (!parameter && !options_.force) {
            return reject(std::move(change), kUnknownName, "not found");
        }
        client::ParsedValue parsed = parse(parameter, assignment.value);
        if (!parsed.value) {
            return reject(std::move(change), kInvalidValue, parsed.problem);
        }
        change.value = std::move(parsed.value);
        changes_.push_back(std::move(change));
        return kSuccess;
    }

    ExitStatus reject(Change change, const Outcome& outcome, const std::string& problem) {
        client::complain(change.name, problem);
        change.outcome = outcome;
        change.problem = problem;
        changes_.push_back(std::move(change));
        return outcome.status;
    }

    client::ParsedValue parse(const client::Parameter* parameter, const std::string& text) const {
        if (options_.force) {
            return parseForced(parameter, text);
        }
        if (parameter->descriptor.readOnly) {
            return {nullptr, "is read-only"};
        }
        return style_.raw ? client::parseRawValue(parameter->descriptor, text)
                          : client::parseValue(*parameter, text);
    }

    client::ParsedValue parseForced(const client::Parameter* parameter,
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
    bool skipUnchanged(Change& change, const client::Parameter* parameter) const {
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
    std::string formatPreview(const Change& change, const client::Parameter* parameter) const {
        client::Parameter wanted{parameter ? parameter->descriptor : client::Descriptor(),
                                 util::copyJSON(change.value.get())};
        wanted.descriptor.name = change.name;
        return "would set " + cli::escapeForTerminal(change.name) + " from " +
               (parameter ? formatOneLine(*parameter, style_) : "-") + " to " +
               formatOneLine(wanted, style_) + '\n';
    }

    void send(Change& change) {
        if (skipUnchanged(change, client_.cache().described(change.name))) {
            return;
        }
        suggestRollback(change.name);
        const auto code = client_.device().set(change.name, std::move(change.value));
        change.outcome = selectOutcome(code);
        change.code = code.value_or(0);
        change.problem = formatProblem(change.outcome, change.code);
    }

    // Only for people; through a prefix the old settings cannot be read.
    void suggestRollback(const std::string& name) const {
        const NetworkMember* const member = findNetworkMember(client_.device().leafName(name));
        if (member && !client_.device().isThroughPrefix() && ::isatty(STDERR_FILENO) == 1) {
            client::complain(
                name, std::string("takes effect even if it disconnects you; 'pallctl network ") +
                          member->option + "' rolls back unless confirmed");
        }
    }

    client::Client& client_;
    Style style_;
    SetOptions options_;
    std::vector<Change> changes_;
};

ExitStatus set(const Options& options, const std::vector<std::string>& words,
               const SetOptions& setOptions) {
    const auto assignments = parseAssignments(words);
    if (!assignments) {
        return kUsage;
    }
    client::Client client(options.connection(), client::Subscription::changes);
    std::vector<std::string> names;
    for (const Assignment& assignment : *assignments) {
        names.push_back(client.device().fullName(assignment.name));
    }
    if (const std::string* const repeated = findRepeated(names)) {
        client::complain(*repeated, "given more than once");
        return kUsage;
    }
    SetRequest request(client, options.style(), setOptions);
    ExitStatus status = client.read(names);
    if (status != kSuccess) {
        request.markNotSent(*assignments);
    } else if (status = request.plan(*assignments); status == kSuccess) {
        if (setOptions.dryRun) {
            request.preview();
        } else {
            status = request.send();
        }
    }
    request.report();
    return status;
}

struct Arguments {
    std::vector<std::string> assignments;
    SetOptions options;
};

}  // namespace

std::optional<std::vector<Assignment>> parseAssignments(const std::vector<std::string>& words) {
    std::vector<Assignment> assignments;
    for (const std::string& word : words) {
        const size_t equals = word.find('=');
        if (equals == std::string::npos || equals == 0) {
            client::complain(word, "needs the form NAME=VALUE");
            return std::nullopt;
        }
        assignments.push_back({word.substr(0, equals), word.substr(equals + 1)});
    }
    return assignments;
}

void addSet(cli::Command program, const Options& options) {
    cli::Command command = program.addCommand("set", "Set values, one after the other");
    const auto arguments = std::make_shared<Arguments>();
    command.add("NAME=VALUE", arguments->assignments).required();
    command.addFlag("-f,--force", arguments->options.force,
                    "Send values that do not fit, and to unknown names");
    command.addFlag("-a,--always", arguments->options.always, "Send values that are set already");
    command.addFlag("-n,--dry-run", arguments->options.dryRun,
                    "Check the values and print what would be sent");
    command.work(
        [&options, arguments] { return set(options, arguments->assignments, arguments->options); });
}

}  // namespace pallctl
