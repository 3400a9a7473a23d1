#include "client/verbs.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <utility>

#include "bus/message_types.h"
#include "client/catalogue_names.h"
#include "client/human_form.h"
#include "client/table.h"

namespace pallctl {

namespace {

struct Change {
    std::string name;
    UniqueJSON value;
};

ExitStatus worse(ExitStatus one, ExitStatus other) {
    return std::max(one, other);
}

std::vector<std::string> fullNames(std::vector<std::string> names) {
    std::transform(names.begin(), names.end(), names.begin(), fullName);
    return names;
}

// Null when the device does not describe it: it may have announced a value all the same.
const Parameter* described(const Mirror& mirror, const std::string& name) {
    const Parameter* parameter = mirror.find(name);
    return parameter && !parameter->descriptor.type.empty() ? parameter : nullptr;
}

std::string nameOf(const std::string& assignment) {
    return fullName(assignment.substr(0, assignment.find('=')));
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

ExitStatus planAll(const Mirror& mirror, const std::vector<std::string>& assignments,
                   std::vector<Change>& changes) {
    ExitStatus status = kSuccess;
    for (const std::string& assignment : assignments) {
        const std::string name = nameOf(assignment);
        WireForm form = plan(described(mirror, name), assignment.substr(assignment.find('=') + 1));
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

void addRow(Table& table, const Parameter& parameter) {
    const Descriptor& descriptor = parameter.descriptor;
    table.add({printable(descriptor.name), humanForm(descriptor, parameter.value.get()),
               printable(descriptor.type), descriptor.readOnly ? "yes" : "no"});
}

}  // namespace

ExitStatus get(const Reach& reach, const std::vector<std::string>& names) {
    Client client(reach, Interest::answers);
    ExitStatus status = client.read(fullNames(names));
    if (status != kSuccess) {
        return status;
    }
    for (const std::string& name : fullNames(names)) {
        if (const Parameter* parameter = described(client.mirror(), name)) {
            std::printf("%s\n", humanForm(parameter->descriptor, parameter->value.get()).c_str());
        } else {
            complain(name, "not found");
            status = kNotFound;
        }
    }
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
        status = planAll(client.mirror(), assignments, changes);
    }
    if (status != kSuccess) {
        return status;
    }
    for (Change& change : changes) {
        status = worse(status, carryOut(client.device(), change));
    }
    return status;
}

ExitStatus list(const Reach& reach) {
    Client client(reach, Interest::answers);
    const ExitStatus status = client.read(catalogueNames());
    if (status == kSuccess) {
        std::fputs(parameterTable(client.mirror()).c_str(), stdout);
    }
    return status;
}

std::string parameterTable(const Mirror& mirror, const std::set<std::string>& only) {
    std::vector<std::string> names = catalogueNames();
    for (const Parameter* parameter : mirror.all()) {
        const std::string& name = parameter->descriptor.name;
        if (std::find(names.begin(), names.end(), name) == names.end()) {
            names.push_back(name);
        }
    }
    Table table({"NAME", "VALUE", "TYPE", "READ-ONLY"});
    for (const std::string& name : names) {
        const Parameter* parameter = described(mirror, name);
        if (parameter && (only.empty() || only.contains(name))) {
            addRow(table, *parameter);
        }
    }
    return table.text();
}

}  // namespace pallctl
