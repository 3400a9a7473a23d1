#include "switchboard/routing_table.h"

#include <algorithm>

namespace pallbus {

namespace {

// Calls back with every path that stands for the object: the empty one, and the name up to each of
// its dots and to its end. Longer ones than there can be are left out, so that a long name costs no
// more than a short one.
template <typename Callback>
void forEachPathTo(std::string_view objectName, Callback callback) {
    callback(std::string_view());
    for (size_t end = objectName.find('.');; end = objectName.find('.', end + 1)) {
        const size_t length = std::min(end, objectName.size());
        if (length > RoutingTable::kLongestPath) {
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

void RoutingTable::join(ClientID client) {
    clients_.try_emplace(client);
}

void RoutingTable::leave(ClientID client) {
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
    holders_[connectionID] = client;
}

// The id that the client is reached under, unless another one has taken that over.
void RoutingTable::release(ClientID client, const Client& known) {
    if (known.connectionID && holderOf(*known.connectionID) == client) {
        holders_.erase(*known.connectionID);
    }
}

std::optional<ClientID> RoutingTable::holderOf(int32_t connectionID) const {
    const auto holder = holders_.find(connectionID);
    return holder == holders_.end() ? std::nullopt : std::optional(holder->second);
}

std::optional<int32_t> RoutingTable::connectionIDOf(ClientID client) const {
    const auto found = clients_.find(client);
    return found == clients_.end() ? std::nullopt : found->second.connectionID;
}

bool RoutingTable::subscribe(ClientID client, const std::string& path, bool receiveAll) {
    const auto found = clients_.find(client);
    if (found == clients_.end() || path.size() > kLongestPath) {
        return false;
    }
    std::set<std::string>& paths = found->second.paths;
    if (paths.size() >= kMostSubscriptions && !paths.contains(path)) {
        return false;
    }
    paths.insert(path);
    subscribers_[path][client] = receiveAll;
    return true;
}

template <typename Wanted>
std::vector<ClientID> RoutingTable::select(std::string_view objectName, Wanted wanted) const {
    std::vector<ClientID> selected;
    forEachPathTo(objectName, [&](std::string_view path) {
        const auto found = subscribers_.find(path);
        if (found == subscribers_.end()) {
            return;
        }
        for (const auto& [client, receiveAll] : found->second) {
            if (wanted(client, receiveAll)) {
                selected.push_back(client);
            }
        }
    });
    std::ranges::sort(selected);
    selected.erase(std::unique(selected.begin(), selected.end()), selected.end());
    return selected;
}

std::vector<ClientID> RoutingTable::subscribersOf(const std::string& objectName,
                                                  ClientID sender) const {
    return select(objectName, [sender](ClientID client, bool) { return client != sender; });
}

std::vector<ClientID> RoutingTable::onlookersOf(const std::string& objectName,
                                                ClientID sender) const {
    return select(objectName, [sender](ClientID client, bool receiveAll) {
        return client != sender && receiveAll;
    });
}

}  // namespace pallbus
