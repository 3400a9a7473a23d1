// Sets of the active port and of the network settings.

#include "on_product.h"
#include "pallframe/simulation/devices.h"
#include "reaction.h"

namespace {

using harness::Frame;
using harness::LogLine;

void secondPortActive(const Frame& frame) {
    pallframe::simulation::swapActivePort(frame.tree(), "eth1");
}

std::vector<Reaction> invalidPorts() {
    return {
        {.name = "PortThatDoesNotExist",
         .on = onAny,
         .key = "activeEthernet",
         .value = "2",
         .left = "0",
         .bus = {announced(R"({"activeEthernet":0})")},
         .log = {info("Set Active Ethernet invalid interface index: 2\n"),
                 logOfChange("activeEthernet", "0")[1]},
         .saved = true},
        {.name = "PortBelowTheFirst",
         .on = onAny,
         .key = "activeEthernet",
         .value = "-1",
         .left = "0",
         .bus = {announced(R"({"activeEthernet":0})")},
         .log = {info("Set Active Ethernet invalid interface index: -1\n"),
                 logOfChange("activeEthernet", "0")[1]},
         .saved = true},
        {.name = "PortThatDoesNotExistBesideTheSecondOne",
         .on = onPolled,
         .prepare = secondPortActive,
         .portsKnown = true,
         .key = "activeEthernet",
         .value = "2",
         .left = "1",
         .bus = {announced(R"({"activeEthernet":1})")},
         .log = {info("Set Active Ethernet invalid interface index: 2\n"),
                 logOfChange("activeEthernet", "1")[1]},
         .saved = true},
    };
}

// The settings in the file, which are what the frame is furnished with.
std::vector<LogLine> checked(const std::string& ip, const std::string& netmask,
                             const std::string& gateway) {
    return {info("SystemState:config_ip: checking ifconfig ip=" + ip + " sub=" + netmask +
                 " gw=" + gateway + "...\n"),
            info("ip address 10.0.0.5\n"), info("gateway_ip_address 10.0.0.1\n"),
            info("subnet_mask 255.255.255.0\n")};
}

const std::vector<LogLine> kWritten{info("changed. restarting S40network and S81ambrix\n"),
                                    info("SystemState:writing network config\n"), info("ok\n")};

const std::vector<std::string> kRestartsForAnAddress{
    "/etc/init.d/S40network restart", "/etc/init.d/S53slpreg", "/etc/init.d/S54openslp restart",
    "/etc/init.d/S80tarnaview restart"};

std::vector<Reaction> newSettings() {
    return {
        {.name = "Address",
         .on = onAny,
         .key = "ipAddress",
         .value = "167772166",
         .log = joined(checked("10.0.0.6", "255.255.255.0", "10.0.0.1"), kWritten),
         .commands = kRestartsForAnAddress,
         .network = "USE_DHCP=0\nIPADDR=10.0.0.6\nNETMASK=255.255.255.0\nGATEWAY=10.0.0.1\n"},
        {.name = "Gateway",
         .on = onAny,
         .key = "gateway",
         .value = "167772162",
         .log = joined(checked("10.0.0.5", "255.255.255.0", "10.0.0.2"), kWritten),
         .commands = {"/etc/init.d/S40network restart"},
         .network = "USE_DHCP=0\nIPADDR=10.0.0.5\nNETMASK=255.255.255.0\nGATEWAY=10.0.0.2\n"},
        {.name = "Netmask",
         .on = onAny,
         .key = "netmask",
         .value = "4294901760",
         .log = joined(checked("10.0.0.5", "255.255.0.0", "10.0.0.1"), kWritten),
         .commands = {"/etc/init.d/S40network restart"},
         .network = "USE_DHCP=0\nIPADDR=10.0.0.5\nNETMASK=255.255.0.0\nGATEWAY=10.0.0.1\n"},
        {.name = "AddressOf33Bits",  // the poll of another product would correct what is held
         .on = onBrio,
         .key = "ipAddress",
         .value = "4462739462",
         .log = joined(checked("10.0.0.6", "255.255.255.0", "10.0.0.1"), kWritten),
         .commands = kRestartsForAnAddress,
         .network = "USE_DHCP=0\nIPADDR=10.0.0.6\nNETMASK=255.255.255.0\nGATEWAY=10.0.0.1\n"},
        {.name = "AddressWhoseRestartFails",
         .on = onKELI,
         .prepare = [](const Frame& frame) { makeFail(frame, "/etc/init.d/S40network"); },
         .key = "ipAddress",
         .value = "167772166",
         .log = joined(checked("10.0.0.6", "255.255.255.0", "10.0.0.1"), kWritten),
         .commands = kRestartsForAnAddress,
         .network = "USE_DHCP=0\nIPADDR=10.0.0.6\nNETMASK=255.255.255.0\nGATEWAY=10.0.0.1\n"},
    };
}

std::vector<Reaction> refusedSettings() {
    return {
        {.name = "SameAddress",
         .on = onAny,
         .key = "ipAddress",
         .value = "167772165",
         .log = joined(checked("10.0.0.5", "255.255.255.0", "10.0.0.1"), {info("no changes\n")})},
        {.name = "SameGateway",
         .on = onKELI,
         .key = "gateway",
         .value = "167772161",
         .log = joined(checked("10.0.0.5", "255.255.255.0", "10.0.0.1"), {info("no changes\n")})},
        {.name = "AddressOfZeros",
         .on = onAny,
         .key = "ipAddress",
         .value = "0",
         .output = "<time>\tIP Error: ip=0, netmask=ffffff00, gateway=a000001\n"},
        {.name = "AddressOfOnes",
         .on = onAny,
         .key = "ipAddress",
         .value = "4294967295",
         .output = "<time>\tIP Error: ip=ffffffff, netmask=ffffff00, gateway=a000001\n"},
        {.name = "NetmaskOfZerosIn32Bits",
         .on = onKELI,
         .key = "netmask",
         .value = "4294967296",
         .output = "<time>\tIP Error: ip=a000005, netmask=0, gateway=a000001\n"},
        {.name = "GatewayOfOnesIn32Bits",
         .on = onKELI,
         .key = "gateway",
         .value = "-1",
         .output = "<time>\tIP Error: ip=a000005, netmask=ffffff00, gateway=ffffffff\n"},
    };
}

}  // namespace

std::vector<Reaction> portReactions() {
    const std::vector<Reaction> valid{
        {.name = "OtherPort",
         .on = onQuorane,
         .key = "activeEthernet",
         .value = "1",
         .commands = {"/sbin/ifenslave --change-active bond0 eth1"},
         .saved = true},
        {.name = "OtherPortWhichFails",  // the next poll shows what became of it
         .on = onQuorane,
         .prepare = [](const Frame& frame) { makeFail(frame, "/sbin/ifenslave"); },
         .key = "activeEthernet",
         .value = "1",
         .commands = {"/sbin/ifenslave --change-active bond0 eth1"},
         .saved = true},
        {.name = "OtherPortWithoutASwap",
         .on = [](std::string_view product) { return !onQuorane(product); },
         .key = "activeEthernet",
         .value = "1",
         .log = {error("Active ethernet port swapover not supported on <product>\n")},
         .saved = true},
        {.name = "PortThatIsActive",
         .on = onPolled,
         .prepare = secondPortActive,
         .portsKnown = true,
         .key = "activeEthernet",
         .value = "1",
         .saved = true},
    };
    return joined(valid, invalidPorts());
}

std::vector<Reaction> networkReactions() {
    return joined(newSettings(), refusedSettings());
}
