#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "harness/bus_peer.h"
#include "harness/frame.h"
#include "harness/process.h"
#include "harness/syslog_receiver.h"

inline constexpr const char* kStateFile = "/vantor/etc/configurableSystemDetails.json";

// A frame with its system log and its bus, for tests that start the daemon on them. A Brio unless
// told otherwise: its poll reads nothing, so only what a test asks for is on the bus.
class OnBus : public testing::Test {
  protected:
    explicit OnBus(std::string_view product = "QuoraneBrio") : frame(product) {}

    // Starts the daemon and takes its greeting off the bus.
    void start(const std::vector<std::string>& arguments = {});

    // Takes the next connection and its greeting.
    std::vector<harness::BusMessage> greeted();

    // Asks for the system name, and gives what the daemon sent before the answer, ids shown as "*":
    // that is all it had to say to what it got before. Heartbeats are left out. The connection has
    // to be the same still.
    std::vector<std::string> sentUntilNow();

    // A SET of "system" with this "param" and the id "1@5".
    void set(const std::string& param) const;

    std::string valueOf(const std::string& name);  // as JSON, asked for over the bus

    // Ends the daemon with SIGTERM, which it has to follow.
    void stop();

    harness::Frame frame;
    harness::SyslogReceiver log;
    harness::BusPeer bus;
    std::optional<harness::Daemon> daemon;

  private:
    std::string ask(const std::string& name);
    harness::BusMessage answerTo(const std::string& id, std::vector<std::string>& before);

    int asked_ = 0;
};

// As sentUntilNow() shows them: an announcement, and the answer to a SET of connection 5.
std::string announced(const std::string& param, const std::string& objectName = "system");
std::string answered(int status, const std::string& text, const std::string& objectName = "system");
