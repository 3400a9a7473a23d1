#include <algorithm>
#include <memory>

#include "cli/standard_output.h"
#include "pallctl/commands/commands.h"

namespace pallctl {

namespace {

// For people one value on each line and nothing else.
std::string formatValues(const std::vector<const client::Parameter*>& parameters,
                         const Style& style) {
    if (style.format != Format::table) {
        return formatParameters(parameters, style);
    }
    std::string lines;
    for (const client::Parameter* parameter : parameters) {
        lines += formatOneLine(*parameter, style) + '\n';
    }
    return lines;
}

ExitStatus get(const Options& options, const std::vector<std::string>& names) {
    client::Client client(options.connection(), client::Subscription::answers);
    ExitStatus status = client.read(names);
    if (status != kSuccess) {
        return status;
    }
    std::vector<const client::Parameter*> parameters = findParameters(client, names, status);
    std::erase_if(parameters, [&](const client::Parameter* parameter) {
        const bool isHidden = client.device().hidesValue(*parameter);
        if (isHidden) {
            client::complain(parameter->descriptor.name,
                             "its value is not readable through a prefix");
            status = std::max(status, kNoAnswer);
        }
        return isHidden;
    });
    cli::print(formatValues(parameters, options.style()));
    return status;
}

}  // namespace

std::vector<const client::Parameter*> findParameters(const client::Client& client,
                                                     const std::vector<std::string>& names,
                                                     ExitStatus& status) {
    std::vector<const client::Parameter*> parameters;
    for (const std::string& name : client.expand(names)) {
        if (const client::Parameter* parameter = client.cache().described(name)) {
            parameters.push_back(parameter);
        } else {
            client::complain(name, client.describeUnknown(name));
            status = std::max(status, kNotFound);
        }
    }
    return parameters;
}

void requirePlainFormat(const Options& options) {
    const Style style = options.style();
    if (style.format != Format::table || style.raw) {
        throw cli::UsageError("does not support --json, --keyvalue and --raw");
    }
}

void addGet(cli::Command program, const Options& options) {
    cli::Command command = program.addCommand("get", "Print values, one line each");
    const auto names = std::make_shared<std::vector<std::string>>();
    command.add("NAME", *names).required();
    command.work([&options, names] { return get(options, *names); });
}

}  // namespace pallctl
