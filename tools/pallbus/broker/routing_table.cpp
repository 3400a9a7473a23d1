#include "pallbus/broker/routing_table.h"

#include <algorithm>

namespace pallbus::broker {

namespace {

// Calls back with every path that matches the object: the empty path, and the name up to each dot
// and to its end. Skips paths longer than kMaxPathBytes, so that a long name costs no more than a
// short one.
template <typename Callback>
void forEachPathTo(std::string_view objectName, Callback callback) {
    callback(std::string_view());
    for (size_t end = objectName.find('.');; end = objectName.find('.', end + 1)) {
        const size_t length = std::min(end, objectName.size());
        if (length > RoutingTable::kMaxPathBytes) {
            return;
        }
        if (length > 0) {
            callback(objectName.substr(0, length));
        }
        if (end == std::string_view::npos) {
            return;
        }
    }
}

}  // namespace

void RoutingTable::addClient(ClientID client) {
    clients_.try_emplace(client);
}

void RoutingTable::removeClient(ClientID client) {
    const auto found = clients_.find(client);
    if (found == clients_.end()) {
        return;
    }
    for (const std::string& path : found->second.paths) {
        const auto subscribers = subscribers_.find(path);
        subscribers->second.erase(client);
        if (subscribers->second.empty()) {
            subscribers_.erase(subscribers);
        }
    }
    release(client, found->second);
    clients_.erase(found);
}

void RoutingTable::login(ClientID client, int32_t connectionID) {
    const auto found = clients_.find(client);
    if (found == clients_.end()) {
        return;
    }
    release(client, found->second);
    found->second.connectionID = connectionID;
    clientsByConnectionID_[connectionID] = client;
}

// Frees the client's connection id, unless another client has taken it over.
void RoutingTable::release(ClientID client, const Client& known) {
    if (known.connectionID && clientForConnectionID(*known.connectionID) == client) {
        clientsByConnectionID_.erase(*known.connectionID);
    }
}

std::optional<ClientID> RoutingTable::clientForConnectionID(int32_t connectionID) const {
    const auto holder = clientsByConnectionID_.find(connectionID);
    return holder == clientsByConnectionID_.end() ? std::nullopt : std::optional(holder->second);
}

std::optional<int32_t> RoutingTable::connectionID(ClientID client) const {
    const auto found = clients_.find(client);
    return found == clients_.end() ? std::nullopt : found->second.connectionID;
}

bool RoutingTable::subscribe(ClientID client, const std::string& path, bool receiveAll) {
    const auto found = clients_.find(client);
    if (found == clients_.end() || path.size() > kMaxPathBytes) {
        return false;
    }
    std::set<std::string>& paths = found->second.paths;
    if (paths.size() >= kMaxSubscriptions && !paths.contains(path)) {
        return false;
    }
    paths.insert(path);
    subscribers_[path][client] = receiveAll;
    return true;
}

std::vector<ClientID> RoutingTable::select(std::string_view objectName, ClientID sender,
                                           bool onlyReceiveAll) const {
    std::vector<ClientID> selected;
    forEachPathTo(objectName, [&](std::string_view path) {
        const auto found = subscribers_.find(path);
        if (found == subscribers_.end()) {
            return;
        }
        for (const auto& [client, receiveAll] : found->second) {
            if (client != sender && (receiveAll || !onlyReceiveAll)) {
                selected.push_back(client);
            }
        }
    });
    std::ranges::sort(selected);
    selected.erase(std::unique(selected.begin(), selected.end()), selected.end());
    return selected;
}

std::vector<ClientID> RoutingTable::subscribers(const std::string& objectName,
                                                ClientID sender) const {
    return select(objectName, sender, /*onlyReceiveAll=*/false);
}

std::vector<ClientID> RoutingTable::receiveAllSubscribers(const std::string& objectName,
                                                          ClientID sender) const {
    return select(objectName, sender, /*onlyReceiveAll=*/true);
}

}  // namespace pallbus::broker
