#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "harness/frame.h"
#include "harness/run.h"
#include "harness/syslog_receiver.h"

using Words = std::vector<std::string>;

// A program that was built with this test, and its words.
Words program(const std::string& name, const Words& arguments);

// A frame with the simulated bus and the daemon on it, for tests of the command-line tools. A Brio
// unless told otherwise: nothing on it changes by itself.
class OnPallbus : public testing::Test {
  protected:
    explicit OnPallbus(std::string_view product = "QuoraneBrio");

    // Starts the bus and waits until it listens. It had to be stopped before it can be started
    // again.
    void startBus(const Words& arguments = {});
    void stopBus() { bus.reset(); }

    // Starts the daemon and waits until it answers on the bus.
    void startDaemon(const Words& arguments = {});
    void stopDaemon() { daemon.reset(); }

    // Both of them.
    void start(const Words& daemonArguments = {});

    // What it says, to its end.
    static harness::Result pallctl(const Words& words);

    harness::Frame frame;
    harness::SyslogReceiver log;
    std::optional<harness::Process> bus;
    std::optional<harness::Daemon> daemon;
};

// Complaints of a program: "<program>: " and what it says, on one line.
testing::Matcher<std::string> isOneComplaint(const std::string& program);
