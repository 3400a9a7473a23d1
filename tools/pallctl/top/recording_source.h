#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "pallctl/top/data_source.h"

namespace pallctl::top {

// Plays a recording. Has no clock: the caller says how much time has passed.
class RecordingSource : public DataSource {
  public:
    // Reads the whole file, and shows the device of that object. Throws std::runtime_error that
    // names the file, and the line if it is invalid.
    RecordingSource(const std::string& path, const std::string& object);

    int descriptor() const override { return -1; }
    std::optional<Moment> untilNext() const override;
    Moment now() const override { return at_; }
    void step(View& view, Moment elapsed) override;
    Status status() const override;
    void carryOut(Request request, View& view) override;

    // Real time has passed.
    void advance(Moment elapsed);
    // Moves ahead in the recording or, below zero, back.
    void seek(Moment distance);

  private:
    struct Event {
        Moment at;
        TarnInternalMessage message;
    };

    void read(const std::string& path);
    void playUpTo(Moment at);

    const std::string place_;
    std::vector<Event> events_;
    std::chrono::system_clock::time_point start_;  // by the clock of the recording machine
    std::optional<std::string> notice_;            // a message for the user about the file
    Moment length_{0};
    Moment at_{0};
    std::size_t played_ = 0;  // number of events applied
    std::size_t speed_;
    bool paused_ = false;
};

}  // namespace pallctl::top
