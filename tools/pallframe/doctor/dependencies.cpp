// One table of everything that the daemon needs. Paths, commands and decoders are the daemon's own,
// so that the doctor cannot disagree with it. A row applies to the products that its predicate
// names; for a command, the row says which word of it is the file to look for.

#include "pallframe/doctor/dependencies.h"

#include <algorithm>
#include <filesystem>
#include <sstream>

#include "systemstate/block_file.h"
#include "systemstate/bonding_status.h"
#include "systemstate/build_properties.h"
#include "systemstate/catalogue.h"
#include "systemstate/frame_detection.h"
#include "systemstate/network_settings.h"
#include "systemstate/paths.h"
#include "systemstate/product.h"
#include "systemstate/xadc_dump.h"
#include "util/json.h"

namespace pallframe::doctor {

namespace {

using systemstate::Product;

bool all(const Product&) {
    return true;
}

bool quorane(const Product& product) {
    return product.isQuorane();
}

bool brio(const Product& product) {
    return product.isBrio();
}

// The software of all but the Brio, whose hardware is polled.
bool tessaraEdition(const Product& product) {
    return !product.isBrio();
}

bool tessaraFrame(const Product& product) {
    return product.isTessaraFrame();
}

// Which frames have the copy of the bonding status, and which the driver's own.
bool bondCopy(const Product& product) {
    return !product.isBrio() && product.isNamedTessara();
}

bool driversBond(const Product& product) {
    return !product.isBrio() && !product.isNamedTessara();
}

bool remoteControlled(const Product& product) {
    return product.isTessaraFrame() && product.name().size() > std::string_view("Tessara").size();
}

bool isKnownProduct(const std::string& text, const Product&) {
    const Product product(productNamed(text));
    return product.isTessaraFrame() || product.isBrio() || product.isKeli() || product.isQuorane();
}

bool hasVersion(const std::string& text, const Product&) {
    return systemstate::versionText(systemstate::decodeBuildProperties(text)) !=
           systemstate::versionText({});
}

bool hasSettings(const std::string& text, const Product&) {
    const systemstate::NetworkConf conf = systemstate::decodeNetworkConf(text);
    return systemstate::areValid(
        {conf.ip.value_or(0), conf.netmask.value_or(0), conf.gateway.value_or(0)});
}

bool hasPorts(const std::string& text, const Product& product) {
    return systemstate::decodeBonding(systemstate::decodeBlockFile(text),
                                      product.isTessaraFrame() ? systemstate::kTessaraHeaderBlock
                                                               : systemstate::kDriverHeaderBlock)
        .has_value();
}

bool hasFrameType(const std::string& text, const Product&) {
    const auto detection = systemstate::decodeFrameDetection(systemstate::decodeBlockFile(text));
    return detection && detection->frameType >= 0;
}

bool hasReadings(const std::string& text, const Product& product) {
    const bool dedicated = product.isTessaraFrame() || product.isKeli();
    return text.size() >= systemstate::kXadcDumpSize &&
           systemstate::decodeXadcDump(text, dedicated ? systemstate::BatterySource::dedicatedInput
                                                       : systemstate::BatterySource::channel);
}

bool isJSON(const std::string& text, const Product&) {
    return util::parseJSON(text.data(), text.size()) != nullptr;
}

bool hasLine(const std::string& text, const Product&) {
    return !text.empty() && text[0] != '\n';
}

constexpr const char* kShell = "/bin/sh";       // of system(3) and popen(3)
constexpr const char* kSyslog = "/dev/log";     // of syslog(3)
constexpr const char* kNoDevice = "/dev/null";  // of daemon(3)
constexpr const char* kBus = "127.0.0.1:15000";

// Which word of a command names what has to be there.
constexpr size_t kSourced = 1;     // . FILE
constexpr size_t kBehindSudo = 1;  // sudo PROGRAM
constexpr size_t kUnitOfSudo = 3;  // sudo systemctl VERB UNIT

using Places = std::array<const char*, 4>;
using Concerns = bool (*)(const Product&);
using Decodes = bool (*)(const std::string&, const Product&);

constexpr Check file(const char* place, Concerns concerns, Decodes decodes, std::string_view effect,
                     size_t word = 0) {
    return {{place}, Kind::file, concerns, effect, decodes, word};
}

constexpr Check program(Places places, Concerns concerns, std::string_view effect,
                        size_t word = 0) {
    return {places, Kind::program, concerns, effect, nullptr, word};
}

constexpr Check unit(Places places, std::string_view effect) {
    return {places, Kind::unit, brio, effect, nullptr, kUnitOfSudo};
}

constexpr Check optional(const char* place, Concerns concerns, std::string_view effect) {
    return {{place}, Kind::optional, concerns, effect};
}

constexpr Check marker(const char* place) {
    return {{place}, Kind::marker, all, "the service is off"};
}

constexpr std::string_view kPortsStay = "the ports stay as they were found last";
constexpr std::string_view kNotSwitched =
    "the new value is published, but the service is not started or stopped";
constexpr std::string_view kNotFound = "a new address is not announced, the frame is not found";
constexpr std::string_view kRestarts = "a new address of the remote controller restarts modules";

constexpr Places kBrioSwitches{systemstate::kBrioStartSsh, systemstate::kBrioStopSsh,
                               systemstate::kBrioStartFtp, systemstate::kBrioStopFtp};

constexpr Check kChecks[] = {
    {{kBus},
     Kind::listener,
     all,
     "nothing is published and nothing can be set; the bus is looked for each second"},
    {{kSyslog}, Kind::syslog, all, "values as usual, and nobody reads what the daemon logs"},
    {{kNoDevice}, Kind::device, all, "with -d the daemon ends at once, nothing is published"},

    {{systemstate::kProductCommand},
     Kind::file,
     all,
     "the card counts as a Quorane",
     isKnownProduct,
     kSourced,
     true},
    {{systemstate::kBuildPropertiesFile}, Kind::file, all, "", hasVersion, 0, true},
    file(systemstate::kNetworkFile, all, hasSettings, "settings from the bus are not applied"),
    file(systemstate::kBondingFile, driversBond, hasPorts, kPortsStay),
    file(systemstate::kTessaraBondingFile, bondCopy, hasPorts, kPortsStay),
    file(systemstate::kFrameDetectionFile, tessaraFrame, hasFrameType,
         "looked for each second until it is there"),
    file(systemstate::kXadcFile, tessaraEdition, hasReadings,
         "voltages stay as they were read last; standard error says so each second"),
    file(systemstate::kMacAddressFile, all, hasLine,
         "ids of messages end at their @; a Tessara frame takes the first label for its own"),
    file(systemstate::kDeviceLabelsFile, tessaraFrame, isJSON,
         "the frame keeps the name that it has"),

    {{systemstate::kStateContainer}, Kind::settings, all, "", isJSON},
    {{systemstate::kStateContainer},
     Kind::directory,
     all,
     "settings from the bus are lost when the daemon ends"},
    optional(systemstate::kDeviceNameFile, tessaraFrame,
             "the name for the user interface, kept up to date"),

    program({kShell}, all, "no command at all is carried out"),
    program({systemstate::kBatteryLoadOn, systemstate::kBatteryLoadOff}, tessaraEdition,
            "the battery is measured without its load, and looks better than it is"),
    program({systemstate::kChangeActiveSlave}, quorane,
            "the new value is published, but the traffic stays on its port"),
    program({systemstate::kRestartNetworkService}, all,
            "new settings are written, and taken up at the next boot only"),
    program({systemstate::kRegisterLocationService}, all, kNotFound),
    program({systemstate::kRestartLocationService}, all, kNotFound),
    program({systemstate::kRestartView}, all, "the view goes on serving at the old address"),
    program({systemstate::kRestartNetworking}, all,
            "nothing is restarted, and the parameter goes back to 0"),
    program({systemstate::kGenerateReport}, all,
            "there is no report, and the parameter goes back to 0"),

    marker(systemstate::kSshDisabledMarker),
    marker(systemstate::kFtpDisabledMarker),
    optional(systemstate::kAmbrixDisabledMarker, all,
             "the service is off; one that was saved as on is stopped by the first poll"),
    program({systemstate::kTessaraStartSsh, systemstate::kTessaraStopSsh}, tessaraEdition,
            kNotSwitched),
    program({systemstate::kTessaraStartFtp, systemstate::kTessaraStopFtp}, tessaraEdition,
            kNotSwitched),
    program(kBrioSwitches, brio, kNotSwitched),
    program(kBrioSwitches, brio, kNotSwitched, kBehindSudo),
    unit({systemstate::kBrioStartSsh, systemstate::kBrioStopSsh}, kNotSwitched),
    unit({systemstate::kBrioStartFtp, systemstate::kBrioStopFtp}, kNotSwitched),
    program({systemstate::kTessaraStartAmbrix, systemstate::kTessaraStopAmbrix}, tessaraEdition,
            kNotSwitched),
    program({systemstate::kTessaraStartAmbrixWatch}, tessaraEdition,
            "Ambrix never shuts itself off"),
    program({systemstate::kTessaraStopAmbrixWatch}, tessaraEdition,
            "the watch goes on when Ambrix is switched off"),
    program({systemstate::kBrioStartAmbrix}, brio, kNotSwitched),
    program({systemstate::kBrioStartAmbrixWatch}, brio, "Ambrix never shuts itself off"),
    program({systemstate::kBrioStopAmbrix, systemstate::kBrioStopAmbrixWatch}, brio,
            "Ambrix and its watch go on when it is switched off"),

    optional(systemstate::kKeliControlModeFile, remoteControlled, kRestarts),
    optional(systemstate::kRemoteControlModeFile, remoteControlled, kRestarts),
    program({systemstate::kKeliIpChangedScript}, remoteControlled,
            "modules do not learn a new address of the remote controller"),
};

bool names(const Check& check, std::string_view place) {
    return std::ranges::any_of(check.places,
                               [&](const char* each) { return each != nullptr && place == each; });
}

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view kAround = " \t\r\"'";
    const size_t begin = std::min(text.find_first_not_of(kAround), text.size());
    return text.substr(begin, text.find_last_not_of(kAround) + 1 - begin);
}

}  // namespace

