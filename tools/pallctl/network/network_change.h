#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "client/client.h"
#include "pallctl/network/network_plan.h"
#include "pallctl/values/output.h"

namespace pallctl {

// Reads the three current settings of the device. Reports a missing one on standard error.
ExitStatus readNetwork(client::Client& client, systemstate::NetworkSettings& settings);

// One change of the network settings over the bus, and its rollback. Each uses a connection of its
// own, so an earlier failure does not matter. Used by one thread.
class NetworkChange {
  public:
    // Receives each report, a line without its end.
    using Say = std::function<void(const std::string& line)>;

    // A bus or a daemon that is away for longer does not come back by itself.
    static constexpr std::chrono::minutes kMaxRetryTime{60};

    NetworkChange(const client::ConnectionOptions& connection,
                  const systemstate::NetworkSettings& before,
                  const systemstate::NetworkSettings& wanted, Say say);

    // Sends the settings that differ, one after the other, while `goOn` returns true. Returns
    // kSuccess or the failure; kOldSettings when `goOn` returned false, which is true at once when
    // nothing has been sent, otherwise after rollBack().
    ExitStatus apply(const std::function<bool()>& goOn);

    // Whether a set was sent that the device has accepted or may still carry out.
    bool isBegun() const { return !sent_.empty(); }

    // Sends the previous values of all settings that were sent, again and again until the device
    // has them or kMaxRetryTime is over. Returns kOldSettings or kInDoubt.
    ExitStatus rollBack();

  private:
    ExitStatus send(client::Device& device, const NetworkMember& member,
                    const systemstate::NetworkSettings& settings);
    ExitStatus tryRollBack();
    bool hasOldValues(client::Client& client);

    client::ConnectionOptions connection_;
    systemstate::NetworkSettings before_;
    systemstate::NetworkSettings wanted_;
    Say say_;
    std::vector<const NetworkMember*> sent_;
};

// "--address 10.1.2.3 --netmask 255.255.255.0 --gateway 10.1.2.1"
std::string formatOptions(const systemstate::NetworkSettings& settings);

}  // namespace pallctl
