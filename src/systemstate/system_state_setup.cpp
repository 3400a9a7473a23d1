// Builds the device: parameters from the state file are kept, and missing ones are created.

#include <optional>
#include <utility>

#include "model/param_values.h"
#include "systemstate/build_properties.h"
#include "systemstate/catalogue.h"
#include "systemstate/param_factory.h"
#include "systemstate/param_keys.h"
#include "systemstate/paths.h"
#include "systemstate/system_state.h"
#include "util/log.h"
#include "util/text.h"
#include "util/trace.h"

namespace systemstate {

namespace {

// Makes the service what its held parameter says. True when that parameter is to stay.
bool restoreService(ServiceControl& services, const Reaction& reaction, const ToskParam& held) {
    if (const std::optional<int64_t> number = model::readInteger(&held)) {
        (services.*reaction.setRunning)(*number != 0);
        return true;
    }
    (services.*reaction.setRunning)(!reaction.keepsUnusable);
    return reaction.keepsUnusable;
}

void buildService(SystemState& state, const CatalogueRow& row, const CatalogueSources& sources) {
    const ToskParam* const held = state.findParam(row.key);
    if (held != nullptr && restoreService(state.services(), *row.reaction, *held)) {
        return;
    }
    std::unique_ptr<ToskParam> made = makeParam(row, sources);
    if (held == nullptr) {
        (state.services().*row.reaction->setRunning)(*model::readInteger(made.get()) != 0);
    }
    state.device()->addParam(std::move(made));
}

void buildRow(SystemState& state, const CatalogueRow& row, const CatalogueSources& sources) {
    if (row.reaction != nullptr && row.reaction->setRunning != nullptr) {
        buildService(state, row, sources);
    } else {
        state.device()->addParam(makeParam(row, sources));
    }
}

// A parameter that was saved under a tunnelled name ("frameB.system.frameName") belongs to the row
// all the same: what was saved is not lost to a request for its descriptor.
void restoreTunnelledName(ToskDevice& device, const CatalogueRow& row) {
    const std::string tunnelled = std::string(".") + row.key;
    for (const auto& [key, param] : device.params()) {
        if (key.ends_with(tunnelled)) {
            device.rename(key, ToskOID(row.key, 1));
            return;
        }
    }
}

void restoreTunnelledNames(ToskDevice& device) {
    for (const auto& group :
         {rowsBuiltBy(Builder::identityGroup), rowsBuiltBy(Builder::mainCatalogue)}) {
        for (const CatalogueRow& row : group) {
            if (device.findParam(row.key) == nullptr) {
                restoreTunnelledName(device, row);
            }
        }
    }
}

// True when the setting was not there and had to be made.
bool ensureSetting(SystemState& state, const CatalogueRow& row, const CatalogueSources& sources) {
    if (state.findParam(row.key) != nullptr) {
        return false;
    }
    state.device()->addParam(makeParam(row, sources));
    return true;
}

// A name of another kind than text, which only a damaged file brings, cannot take the label over
// and makes way for a new one.
void replaceFrameName(SystemState& state, const std::string& label,
                      const CatalogueSources& sources) {
    state.parameters().setText(kFrameNameKey, label);
    if (state.findParam(kFrameNameKey)->valueToString() != label) {
        std::unique_ptr<ToskParam> made = makeParam(*findRow(kFrameNameKey), sources);
        made->setValue(std::make_shared<ToskStringValue>(label));
        made->setListener(&state);
        state.device()->addParam(std::move(made));
    }
}

// Gives the frame the name on its label. True when it had another one.
bool correctFrameName(SystemState& state, const std::string& label,
                      const CatalogueSources& sources) {
    const std::string held = state.findParam(kFrameNameKey)->valueToString();
    if (held == label) {
        return false;
    }
    replaceFrameName(state, label, sources);
    util::logMessage(LOG_INFO, "*DEBUG* Device Name is mismatched: device[%s] label[%s]\n",
                     util::shownPayload(held).c_str(), util::shownPayload(label).c_str());
    return true;
}

void buildSerialParams(SystemState& state, const CatalogueSources& sources) {
    for (const CatalogueRow& row : rowsBuiltBy(Builder::serialPorts)) {
        util::trace("%s oid=%s\n", "addSerialStatusParams", row.key);
        state.device()->addParam(makeParam(row, sources));
    }
}

// Any parameter can be set from the bus, also one that only the state file knows.
void listenToAll(SystemState& state) {
    for (const auto& [key, param] : state.device()->params()) {
        param->setListener(&state);
    }
}

}  // namespace

}  // namespace systemstate

void SystemState::buildIdentityGroup(const std::string& deviceLabel) {
    if (device() == nullptr) {
        ownDevice_ = std::make_unique<ToskDevice>();
        addDevice(ownDevice_.get());
    }
    systemstate::restoreTunnelledNames(*device());
    const systemstate::CatalogueSources sources{machine_,       product_, ethernetPorts_,
                                                masterDetails_, {},       {}};
    bool changed = false;
    for (const systemstate::CatalogueRow& row :
         systemstate::rowsBuiltBy(systemstate::Builder::identityGroup)) {
        changed = systemstate::ensureSetting(*this, row, sources) || changed;
    }
    systemstate::listenToAll(*this);
    if (isTessaraFrame() && !deviceLabel.empty()) {
        changed = systemstate::correctFrameName(*this, deviceLabel, sources) || changed;
    }
    if (changed) {
        saveToOwnPath(false);
    }
}

void SystemState::buildCatalogue() {
    const std::string buildText = machine_.readFile(systemstate::kBuildPropertiesFile).value_or("");
    const systemstate::CatalogueSources sources{
        machine_,        product_,
        ethernetPorts_,  masterDetails_,
        network_.read(), systemstate::versionText(systemstate::decodeBuildProperties(buildText))};
    for (const systemstate::CatalogueRow& row :
         systemstate::rowsBuiltBy(systemstate::Builder::mainCatalogue)) {
        systemstate::buildRow(*this, row, sources);
    }
    systemstate::buildSerialParams(*this, sources);
    systemstate::listenToAll(*this);
}
