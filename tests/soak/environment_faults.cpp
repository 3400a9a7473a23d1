#include "soak_lib/environment_faults.h"

#include "pallframe/simulation/devices.h"
#include "pallframe/simulation/frame_paths.h"
#include "systemstate/network_settings.h"
#include "systemstate/paths.h"

namespace soak {

namespace simulation = pallframe::simulation;
namespace paths = pallframe::simulation::paths;

struct EnvironmentFaults::Action {
    int64_t weight;
    void (EnvironmentFaults::*run)(Clock::time_point now);
};

const EnvironmentFaults::Action EnvironmentFaults::kActions[] = {
    {6, &EnvironmentFaults::changeCable},      {2, &EnvironmentFaults::swapPorts},
    {4, &EnvironmentFaults::changeSupply},     {2, &EnvironmentFaults::changeBattery},
    {5, &EnvironmentFaults::overwriteNetwork}, {4, &EnvironmentFaults::hideFile},
    {2, &EnvironmentFaults::corruptRegisters}, {1, &EnvironmentFaults::toggleAmbrix},
};

namespace {

constexpr std::string_view kHideable[] = {paths::kBond, paths::kNetwork, paths::kBuild,
                                          paths::kAddress};

}  // namespace

void EnvironmentFaults::step(Clock::time_point now, bool mayBeWriting) {
    if (mayBeWriting) {
        networkFreeFrom_ = now + kPollTime;
    }
    if (!hidden_.empty() && now >= restoreAt_) {
        restoreFile(now);
    }
    if (now >= nextVoltage_) {
        // More than one poll never reads the same voltage.
        simulation::setSupply(root_, 1, randomVolts());
        nextVoltage_ = now + std::chrono::milliseconds(700);
    }
    if (now >= nextAction_) {
        ++actions_;
        (this->*random_.pick(kActions).run)(now);
        nextAction_ = now + random_.milliseconds(200, 1800);
    }
}

void EnvironmentFaults::changeCable(Clock::time_point /*now*/) {
    simulation::setCable(root_, randomPort(), random_.onceIn(2));
}

void EnvironmentFaults::swapPorts(Clock::time_point /*now*/) {
    simulation::swapActivePort(root_, randomPort());
}

void EnvironmentFaults::changeSupply(Clock::time_point /*now*/) {
    simulation::setSupply(root_, 2, random_.onceIn(4) ? 0 : randomVolts());
}

void EnvironmentFaults::changeBattery(Clock::time_point /*now*/) {
    simulation::setBattery(root_, random_.onceIn(3) ? 0 : randomVolts() / 4);
}

// Also while the daemon writes the file itself.
void EnvironmentFaults::overwriteNetwork(Clock::time_point now) {
    if (hidden_ == paths::kNetwork) {
        return;
    }
    if (isNetworkFree(now)) {
        editNetwork(now);
    } else {
        settings_.forgetNetwork();
        root_.replace(paths::kNetwork,
                      systemstate::renderNetworkConf("10.1.2.3", "255.255.0.0", "10.1.0.1"));
    }
}

void EnvironmentFaults::editNetwork(Clock::time_point now) {
    const auto randomAddress = [this] {
        return static_cast<uint32_t>(0x0A000000 + random_.between(2, 0xFFFFFE));
    };
    const ExpectedSettings::Addresses addresses{randomAddress(), 0xFFFFFF00, randomAddress()};
    settings_.editNetwork(addresses);
    root_.replace(paths::kNetwork,
                  systemstate::renderNetworkConf(systemstate::dottedText(addresses[0]),
                                                 systemstate::dottedText(addresses[1]),
                                                 systemstate::dottedText(addresses[2])));
    settledFrom_ = now + kPollTime;
}

void EnvironmentFaults::hideFile(Clock::time_point now) {
    const std::string_view path = kHideable[static_cast<size_t>(random_.between(0, 3))];
    if (!hidden_.empty() || (path == paths::kNetwork && !isNetworkFree(now))) {
        return;
    }
    const simulation::FrameLock lock(root_);
    root_.setAside(path);
    hidden_ = path;
    restoreAt_ = now + random_.milliseconds(500, 5000);
    if (path == paths::kNetwork) {
        settledFrom_ = restoreAt_ + kPollTime;
    }
}

void EnvironmentFaults::restoreFile(Clock::time_point now) {
    const simulation::FrameLock lock(root_);
    root_.restore(hidden_);
    if (hidden_ == paths::kNetwork) {
        settledFrom_ = now + kPollTime;
    }
    hidden_.clear();
}

// Until the next change of a supply. Does not read the file: each opening counts as a poll.
void EnvironmentFaults::corruptRegisters(Clock::time_point now) {
    root_.replace(paths::kRegisters, random_.onceIn(2) ? "00:0000" : std::string(512, '?'));
    nextVoltage_ = now + random_.milliseconds(1000, 3000);
}

void EnvironmentFaults::toggleAmbrix(Clock::time_point /*now*/) {
    if (root_.exists(systemstate::kAmbrixDisabledMarker)) {
        root_.remove(systemstate::kAmbrixDisabledMarker);
    } else {
        root_.replace(systemstate::kAmbrixDisabledMarker, "");
    }
}

void EnvironmentFaults::restoreAll(Clock::time_point now) {
    if (!hidden_.empty()) {
        restoreFile(now);
    }
    root_.remove(systemstate::kAmbrixDisabledMarker);
    simulation::setCable(root_, "eth0", true);
    simulation::setCable(root_, "eth1", true);
    simulation::setSupply(root_, 1, 12);
    simulation::setSupply(root_, 2, 12);
    simulation::setBattery(root_, 3.1);
}

}  // namespace soak
