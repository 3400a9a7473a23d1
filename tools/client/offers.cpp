#include "client/offers.h"

#include <algorithm>

#include "client/human_form.h"
#include "client/safe_text.h"
#include "client/wire_form.h"

namespace pallctl {

namespace {

std::string aboutOf(const Parameter& parameter) {
    const std::string value = humanForm(parameter.descriptor, parameter.value.get());
    return printable(parameter.descriptor.label) + ": " + value;
}

// Some forms are only for the eye: a text that had to be escaped.
bool isTakenBack(const Parameter& parameter, const std::string& shown) {
    const WireForm wire = wireForm(parameter, shown);
    return wire.value && readsAs(parameter, wire.value.get()) &&
           shown.find('\\') == std::string::npos;
}

}  // namespace

std::vector<Offer> offerNames(const std::vector<const Parameter*>& parameters,
                              const DeviceObject& object, const std::string& word) {
    const std::string prefix = object.path() + ".";
    const bool full = word.starts_with(prefix);
    std::vector<Offer> offers;
    for (const Parameter* parameter : parameters) {
        const std::string& name = parameter->descriptor.name;
        offers.push_back({full ? name : object.leafOf(name), aboutOf(*parameter)});
    }
    if (!full && !word.empty()) {
        offers.push_back({prefix, ""});
    }
    const auto others = std::remove_if(offers.begin(), offers.end(), [&word](const Offer& offer) {
        return !beginsInAnyCase(offer.word, word);
    });
    offers.erase(others, offers.end());
    return offers;
}

std::vector<Offer> offerAssignments(const std::vector<const Parameter*>& parameters,
                                    const DeviceObject& object, const std::string& word) {
    const size_t equals = word.find('=');
    if (equals == std::string::npos) {
        std::vector<Offer> offers = offerNames(parameters, object, word);
        for (Offer& offer : offers) {
            offer.word += offer.word.ends_with('.') ? "" : "=";
        }
        return offers;
    }
    const std::string name = object.fullName(word.substr(0, equals));
    const auto found = std::find_if(
        parameters.begin(), parameters.end(),
        [&name](const Parameter* parameter) { return parameter->descriptor.name == name; });
    std::vector<Offer> offers = offerValues(found == parameters.end() ? nullptr : *found);
    for (Offer& offer : offers) {
        offer.word.insert(0, word, 0, equals + 1);
    }
    return offers;
}

std::vector<Offer> offerValues(const Parameter* parameter) {
    if (parameter == nullptr) {
        return {};
    }
    std::vector<Offer> offers;
    for (const Choice& choice : parameter->descriptor.choices) {
        offers.push_back({choice.name, ""});
    }
    const std::string value = humanForm(parameter->descriptor, parameter->value.get());
    if (offers.empty() && parameter->value && isTakenBack(*parameter, value)) {
        offers.push_back({value, ""});
    }
    return offers;
}

}  // namespace pallctl
