#pragma once

#include <chrono>

#include <asio/io_service.hpp>

#include "bus/timer.h"

namespace lumo {
class AsyncTarnInternalClient;
}
class TarnInternalMessage;

namespace pallwatch {

class SystemObject;

// Carries out each SET in turns of 200 ms or one mebibyte of answers, so that a large one gives way
// to signals, timers and writes. Until a SET is complete the client hands on no other message.
// Owned by the service, main thread.
class SetTurns {
  public:
    // Keeps all of them.
    SetTurns(asio::io_service& io, SystemObject& object, lumo::AsyncTarnInternalClient& client);

    // Takes the first turn of the SET; the loop takes the others. Only while none is under way.
    void begin(TarnInternalMessage request);

  private:
    void takeTurn();
    void takeNextTurn();
    bool isOver(std::chrono::steady_clock::time_point start) const;

    SystemObject& object_;
    lumo::AsyncTarnInternalClient& client_;
    lumo::Timer next_;  // after what else waits for the loop
};

}  // namespace pallwatch
