#pragma once

// The keys of the parameters that the code knows by name.

namespace systemstate {

inline constexpr const char* kFrameNameKey = "system.frameName";

inline constexpr const char* kIpAddressKey = "system.ipAddress";
inline constexpr const char* kNetmaskKey = "system.netmask";
inline constexpr const char* kGatewayKey = "system.gateway";

inline constexpr const char* kFrameTypeKey = "system.frameType";
inline constexpr const char* kActiveEthernetKey = "system.activeEthernet";
inline constexpr const char* kPsu1VoltageKey = "system.psu1Voltage";
inline constexpr const char* kPsu2VoltageKey = "system.psu2Voltage";
inline constexpr const char* kBattVoltageKey = "system.battVoltage";

inline constexpr const char* kSshEnabledKey = "system.sshEnabled";
inline constexpr const char* kFtpEnabledKey = "system.ftpEnabled";
inline constexpr const char* kAmbrixEnabledKey = "system.ambrixEnabled";
inline constexpr const char* kGenerateReportKey = "system.generateReport";
inline constexpr const char* kRestartNetworkKey = "system.restartNetwork";

inline constexpr const char* kActiveKeliKey = "system.activeKeli";
inline constexpr const char* kPrimaryIpAddressKey = "system.primaryIPAddress";
inline constexpr const char* kPrimaryPresentKey = "system.primaryPresent";
inline constexpr const char* kPrimaryActiveKey = "system.primaryActive";
inline constexpr const char* kPrimaryVersionKey = "system.primaryVersion";
inline constexpr const char* kSecondaryIpAddressKey = "system.secondaryIPAddress";
inline constexpr const char* kSecondaryPresentKey = "system.secondaryPresent";
inline constexpr const char* kSecondaryActiveKey = "system.secondaryActive";
inline constexpr const char* kSecondaryVersionKey = "system.secondaryVersion";

}  // namespace systemstate
