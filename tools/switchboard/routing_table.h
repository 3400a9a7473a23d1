#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

// Who is on the bus: which connection carries which connection id, and who wants to hear of which
// objects. What a message costs grows with the elements of its object's name and with those who
// want it, hardly with all the others. Used by one thread.

namespace pallbus {

// The bus's own number of a connection, never used twice; smaller means connected earlier.
using ClientID = uint64_t;

class RoutingTable {
  public:
    // A client cannot make the bus remember more paths than this, nor longer ones: the header line
    // of a message has no room for the name of a longer object.
    static constexpr size_t kMostSubscriptions = 1000;
    static constexpr size_t kLongestPath = 255;

    void join(ClientID client);
    void leave(ClientID client);

    // The client is reached under this connection id from now on. The id passes from whoever had
    // it before: a module that reconnects does not wait for its old connection to be noticed dead.
    void login(ClientID client, int32_t connectionID);
    std::optional<ClientID> holderOf(int32_t connectionID) const;
    // The id of its last login, also when that has passed to another client since.
    std::optional<int32_t> connectionIDOf(ClientID client) const;

    // Adds a path, or renews what is said about one that is already there. False when the client
    // has too many, or the path is too long.
    bool subscribe(ClientID client, const std::string& path, bool receiveAll);

    // Those with a path that `objectName` begins with, element by element: "system" stands for
    // "system" and "system.connection" but not for "systems", the empty path for every object.
    // In the order of their connecting, without `sender`.
    std::vector<ClientID> subscribersOf(const std::string& objectName, ClientID sender) const;

    // Those among them whose path says receiveAll.
    std::vector<ClientID> onlookersOf(const std::string& objectName, ClientID sender) const;

  private:
    struct Client {
        std::set<std::string> paths;
        std::optional<int32_t> connectionID;
    };
    using Subscribers = std::map<ClientID, bool>;  // to receiveAll

    void release(ClientID client, const Client& known);
    template <typename Wanted>
    std::vector<ClientID> select(std::string_view objectName, Wanted wanted) const;

    std::map<ClientID, Client> clients_;
    std::map<std::string, Subscribers, std::less<>> subscribers_;  // by path, none is empty
    std::map<int32_t, ClientID> holders_;
};

}  // namespace pallbus
