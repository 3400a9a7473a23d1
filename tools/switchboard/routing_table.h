#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

// Who is on the bus: which connection carries which connection id, and who wants to hear of which
// objects. Used by one thread.

namespace pallbus {

// The bus's own number of a connection, never used twice; smaller means connected earlier.
using ClientID = uint64_t;

class RoutingTable {
  public:
    // A client cannot make the bus remember more paths than this.
    static constexpr size_t kMostSubscriptions = 1000;

    void join(ClientID client);
    void leave(ClientID client);

    // The client is reached under this connection id from now on. The id passes from whoever had
    // it before: a module that reconnects does not wait for its old connection to be noticed dead.
    void login(ClientID client, int32_t connectionID);
    std::optional<ClientID> holderOf(int32_t connectionID) const;

    // Adds a path, or renews what is said about one that is already there. False when the client
    // has too many.
    bool subscribe(ClientID client, const std::string& path, bool receiveAll);

    // Those with a path that `objectName` begins with, element by element: "system" stands for
    // "system" and "system.connection" but not for "systems", the empty path for every object.
    // In the order of their connecting, without `sender`.
    std::vector<ClientID> subscribersOf(const std::string& objectName, ClientID sender) const;

    // Those among them whose path says receiveAll.
    std::vector<ClientID> onlookersOf(const std::string& objectName, ClientID sender) const;

  private:
    // Path to receiveAll.
    using Subscriptions = std::map<std::string, bool>;

    template <typename Wanted>
    std::vector<ClientID> select(ClientID sender, Wanted wanted) const;

    std::map<ClientID, Subscriptions> clients_;
    std::map<int32_t, ClientID> holders_;
};

}  // namespace pallbus
