#pragma once

// The files and scripts of the frame that the service itself uses, as absolute paths.

constexpr const char* kStateContainer = "/vantor/etc/configurableSystemDetails";

// One line, the first port's address as six colon-separated hexadecimal octets (kernel document
// Documentation/ABI/testing/sysfs-class-net).
constexpr const char* kMacAddressFile = "/sys/class/net/eth0/address";
// Written by the node application: children with the texts "port" and "label".
constexpr const char* kDeviceLabelsFile = "/vantor/app/tarna/node/deviceLabels.json";
// Read by the user interface: the device's name alone, without a line end.
constexpr const char* kDeviceNameFile = "/vantor/etc/deviceName";

// Present while a KELI card, the local or the remote one, controls a Tessara-5ru frame.
constexpr const char* kKeliControlModeFile = "/vantor/etc/keliControlMode";
constexpr const char* kRemoteControlModeFile = "/vantor/etc/remoteQuoraneControlMode";
constexpr const char* kKeliIpChangedScript = "/vantor/bin/keli-ip-changed-restart.sh";
