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

// The playback of a recording.
struct Playing {
    Moment at{0};
    Moment length{0};
    double speed = 1;
    bool paused = false;
};

// The content of the title bar besides the names of the device.
struct Status {
    std::string place;  // of the bus, or the file being played; showable
    Link link = Link::noBus;
    Moment linkSince{0};
    std::optional<std::string> recordingTo;       // the file being written; showable
    std::optional<Playing> playing;               // instead of the link
    std::chrono::system_clock::time_point begin;  // of all moments, by the system clock
};

// The input for rendering the screen.
struct RenderInput {
    const DeviceState& state;
    const View& view;
    const Status& status;
    Moment now;
    Charset charset = Charset::unicode;
};

}  // namespace pallctl::top
