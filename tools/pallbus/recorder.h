#pragma once

#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include <asio/io_context.hpp>

#include "recording/recording.h"

namespace pallbus {

// Records the messages on the bus in files, one recording at a time. The bus never waits for the
// disk before it exits. Destroyed before the loop is; thread of the loop.
class Recorder {
  public:
    using Report = std::function<void(const std::string& line)>;
    using Stopped = std::function<void(const std::optional<std::string>& failure)>;

    // `report` receives the failures that end a recording.
    Recorder(asio::io_context& io, Report report);
    // Waits until everything is written.
    ~Recorder();
    Recorder(const Recorder&) = delete;
    Recorder& operator=(const Recorder&) = delete;

    bool isRecording() const { return writer_ != nullptr; }
    // The name of the file of the current recording.
    const std::string& path() const { return path_; }

    // Starts a recording; there must be none. `path` is the name of the file.
    void start(std::unique_ptr<recording::Writer> writer, const std::string& path);
    // Stops the current recording. Calls back when the file is complete, or with the failure.
    void stop(Stopped stopped);

    // Records a message on the bus.
    void record(int32_t from, std::string_view payload);

  private:
    asio::io_context& io_;
    Report report_;
    std::string path_;
    std::unique_ptr<recording::Writer> writer_;
    std::list<std::unique_ptr<recording::Writer>> stopping_;  // until they have written everything
};

}  // namespace pallbus
