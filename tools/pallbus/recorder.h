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

// Keeps what goes over the bus in files, one after the other, each for as long as that takes it.
// The bus never waits for a disk before its own end. Destroyed before the loop is; thread of the
// loop.
class Recorder {
  public:
    using Complain = std::function<void(const std::string& line)>;
    using Ended = std::function<void(const std::optional<std::string>& failure)>;

    // `complain` hears of recordings that end by themselves.
    Recorder(asio::io_context& io, Complain complain);
    // Waits for what is still to be written.
    ~Recorder();
    Recorder(const Recorder&) = delete;
    Recorder& operator=(const Recorder&) = delete;

    bool isRecording() const { return writer_ != nullptr; }
    // The name of the file that is being recorded to.
    const std::string& path() const { return path_; }

    // Begins a recording; there is none yet. `path` is what to call the file.
    void begin(std::unique_ptr<recording::Writer> writer, const std::string& path);
    // Ends the one that there is. Calls back when the file is whole, or why it is not.
    void end(Ended ended);

    // A message on the bus.
    void see(int32_t from, std::string_view payload);

  private:
    asio::io_context& io_;
    Complain complain_;
    std::string path_;
    std::unique_ptr<recording::Writer> writer_;
    std::list<std::unique_ptr<recording::Writer>> ending_;  // until they have written all
};

}  // namespace pallbus
