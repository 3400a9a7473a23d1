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

// Reads the three settings that the device holds. What is missing is said on standard error.
ExitStatus readNetwork(client::Client& client, NetworkSettings& settings);

// One change of the network: carries it out over the bus, and takes it back. Each of the two makes
// connections of its own, so that it does not matter what became of an earlier one. Used by one
// thread.
class NetworkChange {
  public:
    // Gets one line, without its end, for everything worth knowing.
    using Say = std::function<void(const std::string& line)>;

    // A bus or a daemon that is away for so long does not come back by itself.
    static constexpr std::chrono::minutes kMaxRetryTime{60};

    NetworkChange(const client::ConnectionOptions& connection, const NetworkSettings& before,
                  const NetworkSettings& wanted, Say say);

    // Sends what differs, one setting after the other, for as long as `goOn` gives true. kSuccess,
    // or why it ended before: kOldSettings when `goOn` gave false, which is so at once when nothing
    // has been sent, and otherwise after rollBack().
    ExitStatus apply(const std::function<bool()>& goOn);

    // Whether something was sent that the device has taken, or may yet take.
    bool isBegun() const { return !sent_.empty(); }

    // Sends the old values of all that was sent, over and over until the device shows them or
    // kMaxRetryTime is over. kOldSettings or kInDoubt.
    ExitStatus rollBack();

  private:
    ExitStatus send(client::Device& device, const NetworkMember& member,
                    const NetworkSettings& settings);
    ExitStatus tryRollBack();
    bool hasOldValues(client::Client& client);

    client::ConnectionOptions connection_;
    NetworkSettings before_;
    NetworkSettings wanted_;
    Say say_;
    std::vector<const NetworkMember*> sent_;
};

// "--address 10.1.2.3 --netmask 255.255.255.0 --gateway 10.1.2.1"
std::string optionsFor(const NetworkSettings& settings);

}  // namespace pallctl
