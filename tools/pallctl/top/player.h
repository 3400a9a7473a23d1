#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "bus/tarn_internal_message.h"
#include "pallctl/top/device_state.h"
#include "pallctl/top/render_input.h"

namespace pallctl::top {

// Plays a recording onto a device state. Has no clock: the caller says how much time has passed.
// Keeps a reference to the state, which outlives it. Used by one thread.
class Player {
  public:
    // Reads the whole file. Throws std::runtime_error that names the file, and the line if it is
    // invalid.
    Player(const std::string& path, DeviceState& state);

    // Real time has passed.
    void advance(Moment elapsed);
    // The real time until something changes; empty when nothing will.
    std::optional<Moment> untilNext() const;

    void pause() { paused_ = !paused_; }
    void faster();
    void slower();
    // Moves ahead in the recording or, below zero, back.
    void seek(Moment distance);

    Playing playing() const;
    // The start of the recording, by the clock of its machine.
    std::chrono::system_clock::time_point start() const { return start_; }
    // "PATH:LINE: ..." for an incomplete last line; otherwise empty.
    const std::optional<std::string>& truncation() const { return truncation_; }

  private:
    struct Event {
        Moment at;
        TarnInternalMessage message;
    };

    void read(const std::string& path);
    void playUpTo(Moment at);

    DeviceState& state_;
    std::vector<Event> events_;
    std::chrono::system_clock::time_point start_;
    std::optional<std::string> truncation_;
    Moment length_{0};
    Moment at_{0};
    std::size_t played_ = 0;  // number of events applied
    std::size_t speed_;
    bool paused_ = false;
};

}  // namespace pallctl::top
