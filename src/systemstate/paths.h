#pragma once

namespace systemstate {

// Every path and every command of the daemon, once. They are part of the frame's software, which
// changes independently of the daemon.

// Information about the frame.
inline constexpr const char* kBuildPropertiesFile = "/etc/build.prop";
inline constexpr const char* kProductCommand = ". /tmp/eeprom && echo $PRODUCT";

// Network settings and the services that depend on them.
inline constexpr const char* kNetworkFile = "/vantor/etc/network.conf";
inline constexpr const char* kRestartNetworkService = "/etc/init.d/S40network restart";
inline constexpr const char* kRegisterLocationService = "/etc/init.d/S53slpreg";
inline constexpr const char* kRestartLocationService = "/etc/init.d/S54openslp restart";
inline constexpr const char* kRestartView = "/etc/init.d/S80tarnaview restart";

// The command parameters.
inline constexpr const char* kRestartNetworking = "/vantor/bin/restartNetworking.sh";
inline constexpr const char* kGenerateReport = "/vantor/bin/briskel easy";

// The bonded ports. The command's one argument is the interface to carry the traffic.
inline constexpr const char* kChangeActiveSlave = "/sbin/ifenslave --change-active bond0 ";
inline constexpr const char* kBondingFile = "/proc/net/bonding/bond0";
inline constexpr const char* kTessaraBondingFile = "/tmp/bond0";

// A service is disabled while its marker file exists.
inline constexpr const char* kSshDisabledMarker = "/vantor/etc/sshServerDisabled";
inline constexpr const char* kFtpDisabledMarker = "/vantor/etc/ftpServerDisabled";
inline constexpr const char* kAmbrixDisabledMarker = "/vantor/etc/ambrixDisabled";

inline constexpr const char* kBrioStartSsh = "sudo systemctl start ssh";
inline constexpr const char* kBrioStopSsh = "sudo systemctl stop ssh";
inline constexpr const char* kTessaraStartSsh = "/etc/init.d/S50dropbear restart";
inline constexpr const char* kTessaraStopSsh = "/etc/init.d/S50dropbear stop";
inline constexpr const char* kBrioStartFtp = "sudo systemctl start vsftpd";
inline constexpr const char* kBrioStopFtp = "sudo systemctl stop vsftpd";
inline constexpr const char* kTessaraStartFtp = "/etc/init.d/S56tcpsvd restart";
inline constexpr const char* kTessaraStopFtp = "/etc/init.d/S56tcpsvd stop";

inline constexpr const char* kBrioStartAmbrix = "/vantor/bin/ambrixsrvlaunch.sh &";
inline constexpr const char* kBrioStartAmbrixWatch = "/vantor/bin/brio-ambrix-shutoff.sh &";
inline constexpr const char* kBrioStopAmbrix = "pkill ambrixsrvtst";
// The watch is brio-ambrix-shutoff.sh, of whose name the kernel keeps 15 characters (proc(5),
// comm).
inline constexpr const char* kBrioStopAmbrixWatch = "pkill brio-ambrix-shu";
inline constexpr const char* kTessaraStartAmbrix = "/etc/init.d/S81ambrix start &";
inline constexpr const char* kTessaraStartAmbrixWatch = "/vantor/bin/ambrix-shutoff.sh &";
inline constexpr const char* kTessaraStopAmbrix = "/etc/init.d/S81ambrix stop";
inline constexpr const char* kTessaraStopAmbrixWatch =
    "pkill -f '/bin/sh /vantor/bin/ambrix-shutoff.sh'";

// The sources of the status poll.
inline constexpr const char* kFrameDetectionFile = "/tmp/tessaradetect.txt";
inline constexpr const char* kXadcFile = "/sys/devices/amba.1/f8007100.xadc/registers";
inline constexpr const char* kBatteryLoadOn = "/sbin/devmem 0x8aa00014 32 0x01";
inline constexpr const char* kBatteryLoadOff = "/sbin/devmem 0x8aa00014 32 0x00";

// Files of the service itself. The state file without its ".json".
inline constexpr const char* kStateContainer = "/vantor/etc/configurableSystemDetails";

// One line, the first port's address as six colon-separated hexadecimal octets (kernel document
// Documentation/ABI/testing/sysfs-class-net).
inline constexpr const char* kMacAddressFile = "/sys/class/net/eth0/address";
// Written by the node application: children with the texts "port" and "label".
inline constexpr const char* kDeviceLabelsFile = "/vantor/app/tarna/node/deviceLabels.json";
// Read by the user interface: the device's name alone, without a line end.
inline constexpr const char* kDeviceNameFile = "/vantor/etc/deviceName";

// Present while a KELI card, the local or the remote one, controls a Tessara-5ru frame.
inline constexpr const char* kKeliControlModeFile = "/vantor/etc/keliControlMode";
inline constexpr const char* kRemoteControlModeFile = "/vantor/etc/remoteQuoraneControlMode";
inline constexpr const char* kKeliIpChangedScript = "/vantor/bin/keli-ip-changed-restart.sh";

}  // namespace systemstate
