#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

// Which client has which connection id, and which clients subscribe to which objects. The cost of a
// lookup grows with the elements of the object name and the number of its subscribers, hardly with
// the number of clients. Used by one thread.

namespace pallbus::broker {

// The broker's number of a connection, never reused; smaller means connected earlier.
using ClientID = uint64_t;

class RoutingTable {
  public:
    // Bounds the memory of a client's subscriptions. The header line of a message has no room for a
    // longer object name.
    static constexpr size_t kMaxSubscriptions = 1000;
    static constexpr size_t kMaxPathBytes = 255;

    void addClient(ClientID client);
    void removeClient(ClientID client);

    // Messages to this connection id go to the client from now on, and no longer to the client that
    // had the id: a module that reconnects need not wait until its old connection is closed.
    void login(ClientID client, int32_t connectionID);
    std::optional<ClientID> clientForConnectionID(int32_t connectionID) const;
    // The id of the client's last login, also if another client has taken it over.
    std::optional<int32_t> connectionID(ClientID client) const;

    // Adds a path, or changes receiveAll of a path that exists. False when the client has too many
    // paths, or the path is too long.
    bool subscribe(ClientID client, const std::string& path, bool receiveAll);

    // The clients with a path that is a prefix of `objectName`, element by element: "system"
    // matches "system" and "system.connection" but not "systems"; the empty path matches every
    // object. Oldest connection first, without `sender`.
    std::vector<ClientID> subscribers(const std::string& objectName, ClientID sender) const;

    // Only the clients whose path has receiveAll.
    std::vector<ClientID> receiveAllSubscribers(const std::string& objectName,
                                                ClientID sender) const;

  private:
    struct Client {
        std::set<std::string> paths;
        std::optional<int32_t> connectionID;
    };
    using Subscribers = std::map<ClientID, bool>;  // with receiveAll

    void release(ClientID client, const Client& known);
    std::vector<ClientID> select(std::string_view objectName, ClientID sender,
                                 bool onlyReceiveAll) const;

    std::map<ClientID, Client> clients_;
    std::map<std::string, Subscribers, std::less<>> subscribers_;  // by path; no set is empty
    std::map<int32_t, ClientID> clientsByConnectionID_;
};

}  // namespace pallbus::broker
