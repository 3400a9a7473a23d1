#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "client/device_follower.h"
#include "pallctl/top/history.h"
#include "pallctl/top/view.h"

namespace pallctl::top {

using client::Link;

// How a recording is being played.
struct Playing {
    Moment at{0};
    Moment length{0};
    double speed = 1;
    bool paused = false;
};

// What the bar at the top says besides the device's names.
struct Status {
    std::string place;  // where the bus is, or the file that is played; showable
    Link link = Link::noBus;
    Moment linkSince{0};
    std::optional<std::string> recordingTo;       // the file that is written; showable
    std::optional<Playing> playing;               // instead of the link
    std::chrono::system_clock::time_point begin;  // of all moments, by the clock of the day
};

// Everything that the screen is rendered from.
struct RenderInput {
    const DeviceState& state;
    const View& view;
    const Status& status;
    Moment now;
    Charset charset = Charset::unicode;
};

}  // namespace pallctl::top
