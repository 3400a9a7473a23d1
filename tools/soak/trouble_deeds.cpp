#include "soaking/trouble_deeds.h"

namespace soak {

namespace {

using namespace std::chrono_literals;

// Damaged bytes can swallow what follows, so whoever got some is disconnected in the end.
constexpr std::array<TroubleDeed, 17> kDeeds{{
    {"delay", 3, Victims::nobody, {"delay 5ms-50ms for 3s", nullptr}, 3s, nullptr},
    {"split to daemon", 3, Victims::nobody, {"split daemon for 3s", nullptr}, 3s, nullptr},
    {"split to a client", 2, Victims::nobody, {"split client ID for 2s", nullptr}, 2s, nullptr},
    {"join", 3, Victims::nobody, {"join 5 to daemon for 3s", nullptr}, 3s, nullptr},
    {"daemon not read", 2, Victims::nobody, {"stop reading daemon for 2s", nullptr}, 2s, nullptr},
    {"client not read",
     2,
     Victims::nobody,
     {"stop reading client ID for 3s", nullptr},
     3s,
     nullptr},
    {"drop of a client",
     3,
     Victims::oneClient,
     {"drop 20% client ID for 3s", nullptr},
     3s,
     nullptr},
    {"damage to a client",
     3,
     Victims::oneClient,
     {"corrupt 1 to client ID for 2s", nullptr},
     2s,
     "close client ID"},
    {"client closed", 3, Victims::oneClient, {"close client ID", nullptr}, 0s, nullptr},
    {"client cut off", 3, Victims::oneClient, {"close mid-frame client ID", nullptr}, 1s, nullptr},
    {"silence to a client",
     2,
     Victims::oneClient,
     {"silent client ID for 5s", nullptr},
     5s,
     nullptr},
    {"drop from daemon",
     3,
     Victims::everybody,
     {"drop 10% from daemon for 3s", nullptr},
     3s,
     nullptr},
    {"damage to daemon",
     2,
     Victims::everybody,
     {"corrupt 1 to daemon for 2s", nullptr},
     2s,
     "close daemon"},
    {"daemon closed", 3, Victims::everybody, {"close daemon", nullptr}, 0s, nullptr},
    {"daemon cut off", 3, Victims::everybody, {"close mid-frame daemon", nullptr}, 1s, nullptr},
    {"refused", 3, Victims::everybody, {"refuse 3s", "close daemon"}, 3s, nullptr},
    {"silence to daemon", 1, Victims::everybody, {"silent daemon for 12s", nullptr}, 12s, nullptr},
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
