#include "pallctl/values/candidates.h"

#include <strings.h>

#include <algorithm>

#include "cli/escape.h"
#include "client/format_value.h"
#include "client/parse_value.h"

namespace pallctl {

namespace {

std::string describe(const client::Parameter& parameter) {
    const std::string value = client::formatValue(parameter.descriptor, parameter.value.get());
    return cli::escapeForTerminal(parameter.descriptor.label) + ": " + value;
}

// Not a text with escapes: it is shown in a way that cannot be typed.
bool canBeTyped(const client::Parameter& parameter, const std::string& shown) {
    const client::ParsedValue wire = client::parseValue(parameter, shown);
    return wire.value && client::hasValueAsShown(parameter, wire.value.get()) &&
           shown.find('\\') == std::string::npos;
}

}  // namespace

std::vector<cli::Completion> completeNames(const std::vector<const client::Parameter*>& parameters,
                                           const client::DevicePath& object,
                                           const std::string& word) {
    const std::string prefix = object.path() + ".";
    const bool full = word.starts_with(prefix);
    std::vector<cli::Completion> completions;
    for (const client::Parameter* parameter : parameters) {
        const std::string& name = parameter->descriptor.name;
        completions.push_back({full ? name : object.leafName(name), describe(*parameter)});
    }
    if (!full && !word.empty()) {
        completions.push_back({prefix, ""});
    }
    std::erase_if(completions, [&](const cli::Completion& completion) {
        return !cli::startsWithIgnoringCase(completion.word, word);
    });
    return completions;
}

std::vector<cli::Completion> completeAssignments(
    const std::vector<const client::Parameter*>& parameters, const client::DevicePath& object,
    const std::string& word) {
    const size_t equals = word.find('=');
    if (equals == std::string::npos) {
        std::vector<cli::Completion> completions = completeNames(parameters, object, word);
        for (cli::Completion& completion : completions) {
            completion.word += completion.word.ends_with('.') ? "" : "=";
        }
        return completions;
    }
    const std::string name = object.fullName(word.substr(0, equals));
    const auto found = std::ranges::find_if(parameters, [&](const client::Parameter* each) {
        return ::strcasecmp(each->descriptor.name.c_str(), name.c_str()) == 0;
    });
    std::vector<cli::Completion> completions =
        completeValues(found == parameters.end() ? nullptr : *found);
    for (cli::Completion& completion : completions) {
        completion.word.insert(0, word, 0, equals + 1);
    }
    return completions;
}

std::vector<cli::Completion> completeValues(const client::Parameter* parameter) {
    if (parameter == nullptr) {
        return {};
    }
    std::vector<cli::Completion> completions;
    for (const client::Choice& choice : parameter->descriptor.choices) {
        completions.push_back({choice.name, ""});
    }
    const std::string value = client::formatValue(parameter->descriptor, parameter->value.get());
    if (completions.empty() && parameter->value && canBeTyped(*parameter, value)) {
        completions.push_back({value, ""});
    }
    return completions;
}

}  // namespace pallctl
