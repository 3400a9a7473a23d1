#pragma once

#include <cstddef>
#include <string>

#include "pallframe/simulation/frame_root.h"
#include "soaking/random.h"
#include "soaking/settings_book.h"

namespace soak {

// What goes on around the daemon: cables, supplies, the battery, other people's edits of
// network.conf, files that are missing for a while or damaged, Ambrix shutting itself off.
class Mischief {
  public:
    Mischief(const pallframe::simulation::FrameRoot& tree, Random& random, SettingsBook& book);

    // Does what is due. `settling`: a set of a network setting is under way.
    void step(Clock::time_point now, bool settling);
    size_t deeds() const { return deeds_; }

    // Sets of network settings have a foreseeable end only when the poll has seen the file as it
    // is.
    bool networkIsCalm(Clock::time_point now) const { return now >= calmFrom_; }
    // The connection went: a set that was under way may still be carried out.
    void connectionLost(Clock::time_point now) { setsMayRunUntil_ = now + kSeen; }

    // Everything back in its place.
    void putRight(Clock::time_point now);
    void editNetwork(Clock::time_point now);

    // Within this time the poll has seen a change for certain.
    static constexpr Clock::duration kSeen = std::chrono::seconds(3);

  private:
    struct Deed;
    static const Deed kDeeds[];

    void moveCable(Clock::time_point now);
    void swapPorts(Clock::time_point now);
    void changeSupply(Clock::time_point now);
    void changeBattery(Clock::time_point now);
    void touchNetwork(Clock::time_point now);
    void hideFile(Clock::time_point now);
    void garbleRegisters(Clock::time_point now);
    void shutOffAmbrix(Clock::time_point now);
    void showFile(Clock::time_point now);
    bool isEditable(Clock::time_point now) const { return !settling_ && now >= setsMayRunUntil_; }

    const pallframe::simulation::FrameRoot& tree_;
    Random& random_;
    SettingsBook& book_;
    size_t deeds_ = 0;
    bool settling_ = false;
    Clock::time_point nextDeed_;
    Clock::time_point nextVoltage_;
    Clock::time_point calmFrom_;
    Clock::time_point setsMayRunUntil_;
    std::string hidden_;
    Clock::time_point showAt_;
};

}  // namespace soak
