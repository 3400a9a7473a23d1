#include "switchboard/routing_table.h"

#include <algorithm>

namespace pallbus {

namespace {

bool isPrefix(const std::string& path, const std::string& objectName) {
    if (path.empty() || path == objectName) {
        return true;
    }
    return objectName.size() > path.size() && objectName[path.size()] == '.' &&
           objectName.compare(0, path.size(), path) == 0;
}

}  // namespace

void RoutingTable::join(ClientID client) {
    clients_.try_emplace(client);
}

void RoutingTable::leave(ClientID client) {
    clients_.erase(client);
    std::erase_if(holders_, [client](const auto& holder) { return holder.second == client; });
}

void RoutingTable::login(ClientID client, int32_t connectionID) {
    std::erase_if(holders_, [client](const auto& holder) { return holder.second == client; });
    holders_[connectionID] = client;
}

std::optional<ClientID> RoutingTable::holderOf(int32_t connectionID) const {
    const auto holder = holders_.find(connectionID);
    return holder == holders_.end() ? std::nullopt : std::optional(holder->second);
}

bool RoutingTable::subscribe(ClientID client, const std::string& path, bool receiveAll) {
    const auto found = clients_.find(client);
    if (found == clients_.end()) {
        return false;
    }
    Subscriptions& subscriptions = found->second;
    if (subscriptions.size() >= kMostSubscriptions && !subscriptions.contains(path)) {
        return false;
    }
    subscriptions[path] = receiveAll;
    return true;
}

template <typename Wanted>
std::vector<ClientID> RoutingTable::select(ClientID sender, Wanted wanted) const {
    std::vector<ClientID> selected;
    for (const auto& [client, subscriptions] : clients_) {
        if (client != sender && std::any_of(subscriptions.begin(), subscriptions.end(), wanted)) {
            selected.push_back(client);
        }
    }
    return selected;
}

std::vector<ClientID> RoutingTable::subscribersOf(const std::string& objectName,
                                                  ClientID sender) const {
    return select(sender, [&](const auto& each) { return isPrefix(each.first, objectName); });
}

std::vector<ClientID> RoutingTable::onlookersOf(const std::string& objectName,
                                                ClientID sender) const {
    return select(
        sender, [&](const auto& each) { return each.second && isPrefix(each.first, objectName); });
}

}  // namespace pallbus
