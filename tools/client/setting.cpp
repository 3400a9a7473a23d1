#include "client/setting.h"

#include <unistd.h>

#include <algorithm>
#include <set>
#include <utility>

#include "bus/message_types.h"
#include "client/assignment.h"
#include "client/network_plan.h"
#include "client/outcome.h"
#include "client/wire_form.h"
#include "program/standard_output.h"

namespace pallctl {

namespace {

constexpr Outcome kSet{"set", kSuccess};
constexpr Outcome kUnchanged{"unchanged", kSuccess};
constexpr Outcome kRefusedByDevice{"refused", kRefused};
constexpr Outcome kNotSent{"notSent", kNoAnswer};

// One parameter to set, and what came of it.
struct Change {
    std::string name;
    UniqueJSON value = nullptr;
    Outcome outcome = kNotSent;
    int code = 0;                      // of the answer; 0: none
    std::string problem = "not sent";  // empty: none
};

Outcome outcomeOf(std::optional<int> code) {
    if (!code) {
        return kUnanswered;
    }
    const ExitStatus status = statusOf(*code);
    if (status == kSuccess) {
        return kSet;
    }
    return status == kNotFound ? kUnknownName : kRefusedByDevice;
}

std::string problemOf(const Outcome& outcome, int code) {
    if (outcome.status == kSuccess) {
        return "";
    }
    return code == 0 ? "no answer; it may still be carried out"
                     : std::to_string(code) + " " + statusText(code);
}

UniqueJSON jsonForm(const Change& change) {
    UniqueJSON object = jsonObject();
    addMember(object.get(), "name", jsonString(change.name));
    addMember(object.get(), "outcome", jsonString(change.outcome.word));
    addMember(object.get(), "statusCode", change.code == 0 ? jsonNull() : jsonNumber(change.code));
    addMember(object.get(), "problem",
              change.problem.empty() ? jsonNull() : jsonString(change.problem));
    return object;
}

// The full name that stands twice, in whatever form; null for none.
const std::string* findRepeated(const std::vector<std::string>& names) {
    std::set<std::string> seen;
    const auto repeated = std::find_if(names.begin(), names.end(),
                                       [&](const auto& name) { return !seen.insert(name).second; });
    return repeated == names.end() ? nullptr : &*repeated;
}

// All that one command line sets.
class Setting {
  public:
    Setting(Client& client, const Style& style, const SetOptions& options)
        : client_(client), style_(style), options_(options) {}

    // For what cannot even be looked at.
    void leave(const std::vector<Assignment>& assignments) {
        for (const Assignment& assignment : assignments) {
            changes_.push_back({client_.device().fullName(assignment.name)});
        }
    }

    // Complains of what cannot be sent.
    ExitStatus plan(const std::vector<Assignment>& assignments) {
        ExitStatus status = kSuccess;
        for (const Assignment& assignment : assignments) {
            status = std::max(status, plan(assignment));
        }
        return status;
    }

    ExitStatus carryOut() {
        ExitStatus status = kSuccess;
        for (Change& change : changes_) {
            if (status != kNoAnswer) {
                carryOut(change);
            }
            if (!change.problem.empty()) {
                complain(change.name, change.problem);
            }
            status = std::max(status, change.outcome.status);
        }
        return status;
    }

    void report() const {
        if (style_.format == Format::json) {
            const UniqueJSON object = jsonObject();
            for (const Change& change : changes_) {
                addMember(object.get(), change.name.c_str(), jsonForm(change));
            }
            print(jsonLine(object.get()) + "\n");
        } else if (style_.format == Format::keyvalue) {
            for (const Change& change : changes_) {
                print(keyValueForm(change.name, change.outcome.word) + "\n");
            }
        }
    }

  private:
    ExitStatus plan(const Assignment& assignment) {
        Change change{client_.device().fullName(assignment.name)};
        const Parameter* parameter = client_.mirror().described(change.name);
        if (!parameter && !options_.force) {
            return drop(std::move(change), kUnknownName, "not found");
        }
        WireForm form = formOf(parameter, assignment.value);
        if (!form.value) {
            return drop(std::move(change), kUnfitValue, form.problem);
        }
        change.value = std::move(form.value);
        changes_.push_back(std::move(change));
        return kSuccess;
    }

    ExitStatus drop(Change change, const Outcome& outcome, const std::string& problem) {
        complain(change.name, problem);
        change.outcome = outcome;
        change.problem = problem;
        changes_.push_back(std::move(change));
        return outcome.status;
    }

    WireForm formOf(const Parameter* parameter, const std::string& text) const {
        if (options_.force) {
            return forcedForm(parameter, text);
        }
        if (parameter->descriptor.readOnly) {
            return {nullptr, "is read-only"};
        }
        return style_.raw ? rawForm(parameter->descriptor, text) : wireForm(*parameter, text);
    }

    WireForm forcedForm(const Parameter* parameter, const std::string& text) const {
        if (style_.raw) {
            return rawForm(Descriptor(), text);
        }
        WireForm form = parameter ? wireForm(*parameter, text) : WireForm();
        return form.value ? std::move(form) : WireForm{plainWireForm(text), ""};
    }

    // Looks at what is set only now: an earlier one may have changed it.
    void carryOut(Change& change) {
        const Parameter* parameter = client_.mirror().described(change.name);
        if (!options_.always && parameter &&
            isSameValue(parameter->value.get(), change.value.get())) {
            change.outcome = kUnchanged;
            change.problem.clear();
            if (style_.format == Format::table) {
                complain(change.name,
                         "is " + shownValue(*parameter, style_) + " already, not sent");
            }
            return;
        }
        if (!options_.always && parameter && cJSON_IsObject(change.value.get())) {
            dropSameMembers(parameter->value.get(), change.value.get());
        }
        tellOfTheWayBack(change.name);
        const auto code = client_.device().set(change.name, std::move(change.value));
        change.outcome = outcomeOf(code);
        change.code = code.value_or(0);
        change.problem = problemOf(change.outcome, change.code);
    }

    // A script knows what it does, and a device behind a prefix cannot be asked for the old ones.
    void tellOfTheWayBack(const std::string& name) const {
        const NetworkMember* const member = networkMember(client_.device().leafOf(name));
        if (member && !client_.device().isThroughPrefix() && ::isatty(STDERR_FILENO) == 1) {
            complain(name, std::string("stays also when it cuts you off; pallctl network ") +
                               member->option + " has a way back");
        }
    }

    Client& client_;
    Style style_;
    SetOptions options_;
    std::vector<Change> changes_;
};

}  // namespace

ExitStatus set(const Reach& reach, const Style& style, const std::vector<std::string>& words,
               const SetOptions& options) {
    const auto assignments = parseAssignments(words);
    if (!assignments) {
        return kUsage;
    }
    Client client(reach, Interest::changes);
    const auto names = client.device().fullNames(namesOf(*assignments));
    // What is told to programs has one place for each name.
    if (const std::string* const repeated = findRepeated(names)) {
        complain(*repeated, "stands twice");
        return kUsage;
    }
    Setting setting(client, style, options);
    ExitStatus status = client.read(names);
    if (status != kSuccess) {
        setting.leave(*assignments);
    } else if (status = setting.plan(*assignments); status == kSuccess) {
        status = setting.carryOut();
    }
    setting.report();
    return status;
}

}  // namespace pallctl
