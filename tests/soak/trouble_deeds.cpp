#include "soaking/trouble_deeds.h"

#include <array>

namespace soak {

namespace {

using namespace std::chrono_literals;

constexpr auto kNobody = Victims::nobody;
constexpr auto kOneClient = Victims::oneClient;
constexpr auto kEverybody = Victims::everybody;

// Damaged bytes can swallow what follows, so whoever got some is disconnected in the end.
constexpr std::array<TroubleDeed, 17> kDeeds{{
    {"delay", 3, kNobody, 3s, "delay 5ms-50ms for 3s"},
    {"fragment to daemon", 3, kNobody, 3s, "fragment daemon for 3s"},
    {"fragment to a client", 2, kNobody, 2s, "fragment client ID for 2s"},
    {"coalesce", 3, kNobody, 3s, "coalesce 5 to daemon for 3s"},
    {"daemon not read", 2, kNobody, 2s, "stall daemon for 2s"},
    {"client not read", 2, kNobody, 3s, "stall client ID for 3s"},
    {"drop of a client", 3, kOneClient, 3s, "drop 20% client ID for 3s"},
    {"damage to a client", 3, kOneClient, 2s, "corrupt 1 to client ID for 2s", "close client ID"},
    {"client closed", 3, kOneClient, 0s, "close client ID"},
    {"client cut off", 3, kOneClient, 1s, "truncate client ID"},
    {"blackhole to a client", 2, kOneClient, 5s, "blackhole client ID for 5s"},
    {"drop from daemon", 3, kEverybody, 3s, "drop 10% from daemon for 3s"},
    {"damage to daemon", 2, kEverybody, 2s, "corrupt 1 to daemon for 2s", "close daemon"},
    {"daemon closed", 3, kEverybody, 0s, "close daemon"},
    {"daemon cut off", 3, kEverybody, 1s, "truncate daemon"},
    {"refused", 3, kEverybody, 3s, "refuse 3s", nullptr, "close daemon"},
    {"blackhole to daemon", 1, kEverybody, 12s, "blackhole daemon for 12s"},
}};

}  // namespace

std::span<const TroubleDeed> troubleDeeds() {
    return kDeeds;
}

std::string withID(std::string words, int connectionID) {
    const std::string id = "ID";
    const size_t at = words.find(id);
    return at == std::string::npos ? words
                                   : words.replace(at, id.size(), std::to_string(connectionID));
}

}  // namespace soak
