#include "client/verbs.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <utility>

#include "bus/message_types.h"
#include "client/human_form.h"
#include "client/wire_form.h"

namespace pallctl {

namespace {

struct Change {
    std::string name;
    UniqueJSON value;
};

ExitStatus worse(ExitStatus one, ExitStatus other) {
    return std::max(one, other);
}

std::string nameOf(const std::string& assignment) {
    return assignment.substr(0, assignment.find('='));
}

// For people one value on each line and nothing else.
std::string valuesOf(const std::vector<const Parameter*>& parameters, const Style& style) {
    if (style.format != Format::table) {
        return listing(parameters, style);
    }
    std::string lines;
    for (const Parameter* parameter : parameters) {
        lines += shownValue(*parameter, style) + '\n';
    }
    return lines;
}

WireForm plan(const Parameter* parameter, const std::string& text) {
    if (!parameter) {
        return {plainWireForm(text), ""};
    }
    if (parameter->descriptor.readOnly) {
        return {nullptr, "is read-only"};
    }
    return wireForm(parameter->descriptor, text);
}

ExitStatus planAll(const Client& client, const std::vector<std::string>& assignments,
                   std::vector<Change>& changes) {
    ExitStatus status = kSuccess;
    for (const std::string& assignment : assignments) {
        const std::string name = client.device().fullName(nameOf(assignment));
        WireForm form =
            plan(client.mirror().described(name), assignment.substr(assignment.find('=') + 1));
        if (!form.value) {
            complain(name, form.problem);
            status = kUsage;
        }
        changes.push_back({name, std::move(form.value)});
    }
    return status;
}

ExitStatus carryOut(Device& device, Change& change) {
    const auto code = device.set(change.name, std::move(change.value));
    if (!code) {
        complain(change.name, "no answer; it may still be carried out");
        return kNoAnswer;
    }
    if (*code >= 200 && *code < 300) {
        return kSuccess;
    }
    complain(change.name, std::to_string(*code) + " " + statusText(*code));
    return *code == 404 ? kNotFound : kRefused;
}

bool isAssignment(const std::string& text) {
    return text.find('=') != std::string::npos && text.front() != '=';
}

}  // namespace

ExitStatus get(const Reach& reach, const Style& style, const std::vector<std::string>& names) {
    Client client(reach, Interest::answers);
    ExitStatus status = client.read(names);
    if (status != kSuccess) {
        return status;
    }
    std::vector<const Parameter*> found;
    for (const std::string& name : client.device().fullNames(names)) {
        if (const Parameter* parameter = client.mirror().described(name)) {
            found.push_back(parameter);
        } else {
            complain(name, "not found");
            status = kNotFound;
        }
    }
    std::fputs(valuesOf(found, style).c_str(), stdout);
    return status;
}

ExitStatus set(const Reach& reach, const std::vector<std::string>& assignments) {
    for (const std::string& assignment : assignments) {
        if (!isAssignment(assignment)) {
            complain(assignment, "needs the form NAME=VALUE");
            return kUsage;
        }
    }
    std::vector<std::string> names;
    std::transform(assignments.begin(), assignments.end(), std::back_inserter(names), nameOf);
    Client client(reach, Interest::answers);
    ExitStatus status = client.read(names);
    std::vector<Change> changes;
    if (status == kSuccess) {
        status = planAll(client, assignments, changes);
    }
    if (status != kSuccess) {
        return status;
    }
    for (Change& change : changes) {
        status = worse(status, carryOut(client.device(), change));
    }
    return status;
}

ExitStatus list(const Reach& reach, const Style& style) {
    Client client(reach, Interest::answers);
    const ExitStatus status = client.read(client.catalogue());
    if (status == kSuccess) {
        std::fputs(listing(client.described(), style).c_str(), stdout);
    }
    return status;
}

}  // namespace pallctl
