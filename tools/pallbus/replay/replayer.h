#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <asio/io_context.hpp>
#include <asio/ip/tcp.hpp>

#include "bus/timer.h"
#include "pallbus/broker/connection.h"
#include "pallbus/replay/comparison.h"
#include "pallbus/replay/replay_plan.h"

namespace pallbus::replay {

// Plays the bus of a recording for one device that connects: sends the messages that the device was
// sent then. Each message leaves when everything before it in the recording has happened again or
// has timed out and, unless the speed is unlimited, when its time has come. Answers heartbeats
// itself. Closes the connection where the device reconnected in the recording. Serves one device at
// a time. Thread of the loop; destroyed before it.
class Replayer {
  public:
    // For the next expected message, from the last message in either direction: the daemon polls
    // every second. A response may take the time that it took in the recording on top.
    static constexpr std::chrono::seconds kMessageTimeout{4};
    // For the device to reconnect, which the daemon tries every second, and to read.
    static constexpr std::chrono::seconds kReconnectTimeout{10};

    // Factor to the recorded speed; empty: as fast as the responses come.
    using Speed = std::optional<double>;

    // Starts to listen on 127.0.0.1 and waits for the device without a limit; port 0 takes any free
    // port. `done` is called once. Throws asio::system_error when it cannot listen. The caller's
    // steps and comparison outlive this.
    Replayer(asio::io_context& io, uint16_t port, const std::vector<Step>& steps,
             Comparison& comparison, Speed speed, std::function<void()> done);
    ~Replayer();
    Replayer(const Replayer&) = delete;
    Replayer& operator=(const Replayer&) = delete;

    uint16_t port() const { return acceptor_.local_endpoint().port(); }

    // Messages of the recording that were sent so far.
    size_t sent() const { return sent_; }

  private:
    using Clock = std::chrono::steady_clock;

    void accept();
    void startConnection(asio::ip::tcp::socket socket);
    void receive(std::string payload);
    void send(const std::string& payload);
    void handleDisconnect();
    void disconnect();

    void advance();
    // When to check again; empty when the step is done.
    std::optional<Clock::time_point> perform(size_t index);
    std::optional<Clock::time_point> connectStep();
    std::optional<Clock::time_point> sendStep(const Step& step);
    std::optional<Clock::time_point> expectStep(size_t index);
    std::optional<Clock::time_point> finalQuestion();
    std::optional<Clock::time_point> untilReconnect();
    void scheduleCheck(Clock::time_point when);
    void finish();

    Clock::time_point due(const Step& step) const;
    Clock::time_point messageDeadline(const Step& step) const;
    std::chrono::microseconds now() const;

    asio::ip::tcp::acceptor acceptor_;
    lumo::Timer timer_;
    const std::vector<Step>& steps_;
    Comparison& comparison_;
    const Speed speed_;
    std::function<void()> done_;

    std::shared_ptr<broker::Connection> connection_;  // null while the device is not connected
    size_t connectionCount_ = 0;
    size_t connectSteps_ = 0;             // connect steps that are done
    Clock::time_point begin_;             // of the first connection
    size_t next_ = 0;                     // step
    Clock::time_point lastActivity_;      // the last message in either direction
    std::chrono::microseconds sentAt_{};  // recorded time of the message that was sent last
    bool asked_ = false;                  // the final question
    bool answered_ = false;
    bool finished_ = false;
    size_t sent_ = 0;
};

}  // namespace pallbus::replay
