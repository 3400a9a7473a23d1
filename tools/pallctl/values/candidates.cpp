#include "pallctl/values/candidates.h"

#include <algorithm>

#include "cli/escape.h"
#include "client/format_value.h"
#include "client/parse_value.h"

namespace pallctl {

namespace {

std::string aboutOf(const client::Parameter& parameter) {
    const std::string value = client::formatValue(parameter.descriptor, parameter.value.get());
    return cli::escapeForTerminal(parameter.descriptor.label) + ": " + value;
}

// Some forms are only for the eye: a text that had to be escaped.
bool isTakenBack(const client::Parameter& parameter, const std::string& shown) {
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
    std::vector<cli::Completion> offers;
    for (const client::Parameter* parameter : parameters) {
        const std::string& name = parameter->descriptor.name;
        offers.push_back({full ? name : object.leafName(name), aboutOf(*parameter)});
    }
    if (!full && !word.empty()) {
        offers.push_back({prefix, ""});
    }
    const auto others =
        std::remove_if(offers.begin(), offers.end(), [&word](const cli::Completion& offer) {
            return !cli::startsWithIgnoringCase(offer.word, word);
        });
    offers.erase(others, offers.end());
    return offers;
}

std::vector<cli::Completion> completeAssignments(
    const std::vector<const client::Parameter*>& parameters, const client::DevicePath& object,
    const std::string& word) {
    const size_t equals = word.find('=');
    if (equals == std::string::npos) {
        std::vector<cli::Completion> offers = completeNames(parameters, object, word);
        for (cli::Completion& offer : offers) {
            offer.word += offer.word.ends_with('.') ? "" : "=";
        }
        return offers;
    }
    const std::string name = object.fullName(word.substr(0, equals));
    const auto found = std::find_if(
        parameters.begin(), parameters.end(),
        [&name](const client::Parameter* parameter) { return parameter->descriptor.name == name; });
    std::vector<cli::Completion> offers =
        completeValues(found == parameters.end() ? nullptr : *found);
    for (cli::Completion& offer : offers) {
        offer.word.insert(0, word, 0, equals + 1);
    }
    return offers;
}

std::vector<cli::Completion> completeValues(const client::Parameter* parameter) {
    if (parameter == nullptr) {
        return {};
    }
    std::vector<cli::Completion> offers;
    for (const client::Choice& choice : parameter->descriptor.choices) {
        offers.push_back({choice.name, ""});
    }
    const std::string value = client::formatValue(parameter->descriptor, parameter->value.get());
    if (offers.empty() && parameter->value && isTakenBack(*parameter, value)) {
        offers.push_back({value, ""});
    }
    return offers;
}

}  // namespace pallctl
