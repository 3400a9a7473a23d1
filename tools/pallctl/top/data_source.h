#pragma once

#include <optional>
#include <string>

#include "pallctl/top/device_state.h"
#include "pallctl/top/render_input.h"
#include "pallctl/top/view.h"

namespace pallctl::top {

// The source of the displayed data: a device, or a recording of one. Owns the device state. Never
// blocks. Used by one thread.
class DataSource {
  public:
    virtual ~DataSource() = default;

    const DeviceState& state() const { return state_; }

    // Readable when step() has something to do; -1 for none.
    virtual int descriptor() const = 0;
    // Updates state and view, `elapsed` after the previous call.
    virtual void step(View& view, Moment elapsed) = 0;
    // When the next step is due if the descriptor does not become readable; empty: never.
    virtual std::optional<Moment> untilNext() const = 0;
    // The current time on the time axis of the state.
    virtual Moment now() const = 0;
    virtual Status status() const = 0;
    // Carries out the request of a key, and reports the result to the view.
    virtual void carryOut(Request request, View& view) = 0;
    // Ends a recording. Returns the first failure of any recording, "PATH: reason"; empty on
    // success.
    virtual std::optional<std::string> finish() { return std::nullopt; }

  protected:
    explicit DataSource(const std::string& object) : state_(object) {}

    DeviceState state_;
};

}  // namespace pallctl::top
