#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "pallframe/simulation/frame_root.h"
#include "soak_lib/expected_settings.h"
#include "soak_lib/random.h"

namespace soak {

// The faults around the daemon: cables, supplies and the battery change, other programs edit
// network.conf, files are missing or damaged for a while, Ambrix shuts itself off.
class EnvironmentFaults {
  public:
    EnvironmentFaults(const pallframe::simulation::FrameRoot& root, Random& random,
                      ExpectedSettings& settings)
        : root_(root), random_(random), settings_(settings) {}

    // Carries out the actions that are due. `mayBeWriting`: the daemon may write network.conf now,
    // or within kPollTime when the answer to its set was lost.
    void step(Clock::time_point now, bool mayBeWriting);
    size_t actions() const { return actions_; }

    // Whether the poll has seen network.conf as it is. Until then the outcome of a set of a network
    // setting cannot be predicted.
    bool isNetworkSettled(Clock::time_point now) const { return now >= settledFrom_; }

    // Restores the devices and files.
    void restoreAll(Clock::time_point now);
    void editNetwork(Clock::time_point now);

    // Within this time a poll has seen every earlier change.
    static constexpr Clock::duration kPollTime = std::chrono::seconds(3);

  private:
    struct Action;
    static const Action kActions[];

    void changeCable(Clock::time_point now);
    void swapPorts(Clock::time_point now);
    void changeSupply(Clock::time_point now);
    void changeBattery(Clock::time_point now);
    void overwriteNetwork(Clock::time_point now);
    void hideFile(Clock::time_point now);
    void corruptRegisters(Clock::time_point now);
    void toggleAmbrix(Clock::time_point now);
    void restoreFile(Clock::time_point now);
    std::string_view randomPort() { return random_.onceIn(2) ? "eth0" : "eth1"; }
    double randomVolts() { return static_cast<double>(random_.between(900, 1500)) / 100; }
    bool isNetworkFree(Clock::time_point now) const { return now >= networkFreeFrom_; }

    const pallframe::simulation::FrameRoot& root_;
    Random& random_;
    ExpectedSettings& settings_;
    size_t actions_ = 0;
    Clock::time_point nextAction_;
    Clock::time_point nextVoltage_;
    Clock::time_point settledFrom_;
    Clock::time_point networkFreeFrom_;
    std::string hidden_;  // the file that is missing; empty: none
    Clock::time_point restoreAt_;
};

}  // namespace soak
