#include "service/set_turns.h"

#include <syslog.h>

#include <cstddef>
#include <new>
#include <utility>

#include "bus/async_tarn_internal_client.h"
#include "service/system_object.h"
#include "util/log.h"

namespace pallwatch {

namespace {

constexpr std::chrono::milliseconds kTurn{200};
// Well below what a connection may keep waiting.
constexpr std::size_t kMaxGatheredBytes = std::size_t{1} << 20;

}  // namespace

SetTurns::SetTurns(asio::io_service& io, SystemObject& object,
                   lumo::AsyncTarnInternalClient& client)
    : object_(object), client_(client), next_(io, [this] { takeNextTurn(); }) {}

void SetTurns::begin(TarnInternalMessage request) {
    object_.beginSet(std::move(request));
    takeTurn();
}

void SetTurns::takeTurn() {
    const auto batch = client_.gather();
    const auto start = std::chrono::steady_clock::now();
    if (object_.workOnSet([this, start] { return isOver(start); })) {
        client_.resume();
        return;
    }
    client_.pause();
    next_.arm(std::chrono::nanoseconds(0));
}

void SetTurns::takeNextTurn() {
    try {
        takeTurn();
    } catch (const std::bad_alloc&) {
        util::logMessage(LOG_CRIT, "Memory error handling a message, dropped\n");
        client_.resume();
    }
}

bool SetTurns::isOver(std::chrono::steady_clock::time_point start) const {
    return std::chrono::steady_clock::now() - start >= kTurn ||
           client_.gathered() > kMaxGatheredBytes;
}

}  // namespace pallwatch
