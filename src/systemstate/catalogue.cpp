// The table of all parameters.
//
// A field that a row leaves out has the default that catalogue.h gives it: the parameter is a whole
// number, read-only, live, and starts as 0.

#include "systemstate/catalogue.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <iterator>

#include "systemstate/param_factory.h"
#include "systemstate/param_keys.h"
#include "systemstate/paths.h"
#include "systemstate/serial_port.h"
#include "systemstate/service_control.h"
#include "systemstate/set_reactions.h"

namespace systemstate {

namespace {

constexpr const char* kAddressWidget = "WIDGET_IP_ADDRESS";
constexpr const char* kSwitchTexts[] = {"Disabled", "Enabled"};
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

constexpr auto kPrimary = &MasterSystemDetails::primary;
constexpr auto kSecondary = &MasterSystemDetails::secondary;

constexpr auto kWritable = Access::writable;
constexpr auto kPublished = Storage::published;

constexpr const char* kByMarker = "0 when the service is marked as disabled, else 1";
constexpr const char* kKnownOfPrimary = "what is known of the primary";
constexpr const char* kKnownOfSecondary = "what is known of the secondary";
constexpr const char* kFileEdit = "`network.conf` edited by others";
constexpr const char* kBondingStatus = "the bonding status, each second";
constexpr const char* kConverter = "the converter, each second";
constexpr const char* kPairDetails = "details of the redundant pair";

constexpr Dependency kNeedsProduct[] = {{kProductCommand, "\"Quorane\""}, {kDeviceLabelsFile}};
constexpr Dependency kNeedsVersion[] = {{kBuildPropertiesFile, "\"read error\""}};
constexpr Dependency kNeedsNetwork[] = {{kNetworkFile, "0"}, {kRestartNetworkService}};
constexpr Dependency kNeedsAddress[] = {{kNetworkFile, "0"},
                                        {kRestartNetworkService},
                                        {kRegisterLocationService},
                                        {kRestartLocationService},
                                        {kRestartView}};
constexpr Dependency kNeedsDetection[] = {{kFrameDetectionFile, "0"}};
constexpr Dependency kNeedsBond[] = {{kBondingFile, "0"}, {kTessaraBondingFile, "0"}};
constexpr Dependency kNeedsBondToChange[] = {
    {kBondingFile}, {kTessaraBondingFile}, {kChangeActiveSlave}};
constexpr Dependency kNeedsConverter[] = {{kXadcFile, "0"}};
constexpr Dependency kNeedsLoad[] = {{kXadcFile, "0"}, {kBatteryLoadOn}};
constexpr Dependency kNeedsSsh[] = {{kSshDisabledMarker, "0"}, {kTessaraStartSsh}, {kBrioStartSsh}};
constexpr Dependency kNeedsFtp[] = {{kFtpDisabledMarker, "0"}, {kTessaraStartFtp}, {kBrioStartFtp}};
constexpr Dependency kNeedsAmbrix[] = {{kAmbrixDisabledMarker, "0"},
                                       {kTessaraStartAmbrix},
                                       {kTessaraStartAmbrixWatch},
                                       {kTessaraStopAmbrixWatch},
                                       {kBrioStartAmbrix},
                                       {kBrioStartAmbrixWatch},
                                       {kBrioStopAmbrix}};
constexpr Dependency kNeedsReport[] = {{kGenerateReport}};
constexpr Dependency kNeedsRestart[] = {{kRestartNetworking}};
constexpr Dependency kNeedsControlMode[] = {
    {kKeliControlModeFile}, {kRemoteControlModeFile}, {kKeliIpChangedScript}};

constexpr const char* kServerSwitch = "the server is started (not 0) or stopped (0)";
constexpr Reaction kAppliesNetwork{
    .effect = "with the other two valid: `network.conf` is written, the network restarted",
    .carryOut = &SetReactions::applyNetworkSettings};
constexpr Reaction kChangesPort{.effect = "the bond is asked to change over (Quorane only)",
                                .carryOut = &SetReactions::changeActivePort};
constexpr Reaction kSwitchesSsh{.effect = kServerSwitch,
                                .setRunning = &ServiceControl::setSshRunning};
constexpr Reaction kSwitchesFtp{.effect = kServerSwitch,
                                .setRunning = &ServiceControl::setFtpRunning};
constexpr Reaction kSwitchesAmbrix{.effect = "the service is stopped, and started again (not 0)",
                                   .setRunning = &ServiceControl::setAmbrixRunning,
                                   .keepsUnusable = true};
constexpr Reaction kMakesReport{.effect = "the report is made (not 0), then back to 0",
                                .carryOut = &SetReactions::generateReport};
constexpr Reaction kRestartsNetwork{.effect = "the network is restarted (not 0), then back to 0",
                                    .carryOut = &SetReactions::restartNetwork};
constexpr Reaction kTellsController{.effect = "the bus is told which controller is active",
                                    .runsCommands = false};
constexpr Reaction kKeepsConnection{
    .effect = "the member `_d_connectionPoint` is kept as the port's connection point",
    .carryOut = &SetReactions::keepConnection,
    .runsCommands = false};

template <std::size_t position>
constexpr CatalogueRow serialPortRow() {
    return {.key = kSerialPorts[position].oid,
            .name = kSerialPorts[position].label,
            .group = Group::serialPorts,
            .type = model::kTypeStruct,
            .access = kWritable,
            .builder = Builder::serialPorts,
            .initialValue = initial::serialPort<position>,
            .reaction = &kKeepsConnection};
}

constexpr CatalogueRow kCatalogue[] = {
    {.key = kFrameNameKey,
     .name = "Frame Name",
     .group = Group::identity,
     .type = model::kTypeString,
     .access = kWritable,
     .storage = kPublished,
     .builder = Builder::identityGroup,
     .leadsGroup = true,
     .initialValue = initial::productName,
     .startsAs = "product name; on Tessara frames the node's label, whatever was saved",
     .dependsOn = kNeedsProduct},
    {.key = "system.systemName",
     .name = "System Name",
     .group = Group::identity,
     .type = model::kTypeString,
     .access = kWritable,
     .storage = kPublished,
     .builder = Builder::identityGroup,
     .leadsGroup = true,
     .initialValue = initial::systemName,
     .startsAs = "\"System\""},
    {.key = "system.active",
     .name = "Active",
     .group = Group::identity,
     .access = kWritable,
     .storage = kPublished,
     .builder = Builder::identityGroup,
     .initialValue = initial::one,
     .startsAs = "1"},
    {.key = "system.quoraneProfilesEnabled",
     .name = "Quo-Profiles",
     .group = Group::identity,
     .access = kWritable,
     .storage = kPublished,
     .builder = Builder::identityGroup,
     .choices = kSwitchTexts},
    {.key = "system.quoraneUsersEnabled",
     .name = "Quo-Credentials",
     .group = Group::identity,
     .access = kWritable,
     .storage = kPublished,
     .builder = Builder::identityGroup,
     .choices = kSwitchTexts,
     .initialValue = initial::one,
     .startsAs = "1"},
    {.key = kIpAddressKey,
     .name = "IP Address",
     .group = Group::network,
     .access = kWritable,
     .widget = kAddressWidget,
     .initialValue = initial::network<&NetworkSettings::ip>,
     .startsAs = "address in network.conf",
     .changedBy = kFileEdit,
     .reaction = &kAppliesNetwork,
     .dependsOn = kNeedsAddress},
    {.key = kNetmaskKey,
     .name = "IP Netmask",
     .group = Group::network,
     .access = kWritable,
     .widget = kAddressWidget,
     .initialValue = initial::network<&NetworkSettings::netmask>,
     .startsAs = "netmask in network.conf",
     .changedBy = kFileEdit,
     .reaction = &kAppliesNetwork,
     .dependsOn = kNeedsNetwork},
    {.key = kGatewayKey,
     .name = "Default Gateway",
     .group = Group::network,
     .access = kWritable,
     .widget = kAddressWidget,
     .initialValue = initial::network<&NetworkSettings::gateway>,
     .startsAs = "gateway in network.conf",
     .changedBy = kFileEdit,
     .reaction = &kAppliesNetwork,
     .dependsOn = kNeedsNetwork},
    {.key = "system.version",
     .name = "System Version",
     .group = Group::identity,
     .type = model::kTypeString,
     .leadsGroup = true,
     .initialValue = initial::version,
     .startsAs = "version and revision in build.prop",
     .dependsOn = kNeedsVersion},
    {.key = kFrameTypeKey,
     .name = "Frame Type",
     .group = Group::card,
     .changedBy = "the frame detection file, once, on Tessara frames",
     .dependsOn = kNeedsDetection},
    {.key = "system.ethPort1Status",
     .name = "Port 1 Status",
     .group = Group::ethernetPorts,
     .quantity = Quantity::portStatus,
     .initialValue = initial::portStatus<0>,
     .startsAs = "0 (down)",
     .changedBy = kBondingStatus,
     .dependsOn = kNeedsBond},
    {.key = "system.ethPort2Status",
     .name = "Port 2 Status",
     .group = Group::ethernetPorts,
     .quantity = Quantity::portStatus,
     .initialValue = initial::portStatus<1>,
     .startsAs = "0 (down)",
     .changedBy = kBondingStatus,
     .dependsOn = kNeedsBond},
    {.key = kActiveEthernetKey,
     .name = "Active Ethernet Port",
     .group = Group::ethernetPorts,
     .access = kWritable,
     .storage = kPublished,
     .choices = kPortTexts,
     .initialValue = initial::activePort,
     .startsAs = "position of the active port",
     .changedBy = kBondingStatus,
     .reaction = &kChangesPort,
     .dependsOn = kNeedsBondToChange},
    {.key = kPsu1VoltageKey,
     .name = "PSU 1 Voltage",
     .group = Group::voltages,
     .type = model::kTypeFloat,
     .quantity = Quantity::supplyVoltage,
     .precision = 2,
     .changedBy = kConverter,
     .dependsOn = kNeedsConverter},
    {.key = kPsu2VoltageKey,
     .name = "PSU 2 Voltage",
     .group = Group::voltages,
     .type = model::kTypeFloat,
     .quantity = Quantity::supplyVoltage,
     .precision = 2,
     .changedBy = kConverter,
     .dependsOn = kNeedsConverter},
    {.key = kBattVoltageKey,
     .name = "Battery Voltage",
     .group = Group::voltages,
     .type = model::kTypeFloat,
     .quantity = Quantity::batteryVoltage,
     .precision = 5,
     .initialValue = initial::notSampled,
     .startsAs = "-1.0 (not sampled yet)",
     .changedBy = "the converter, one second in 151",
     .dependsOn = kNeedsLoad},
    {.key = "system.pcbRevision", .name = "PCB Revision (RAW)", .group = Group::card},
    {.key = "system.pcbIssue", .name = "PCB Issue (RAW)", .group = Group::card},
    {.key = "system.productId", .name = "PCB Product ID (RAW)", .group = Group::card},
    {.key = kSshEnabledKey,
     .name = "SSH Server",
     .group = Group::services,
     .access = kWritable,
     .storage = kPublished,
     .choices = kSwitchTexts,
     .initialValue = initial::serviceState<kSshDisabledMarker>,
     .startsAs = kByMarker,
     .reaction = &kSwitchesSsh,
     .dependsOn = kNeedsSsh},
    {.key = kFtpEnabledKey,
     .name = "FTP Server",
     .group = Group::services,
     .access = kWritable,
     .storage = kPublished,
     .choices = kSwitchTexts,
     .initialValue = initial::serviceState<kFtpDisabledMarker>,
     .startsAs = kByMarker,
     .reaction = &kSwitchesFtp,
     .dependsOn = kNeedsFtp},
    {.key = kAmbrixEnabledKey,
     .name = "Ambrix",
     .group = Group::services,
     .access = kWritable,
     .storage = kPublished,
     .choices = kSwitchTexts,
     .initialValue = initial::serviceState<kAmbrixDisabledMarker>,
     .startsAs = kByMarker,
     .changedBy = "the service's own shut-off",
     .reaction = &kSwitchesAmbrix,
     .dependsOn = kNeedsAmbrix},
    {.key = kGenerateReportKey,
     .name = "Generate Report",
     .group = Group::services,
     .access = kWritable,
     .storage = kPublished,
     .choices = kCommandTexts,
     .reaction = &kMakesReport,
     .dependsOn = kNeedsReport},
    {.key = kRestartNetworkKey,
     .name = "Restart Network",
     .group = Group::network,
     .access = kWritable,
     .storage = kPublished,
     .choices = kCommandTexts,
     .reaction = &kRestartsNetwork,
     .dependsOn = kNeedsRestart},
    {.key = kActiveKeliKey,
     .name = "Active KELI",
     .group = Group::redundantPair,
     .access = kWritable,
     .choices = kControllerTexts,
     .initialValue = initial::activeController,
     .startsAs = "0 when the primary is active, else 1",
     .changedBy = kPairDetails,
     .reaction = &kTellsController},
    {.key = kPrimaryIpAddressKey,
     .name = "IP Address (Pri)",
     .group = Group::redundantPair,
     .type = model::kTypeString,
     .initialValue = initial::controllerText<kPrimary, &ControllerDetails::ipAddress>,
     .startsAs = kKnownOfPrimary,
     .changedBy = kPairDetails,
     .dependsOn = kNeedsControlMode},
    {.key = kPrimaryPresentKey,
     .name = "Present (Pri)",
     .group = Group::redundantPair,
     .choices = kFlagTexts,
     .initialValue = initial::controllerFlag<kPrimary, &ControllerDetails::present>,
     .startsAs = kKnownOfPrimary,
     .changedBy = kPairDetails},
    {.key = kPrimaryActiveKey,
     .name = "Active (Pri)",
     .group = Group::redundantPair,
     .choices = kFlagTexts,
     .initialValue = initial::controllerFlag<kPrimary, &ControllerDetails::active>,
     .startsAs = kKnownOfPrimary,
     .changedBy = kPairDetails},
    {.key = kPrimaryVersionKey,
     .name = "Version (Pri)",
     .group = Group::redundantPair,
     .type = model::kTypeString,
     .initialValue = initial::controllerText<kPrimary, &ControllerDetails::version>,
     .startsAs = kKnownOfPrimary,
     .changedBy = kPairDetails},
    {.key = kSecondaryIpAddressKey,
     .name = "IP Address (Sec)",
     .group = Group::redundantPair,
     .type = model::kTypeString,
     .initialValue = initial::controllerText<kSecondary, &ControllerDetails::ipAddress>,
     .startsAs = kKnownOfSecondary,
     .changedBy = kPairDetails,
     .dependsOn = kNeedsControlMode},
    {.key = kSecondaryPresentKey,
     .name = "Present (Sec)",
     .group = Group::redundantPair,
     .choices = kFlagTexts,
     .initialValue = initial::controllerFlag<kSecondary, &ControllerDetails::present>,
     .startsAs = kKnownOfSecondary,
     .changedBy = kPairDetails},
    {.key = kSecondaryActiveKey,
     .name = "Active (Sec)",
     .group = Group::redundantPair,
     .choices = kFlagTexts,
     .initialValue = initial::controllerFlag<kSecondary, &ControllerDetails::active>,
     .startsAs = kKnownOfSecondary,
     .changedBy = kPairDetails},
    {.key = kSecondaryVersionKey,
     .name = "Version (Sec)",
     .group = Group::redundantPair,
     .type = model::kTypeString,
     .initialValue = initial::controllerText<kSecondary, &ControllerDetails::version>,
     .startsAs = kKnownOfSecondary,
     .changedBy = kPairDetails},
    serialPortRow<0>(),
    serialPortRow<1>(),
    serialPortRow<2>(),
};

}  // namespace

std::span<const CatalogueRow> catalogue() {
    return kCatalogue;
}

std::span<const CatalogueRow> rowsBuiltBy(Builder builder) {
    const auto isBuilt = [builder](const CatalogueRow& row) { return row.builder == builder; };
    const auto* const begin = std::ranges::find_if(kCatalogue, isBuilt);
    return {begin, std::ranges::find_if_not(begin, std::end(kCatalogue), isBuilt)};
}

const CatalogueRow* findRow(std::string_view key) {
    const auto* const row = std::ranges::find(kCatalogue, key, &CatalogueRow::key);
    return row == std::end(kCatalogue) ? nullptr : row;
}

}  // namespace systemstate
