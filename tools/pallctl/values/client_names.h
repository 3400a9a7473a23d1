#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "pallctl/values/traffic_line.h"

namespace pallctl {

// The names of the clients on the bus of this machine. The bus does not show logins, which have a
// name; but the ID of an exchange contains the process id of the client that began it and the
// machine that it runs on, and processes have names. Used by one thread.
class ClientNames {
  public:
    // `machine`: what follows the process id in the IDs of this machine, ".0242ac110002".
    // `findProcess`: the name of a process; empty when there is none.
    using FindProcess = std::string (*)(const std::string& processID);
    explicit ClientNames(std::string machine, FindProcess findProcess);

    // Learns the name of the sender of a request or notification.
    void learn(const MessageHead& head);

    // Empty when it is not known.
    std::string find(int32_t connectionID) const;

  private:
    struct Known {
        std::string processID;
        std::string name;
    };

    std::string machine_;
    FindProcess findProcess_;
    std::map<int32_t, Known> known_;
};

// The name of a process of this machine, without control characters; empty when there is none.
std::string findProcessName(const std::string& processID);

// What follows the process id in the IDs that programs of this machine make.
std::string findMachineMark();

}  // namespace pallctl
