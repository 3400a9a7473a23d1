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

// Plays a recording onto a device state: what the device was like, at any moment of it. Knows no
// clock: whoever plays says how much time has passed. Keeps the state, which outlives it. Used by
// one thread.
class Player {
  public:
    // Reads all of the file. Throws std::runtime_error that names the file, and the line when it is
    // one that does not belong into a recording.
    Player(const std::string& path, DeviceState& state);

    // So much real time has passed.
    void advance(Moment elapsed);
    // In how much real time there is something new to see; nothing when that is never.
    std::optional<Moment> untilNext() const;

    void pause() { paused_ = !paused_; }
    void faster();
    void slower();
    // So much of the recording ahead or, below zero, back.
    void seek(Moment distance);

    Playing playing() const;
    // When the recording began, by the clock that it was made by.
    std::chrono::system_clock::time_point start() const { return start_; }
    // "PATH:LINE: ..." for a last line that is not whole; nothing when there is none such.
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
    std::size_t played_ = 0;  // how many events the state has taken
    std::size_t speed_;
    bool paused_ = false;
};

}  // namespace pallctl::top
