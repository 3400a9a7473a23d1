#include "top/board.h"

#include <utility>

#include "client/catalogue_descriptors.h"
#include "client/human_form.h"
#include "top/text.h"

namespace top {

using pallctl::Parameter;

namespace {

// By the last part of the name.
const std::map<std::string, pallctl::Descriptor>& catalogue() {
    static const auto rows = [] {
        const pallctl::DeviceObject object(pallctl::kDaemonObject);
        std::map<std::string, pallctl::Descriptor> all;
        for (pallctl::Descriptor& descriptor : pallctl::catalogueDescriptors()) {
            const std::string leaf = object.leafOf(descriptor.name);
            all.emplace(leaf, std::move(descriptor));
        }
        return all;
    }();
    return rows;
}

}  // namespace

Board::Board(const std::string& object) : object_(object) {
    listen();
}

void Board::listen() {
    mirror_.setOnChange(
        [this](const Parameter& parameter) { changes_[parameter.descriptor.name] = now_; });
}

bool Board::take(const TarnInternalMessage& message, Moment at) {
    now_ = at;
    const bool arrived = object_.hear(message, mirror_);
    object_.takeDescriptors(message, mirror_);
    describeFromCatalogue();
    sample(at);
    return arrived;
}

// What was only announced: nobody need have asked while a recording was made, and through a prefix
// nobody can.
void Board::describeFromCatalogue() {
    if (object_.home() != pallctl::kDaemonObject) {
        return;
    }
    for (const Parameter* heard : mirror_.all()) {
        const auto known = catalogue().find(leafOf(*heard));
        if (heard->descriptor.type.empty() && known != catalogue().end()) {
            pallctl::Descriptor descriptor = known->second;
            descriptor.name = heard->descriptor.name;
            mirror_.describe({std::move(descriptor), copyJSON(heard->value.get())});
        }
    }
}

void Board::addCatalogue() {
    if (object_.home() == pallctl::kDaemonObject) {
        pallctl::describeCatalogue(object_, mirror_);
    }
}

void Board::lose(Moment at) {
    for (History& history : histories_) {
        history.add(at, std::nullopt);
    }
}

void Board::clear() {
    mirror_ = pallctl::Mirror();
    listen();
    changes_.clear();
    histories_ = {};
}

std::string Board::leafOf(const Parameter& parameter) const {
    return object_.leafOf(parameter.descriptor.name);
}

const Parameter* Board::find(const std::string& leaf) const {
    return mirror_.find(object_.fullName(leaf));
}

std::optional<Moment> Board::changedAt(const std::string& name) const {
    const auto found = changes_.find(name);
    return found == changes_.end() ? std::nullopt : std::optional(found->second);
}

void Board::sample(Moment at) {
    for (std::size_t voltage = 0; voltage < kVoltages.size(); ++voltage) {
        const Parameter* const parameter = find(kVoltages[voltage].leaf);
        if (parameter && cJSON_IsNumber(parameter->value.get())) {
            sample(histories_[voltage], parameter->value->valuedouble, at);
        }
    }
}

void Board::sample(History& history, double volts, Moment at) {
    // Until it has been measured, a voltage is published as 0 or, the battery's, as less.
    const bool isMeasured = volts > 0 || (volts == 0 && history.last());
    if (isMeasured && history.last() != volts) {
        history.add(at, volts);
    }
}

std::string valueOf(const Parameter* parameter) {
    return parameter ? showable(pallctl::humanForm(parameter->descriptor, parameter->value.get()))
                     : "-";
}

bool isFresh(const std::optional<Moment>& change, Moment now) {
    return change && now - *change < kFresh;
}

}  // namespace top