std::span<const Check> checks() {
    return kChecks;
}

std::vector<Published> dependentParameters(const Check& check) {
    std::vector<Published> dependent;
    for (const systemstate::CatalogueRow& row : systemstate::catalogue()) {
        const auto need = std::ranges::find_if(
            row.dependsOn,
            [&](const systemstate::Dependency& each) { return names(check, each.place); });
        if (need != row.dependsOn.end()) {
            dependent.push_back({leafName(row), need->valueWithout});
        }
    }
    return dependent;
}

const Check& productCheck() {
    return *std::find_if(std::begin(kChecks), std::end(kChecks),
                         [](const Check& check) { return check.decodes == isKnownProduct; });
}

std::string productNamed(const std::string& text) {
    constexpr std::string_view kExport = "export ";
    constexpr std::string_view kKey = "PRODUCT=";
    std::istringstream lines(text);
    std::string name;
    for (std::string line; std::getline(lines, line);) {
        std::string_view rest = trimmed(line);
        if (rest.starts_with(kExport)) {
            rest = trimmed(rest.substr(kExport.size()));
        }
        if (rest.starts_with(kKey)) {
            name = trimmed(rest.substr(kKey.size()));
        }
    }
    return name;
}

std::string extractPath(const Check& check) {
    std::istringstream words(check.places[0]);
    std::string word;
    for (size_t i = 0; i <= check.word; ++i) {
        words >> word;
    }
    switch (check.kind) {
        case Kind::settings:
            return word + ".json";
        case Kind::unit:
            return word + ".service";
        case Kind::directory:
            return std::filesystem::path(word).parent_path();
        default:
            return word;
    }
}

}  // namespace pallframe::doctor
