#include "systemstate/catalogue.h"

#include <array>
#include <cstddef>
#include <utility>
#include <vector>

#include "systemstate/machine.h"
#include "systemstate/param_keys.h"
#include "systemstate/places.h"
#include "systemstate/product.h"

namespace {

using Sources = CatalogueSources;

constexpr const char* kNoWidget = "";
constexpr const char* kAddressWidget = "WIDGET_IP_ADDRESS";
constexpr int32_t kNoPrecision = -1;
constexpr std::span<const char* const> kNoChoices;
constexpr const char* kSwitchTexts[] = {"Disabled", "Enabled"};
constexpr const char* kCommandTexts[] = {"Cancel", "Apply"};
constexpr const char* kFlagTexts[] = {"false", "true"};
constexpr const char* kControllerTexts[] = {"primary", "secondary"};

constexpr std::array<const char*, kPortNames.size()> portTitles() {
    std::array<const char*, kPortNames.size()> titles{};
    for (std::size_t i = 0; i < titles.size(); ++i) {
        titles[i] = portTitle(kPortNames[i]);
    }
    return titles;
}
constexpr auto kPortTexts = portTitles();

template <int64_t number>
InitialValue integer(const Sources& /*sources*/) {
    return number;
}

InitialValue noVoltage(const Sources& /*sources*/) {
    return 0.0;
}

// No battery reads below zero, so this one has not been sampled yet.
InitialValue notSampled(const Sources& /*sources*/) {
    return -1.0;
}

InitialValue productName(const Sources& sources) {
    return sources.product.name();
}

InitialValue systemName(const Sources& /*sources*/) {
    return "System";
}

InitialValue version(const Sources& sources) {
    return sources.version;
}

template <uint32_t NetworkSettings::*setting>
InitialValue network(const Sources& sources) {
    return int64_t{sources.network.*setting};
}

template <std::size_t position>
InitialValue portStatus(const Sources& sources) {
    return static_cast<int64_t>(sources.ports[position].status.get());
}

InitialValue activePort(const Sources& sources) {
    return int64_t{activePortIndex(sources.ports)};
}

template <const char* const& disabledMarker>
InitialValue serviceState(const Sources& sources) {
    return int64_t{sources.machine.exists(disabledMarker) ? 0 : 1};
}

InitialValue activeController(const Sources& sources) {
    return int64_t{sources.details.primary.active ? 0 : 1};
}

template <ControllerDetails MasterSystemDetails::*controller, auto field>
InitialValue controllerFlag(const Sources& sources) {
    return int64_t{sources.details.*controller.*field ? 1 : 0};
}

template <ControllerDetails MasterSystemDetails::*controller, auto field>
InitialValue controllerText(const Sources& sources) {
    return sources.details.*controller.*field;
}

constexpr auto kPrimary = &MasterSystemDetails::primary;
constexpr auto kSecondary = &MasterSystemDetails::secondary;
constexpr auto kAddress = &ControllerDetails::ipAddress;
constexpr auto kPresent = &ControllerDetails::present;
constexpr auto kActive = &ControllerDetails::active;
constexpr auto kVersion = &ControllerDetails::version;

constexpr auto kWritable = Access::writable;
constexpr auto kReadonly = Access::readonly;
constexpr auto kPublished = Storage::published;
constexpr auto kLive = Storage::live;

constexpr CatalogueRow kIdentityGroup[] = {
    {kFrameNameKey, "Frame Name", kTypeString, kNoWidget, kWritable, kNoChoices, kNoPrecision,
     kPublished, "product name", productName},
    {"system.systemName", "System Name", kTypeString, kNoWidget, kWritable, kNoChoices,
     kNoPrecision, kPublished, "\"System\"", systemName},
    {"system.active", "Active", kTypeInt32, kNoWidget, kWritable, kNoChoices, kNoPrecision,
     kPublished, "1", integer<1>},
    {"system.quoraneProfilesEnabled", "Quo-Profiles", kTypeInt32, kNoWidget, kWritable,
     kSwitchTexts, kNoPrecision, kPublished, "0", integer<0>},
    {"system.quoraneUsersEnabled", "Quo-Credentials", kTypeInt32, kNoWidget, kWritable,
     kSwitchTexts, kNoPrecision, kPublished, "1", integer<1>},
};

constexpr CatalogueRow kMainCatalogue[] = {
    {kIpAddressKey, "IP Address", kTypeInt32, kAddressWidget, kWritable, kNoChoices, kNoPrecision,
     kLive, "address in network.conf", network<&NetworkSettings::ip>},
    {kNetmaskKey, "IP Netmask", kTypeInt32, kAddressWidget, kWritable, kNoChoices, kNoPrecision,
     kLive, "netmask in network.conf", network<&NetworkSettings::netmask>},
    {kGatewayKey, "Default Gateway", kTypeInt32, kAddressWidget, kWritable, kNoChoices,
     kNoPrecision, kLive, "gateway in network.conf", network<&NetworkSettings::gateway>},
    {"system.version", "System Version", kTypeString, kNoWidget, kReadonly, kNoChoices,
     kNoPrecision, kLive, "version and revision in build.prop", version},
    {kFrameTypeKey, "Frame Type", kTypeInt32, kNoWidget, kReadonly, kNoChoices, kNoPrecision, kLive,
     "0", integer<0>},
    {"system.ethPort1Status", "Port 1 Status", kTypeInt32, kNoWidget, kReadonly, kNoChoices,
     kNoPrecision, kLive, "0 (down)", portStatus<0>},
    {"system.ethPort2Status", "Port 2 Status", kTypeInt32, kNoWidget, kReadonly, kNoChoices,
     kNoPrecision, kLive, "0 (down)", portStatus<1>},
    {kActiveEthernetKey, "Active Ethernet Port", kTypeInt32, kNoWidget, kWritable, kPortTexts,
     kNoPrecision, kPublished, "position of the active port", activePort},
    {kPsu1VoltageKey, "PSU 1 Voltage", kTypeFloat, kNoWidget, kReadonly, kNoChoices, 2, kLive,
     "0.0", noVoltage},
    {kPsu2VoltageKey, "PSU 2 Voltage", kTypeFloat, kNoWidget, kReadonly, kNoChoices, 2, kLive,
     "0.0", noVoltage},
    {kBattVoltageKey, "Battery Voltage", kTypeFloat, kNoWidget, kReadonly, kNoChoices, 5, kLive,
     "-1.0 (not sampled yet)", notSampled},
    {"system.pcbRevision", "PCB Revision (RAW)", kTypeInt32, kNoWidget, kReadonly, kNoChoices,
     kNoPrecision, kLive, "0", integer<0>},
    {"system.pcbIssue", "PCB Issue (RAW)", kTypeInt32, kNoWidget, kReadonly, kNoChoices,
     kNoPrecision, kLive, "0", integer<0>},
    {"system.productId", "PCB Product ID (RAW)", kTypeInt32, kNoWidget, kReadonly, kNoChoices,
     kNoPrecision, kLive, "0", integer<0>},
    {kSshEnabledKey, "SSH Server", kTypeInt32, kNoWidget, kWritable, kSwitchTexts, kNoPrecision,
     kPublished, "0 when the service is marked as disabled, else 1",
     serviceState<kSshDisabledMarker>},
    {kFtpEnabledKey, "FTP Server", kTypeInt32, kNoWidget, kWritable, kSwitchTexts, kNoPrecision,
     kPublished, "0 when the service is marked as disabled, else 1",
     serviceState<kFtpDisabledMarker>},
    {kAmbrixEnabledKey, "Ambrix", kTypeInt32, kNoWidget, kWritable, kSwitchTexts, kNoPrecision,
     kPublished, "0 when the service is marked as disabled, else 1",
     serviceState<kAmbrixDisabledMarker>},
    {kGenerateReportKey, "Generate Report", kTypeInt32, kNoWidget, kWritable, kCommandTexts,
     kNoPrecision, kPublished, "0", integer<0>},
    {kRestartNetworkKey, "Restart Network", kTypeInt32, kNoWidget, kWritable, kCommandTexts,
     kNoPrecision, kPublished, "0", integer<0>},
    {kActiveKeliKey, "Active KELI", kTypeInt32, kNoWidget, kWritable, kControllerTexts,
     kNoPrecision, kLive, "0 when the primary is active, else 1", activeController},
    {kPrimaryIpAddressKey, "IP Address (Pri)", kTypeString, kNoWidget, kReadonly, kNoChoices,
     kNoPrecision, kLive, "what is known of the primary", controllerText<kPrimary, kAddress>},
    {kPrimaryPresentKey, "Present (Pri)", kTypeInt32, kNoWidget, kReadonly, kFlagTexts,
     kNoPrecision, kLive, "what is known of the primary", controllerFlag<kPrimary, kPresent>},
    {kPrimaryActiveKey, "Active (Pri)", kTypeInt32, kNoWidget, kReadonly, kFlagTexts, kNoPrecision,
     kLive, "what is known of the primary", controllerFlag<kPrimary, kActive>},
    {kPrimaryVersionKey, "Version (Pri)", kTypeString, kNoWidget, kReadonly, kNoChoices,
     kNoPrecision, kLive, "what is known of the primary", controllerText<kPrimary, kVersion>},
    {kSecondaryIpAddressKey, "IP Address (Sec)", kTypeString, kNoWidget, kReadonly, kNoChoices,
     kNoPrecision, kLive, "what is known of the secondary", controllerText<kSecondary, kAddress>},
    {kSecondaryPresentKey, "Present (Sec)", kTypeInt32, kNoWidget, kReadonly, kFlagTexts,
     kNoPrecision, kLive, "what is known of the secondary", controllerFlag<kSecondary, kPresent>},
    {kSecondaryActiveKey, "Active (Sec)", kTypeInt32, kNoWidget, kReadonly, kFlagTexts,
     kNoPrecision, kLive, "what is known of the secondary", controllerFlag<kSecondary, kActive>},
    {kSecondaryVersionKey, "Version (Sec)", kTypeString, kNoWidget, kReadonly, kNoChoices,
     kNoPrecision, kLive, "what is known of the secondary", controllerText<kSecondary, kVersion>},
};

std::shared_ptr<ToskValue> makeValue(const InitialValue& initial) {
    if (const auto* const number = std::get_if<int64_t>(&initial)) {
        return std::make_shared<ToskIntegerValue>(*number);
    }
    if (const auto* const reading = std::get_if<double>(&initial)) {
        return std::make_shared<ToskFloatValue>(*reading);
    }
    return std::make_shared<ToskStringValue>(std::get<std::string>(initial));
}

std::shared_ptr<ToskConstraint> makeConstraint(std::span<const char* const> texts) {
    if (texts.empty()) {
        return nullptr;
    }
    std::vector<ToskIntegerChoiceConstraint::Choice> choices;
    for (const char* const text : texts) {
        choices.push_back({static_cast<int32_t>(choices.size()), text});
    }
    return std::make_shared<ToskIntegerChoiceConstraint>(std::move(choices));
}

}  // namespace

std::span<const CatalogueRow> identityGroup() {
    return kIdentityGroup;
}

std::span<const CatalogueRow> mainCatalogue() {
    return kMainCatalogue;
}

std::unique_ptr<ToskParam> makeParam(const CatalogueRow& row, const CatalogueSources& sources) {
    auto param = std::make_unique<ToskParam>();
    param->setOid(ToskOID(row.key, 1));
    param->setName(row.name);
    param->setType(row.type);
    param->setWidget(row.widget);
    param->setReadonly(row.access == Access::readonly);
    param->setConstraint(makeConstraint(row.choices));
    param->setPrecision(row.precision);
    param->setPublished(row.storage == Storage::published);
    param->setValue(makeValue(row.initialValue(sources)));
    return param;
}
