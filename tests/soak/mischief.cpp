#include "soaking/mischief.h"

#include "pallframe/simulation/devices.h"
#include "pallframe/simulation/paths.h"
#include "systemstate/network_settings.h"
#include "systemstate/places.h"

namespace soak {

namespace paths = pallframe::simulation::paths;

struct Mischief::Deed {
    int64_t weight;
    void (Mischief::*act)(Clock::time_point now);
};

const Mischief::Deed Mischief::kDeeds[] = {
    {6, &Mischief::moveCable},       {2, &Mischief::swapPorts},     {4, &Mischief::changeSupply},
    {2, &Mischief::changeBattery},   {5, &Mischief::touchNetwork},  {4, &Mischief::hideFile},
    {2, &Mischief::garbleRegisters}, {1, &Mischief::shutOffAmbrix},
};

namespace {

constexpr std::string_view kHideable[] = {paths::kBond, paths::kNetwork, paths::kBuild,
                                          paths::kAddress};

double volts(Random& random) {
    return static_cast<double>(random.between(900, 1500)) / 100;
}

}  // namespace

Mischief::Mischief(const pallframe::simulation::FrameRoot& tree, Random& random, SettingsBook& book)
    : tree_(tree), random_(random), book_(book) {}

void Mischief::step(Clock::time_point now, bool settling) {
    settling_ = settling;
    if (!hidden_.empty() && now >= showAt_) {
        showFile(now);
    }
    if (now >= nextVoltage_) {
        // Each poll finds another one.
        pallframe::simulation::setSupply(tree_, 1, volts(random_));
        nextVoltage_ = now + std::chrono::milliseconds(700);
    }
    if (now >= nextDeed_) {
        ++deeds_;
        (this->*random_.pick(kDeeds).act)(now);
        nextDeed_ = now + random_.milliseconds(200, 1800);
    }
}

void Mischief::moveCable(Clock::time_point /*now*/) {
    pallframe::simulation::setCable(tree_, random_.onceIn(2) ? "eth0" : "eth1", random_.onceIn(2));
}

void Mischief::swapPorts(Clock::time_point /*now*/) {
    pallframe::simulation::swapActivePort(tree_, random_.onceIn(2) ? "eth0" : "eth1");
}

void Mischief::changeSupply(Clock::time_point /*now*/) {
    pallframe::simulation::setSupply(tree_, 2, random_.onceIn(4) ? 0 : volts(random_));
}

void Mischief::changeBattery(Clock::time_point /*now*/) {
    pallframe::simulation::setBattery(tree_, random_.onceIn(3) ? 0 : volts(random_) / 4);
}

// Now and then while the device is writing the file itself.
void Mischief::touchNetwork(Clock::time_point now) {
    if (hidden_ == paths::kNetwork) {
        return;
    }
    if (isEditable(now)) {
        editNetwork(now);
    } else {
        book_.editedMeanwhile();
        tree_.replace(paths::kNetwork, renderNetworkConf("10.1.2.3", "255.255.0.0", "10.1.0.1"));
    }
}

void Mischief::editNetwork(Clock::time_point now) {
    const auto address = [this] {
        return static_cast<uint32_t>(0x0A000000 + random_.between(2, 0xFFFFFE));
    };
    const SettingsBook::Settings settings{address(), 0xFFFFFF00, address()};
    book_.edited(settings);
    tree_.replace(paths::kNetwork,
                  renderNetworkConf(dottedText(*settings[0]), dottedText(*settings[1]),
                                    dottedText(*settings[2])));
    calmFrom_ = now + kSeen;
}

void Mischief::hideFile(Clock::time_point now) {
    const std::string_view path = kHideable[static_cast<size_t>(random_.between(0, 3))];
    if (!hidden_.empty() || (path == paths::kNetwork && !isEditable(now))) {
        return;
    }
    const pallframe::simulation::FrameLock lock(tree_);
    tree_.setAside(path);
    hidden_ = path;
    showAt_ = now + random_.milliseconds(500, 5000);
    if (path == paths::kNetwork) {
        calmFrom_ = showAt_ + kSeen;
    }
}

void Mischief::showFile(Clock::time_point now) {
    const pallframe::simulation::FrameLock lock(tree_);
    tree_.restore(hidden_);
    if (hidden_ == paths::kNetwork) {
        calmFrom_ = now + kSeen;
    }
    hidden_.clear();
}

// Until the next change of a supply. The file is not read here: whoever opens it counts as a poll.
void Mischief::garbleRegisters(Clock::time_point now) {
    tree_.replace(paths::kRegisters, random_.onceIn(2) ? "00:0000" : std::string(512, '?'));
    nextVoltage_ = now + random_.milliseconds(1000, 3000);
}

void Mischief::shutOffAmbrix(Clock::time_point /*now*/) {
    if (tree_.exists(kAmbrixDisabledMarker)) {
        tree_.remove(kAmbrixDisabledMarker);
    } else {
        tree_.replace(kAmbrixDisabledMarker, "");
    }
}

void Mischief::putRight(Clock::time_point now) {
    if (!hidden_.empty()) {
        showFile(now);
    }
    tree_.remove(kAmbrixDisabledMarker);
    pallframe::simulation::setCable(tree_, "eth0", true);
    pallframe::simulation::setCable(tree_, "eth1", true);
    pallframe::simulation::setSupply(tree_, 1, 12);
    pallframe::simulation::setSupply(tree_, 2, 12);
    pallframe::simulation::setBattery(tree_, 3.1);
}

}  // namespace soak
