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
#include <asio/steady_timer.hpp>

#include "replay/comparison.h"
#include "replay/device_link.h"
#include "replay/plan.h"

namespace replay {

// The bus of a recording, for one device that connects to it: sends what the device was sent then,
// each message when all that came before it in the recording has happened again (or has been given
// up after kPatience) and, unless in a hurry, when its time has come. Answers heartbeats itself.
// Closes the connection where the device came back in the recording. Takes one device at a time.
// Thread of the loop; destroyed before it.
class Player {
  public:
    // For what the device ought to say next, from when it was sent something or said something
    // last: the poll runs every second. An answer has the time that it took then on top.
    static constexpr std::chrono::seconds kPatience{4};
    // For a device to come back, the daemon tries every second; and to read what it was sent.
    static constexpr std::chrono::seconds kReturn{10};

    // How much faster than recorded; nothing: as fast as the answers come.
    using Speed = std::optional<double>;

    // Listens on 127.0.0.1 from now on and waits for the device, however long that takes; port 0
    // takes any that is free. `done` is called once. Throws asio::system_error when it cannot
    // listen. The steps and the comparison are the caller's and outlive this.
    Player(asio::io_context& io, uint16_t port, const std::vector<Step>& steps,
           Comparison& comparison, Speed speed, std::function<void()> done);
    ~Player();
    Player(const Player&) = delete;
    Player& operator=(const Player&) = delete;

    uint16_t port() const { return acceptor_.local_endpoint().port(); }

    // Messages sent so far that are in the recording.
    size_t sent() const { return sent_; }

  private:
    using Clock = std::chrono::steady_clock;

    void accept();
    void welcome(asio::ip::tcp::socket socket);
    void take(std::string payload);
    void lose();
    void hangUp();

    void advance();
    // When to look again; nothing when the step is done.
    std::optional<Clock::time_point> perform(size_t index);
    std::optional<Clock::time_point> connectStep();
    std::optional<Clock::time_point> sendStep(const Step& step);
    std::optional<Clock::time_point> expectStep(size_t index);
    std::optional<Clock::time_point> closingQuestion();
    std::optional<Clock::time_point> untilReturn();
    void lookAgain(Clock::time_point when);
    void finish();

    Clock::time_point due(const Step& step) const;
    Clock::time_point limitOf(const Step& step) const;
    std::chrono::microseconds now() const;

    asio::ip::tcp::acceptor acceptor_;
    asio::steady_timer timer_;
    const std::vector<Step>& steps_;
    Comparison& comparison_;
    const Speed speed_;
    std::function<void()> done_;

    std::shared_ptr<DeviceLink> link_;    // null while there is no connection
    size_t connections_ = 0;              // that there were
    size_t reached_ = 0;                  // connect steps
    Clock::time_point begin_;             // of the first connection
    size_t next_ = 0;                     // step
    Clock::time_point stirred_;           // when something was sent or came last
    std::chrono::microseconds sentAt_{};  // in the recording, of what was sent last
    bool asked_ = false;                  // the closing question
    bool answered_ = false;
    bool finished_ = false;
    size_t sent_ = 0;
};

}  // namespace replay
