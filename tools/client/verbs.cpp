#include "client/verbs.h"

#include <algorithm>

#include "client/description.h"
#include "client/safe_text.h"
#include "program/standard_output.h"

namespace pallctl {

namespace {

constexpr const char* kVersionNames[] = {"version", "frameName"};
constexpr const char* kOwnName = "pallctl";

// Through a prefix the daemon tells the values of what it saves, and of what changes.
bool isUntold(const Client& client, const Parameter& parameter) {
    return client.device().isThroughPrefix() && !hasValue(parameter);
}

// Those of the names that the device describes; complains of the others.
std::vector<const Parameter*> found(const Client& client, const std::vector<std::string>& names,
                                    ExitStatus& status) {
    std::vector<const Parameter*> parameters;
    for (const std::string& name : client.device().fullNames(names)) {
        if (const Parameter* parameter = client.mirror().described(name)) {
            parameters.push_back(parameter);
        } else {
            complain(name, "not found");
            status = std::max(status, kNotFound);
        }
    }
    return parameters;
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

// This program, as one more thing that has a value.
Parameter ownParameter(const std::string& version) {
    Parameter own;
    own.descriptor.name = kOwnName;
    own.descriptor.label = "Version of this program";
    own.descriptor.type = "STRING";
    own.descriptor.readOnly = true;
    own.value = jsonString(version);
    return own;
}

}  // namespace

ExitStatus get(const Reach& reach, const Style& style, const std::vector<std::string>& names) {
    Client client(reach, Interest::answers);
    ExitStatus status = client.read(names);
    if (status != kSuccess) {
        return status;
    }
    std::vector<const Parameter*> parameters = found(client, names, status);
    for (const Parameter* parameter : parameters) {
        if (isUntold(client, *parameter)) {
            complain(parameter->descriptor.name, "its value is not told through a prefix");
            status = std::max(status, kNoAnswer);
        }
    }
    std::erase_if(parameters, [&](const Parameter* each) { return isUntold(client, *each); });
    print(valuesOf(parameters, style));
    return status;
}

ExitStatus list(const Reach& reach, const Style& style) {
    Client client(reach, Interest::answers);
    const ExitStatus status = client.read(client.catalogue());
    if (status != kSuccess) {
        return status;
    }
    const auto parameters = client.described();
    const auto untold =
        std::count_if(parameters.begin(), parameters.end(),
                      [&](const Parameter* each) { return isUntold(client, *each); });
    if (untold > 0) {
        complain(reach.object, std::to_string(untold) + " values are not told through a prefix");
    }
    print(listing(parameters, style));
    return kSuccess;
}

ExitStatus describe(const Reach& reach, const Style& style, const std::vector<std::string>& names) {
    Client client(reach, Interest::answers);
    ExitStatus status = client.read(names.empty() ? client.catalogue() : names);
    if (status == kSuccess) {
        const auto parameters = names.empty() ? client.described() : found(client, names, status);
        print(description(parameters, style));
    }
    return status;
}

ExitStatus version(const Reach& reach, const Style& style, const std::string& ownVersion) {
    const Parameter own = ownParameter(ownVersion);
    std::vector<const Parameter*> parameters{&own};
    Client client(reach, Interest::answers);
    if (client.read({std::begin(kVersionNames), std::end(kVersionNames)}) == kSuccess) {
        for (const char* name : kVersionNames) {
            if (const Parameter* told = client.mirror().described(client.device().fullName(name))) {
                parameters.push_back(told);
            }
        }
    }
    print(style.format == Format::table ? namedValues(parameters, style)
                                        : listing(parameters, style));
    return kSuccess;
}

}  // namespace pallctl
