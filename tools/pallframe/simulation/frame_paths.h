#pragma once

#include <string_view>

// Where the simulation keeps things in a frame. The first group is what the daemon on the card
// sees; the second is the simulation's own.
namespace pallframe::simulation::paths {

inline constexpr std::string_view kEeprom = "/tmp/eeprom";
inline constexpr std::string_view kBond = "/proc/net/bonding/bond0";
inline constexpr std::string_view kBondCopy = "/tmp/bond0";  // Tessara frames
inline constexpr std::string_view kDetection = "/tmp/tessaradetect.txt";
inline constexpr std::string_view kRegisters = "/sys/devices/amba.1/f8007100.xadc/registers";
inline constexpr std::string_view kAddress = "/sys/class/net/eth0/address";
inline constexpr std::string_view kNetwork = "/vantor/etc/network.conf";
inline constexpr std::string_view kDeviceName = "/vantor/etc/deviceName";
inline constexpr std::string_view kDeviceLabels = "/vantor/app/tarna/node/deviceLabels.json";
inline constexpr std::string_view kBuild = "/etc/build.prop";
inline constexpr std::string_view kUnits = "/etc/systemd/system";  // a Brio's, "ssh.service"

inline constexpr std::string_view kOwnDirectory = "/run/frame";
inline constexpr std::string_view kAside = "/run/frame/missing";  // files put aside, by their path
inline constexpr std::string_view kLock = "/run/frame/lock";
inline constexpr std::string_view kProduct = "/run/frame/product";
inline constexpr std::string_view kPower = "/run/frame/power";
inline constexpr std::string_view kServices =
    "/run/frame/services";                                        // a file per service: its state
inline constexpr std::string_view kPauses = "/run/frame/pauses";  // a file per program: its seconds
inline constexpr std::string_view kExits = "/run/frame/exits";    // the same: how its calls fail
inline constexpr std::string_view kProgram = "/run/frame/pallframe";  // what the programs link to
inline constexpr std::string_view kCommands = "/var/log/frame-commands";
inline constexpr std::string_view kMessages = "/var/log/messages";

}  // namespace pallframe::simulation::paths
