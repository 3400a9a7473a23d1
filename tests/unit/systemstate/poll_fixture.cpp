#include "poll_fixture.h"

#include <utility>

#include "systemstate/paths.h"
#include "util/log.h"

namespace systemstate {

PollFixture::~PollFixture() {
    util::replaceLogSink({});
}

void PollFixture::startBeforeSample(const std::string& product) {
    root_.write(kNetworkFile, "IPADDR=10.0.0.5\nNETMASK=255.255.255.0\nGATEWAY=10.0.0.1\n");
    start(product);
    poll();
    takeDiary();
}

void PollFixture::startWithoutCatalogue(const std::string& product) {
    util::replaceLogSink([this](int priority, const std::string& text) {
        if (priority < LOG_DEBUG) {
            diary_.push_back(std::to_string(priority) + " " + text);
        }
    });
    machine_ = std::make_unique<RecordingMachine>(root_.path(), product);
    machine_->setOnCommand([this](const std::string& command) { diary_.push_back(command); });
    state_ = std::make_unique<SystemState>(root_.path() + "/state", *machine_);
    state_->buildIdentityGroup("");
    state_->setParamChanged_cb([this](const ToskParam& param) {
        diary_.push_back("NOT " + param.oid().toString() + "=" + param.valueToString());
    });
    diary_.clear();
}

void PollFixture::start(const std::string& product) {
    startWithoutCatalogue(product);
    state_->buildCatalogue();
    diary_.clear();
}

void PollFixture::poll(int times) {
    for (int i = 0; i < times; ++i) {
        state_->poll();
    }
}

std::vector<std::string> PollFixture::pollDiary() {
    diary_.clear();
    poll();
    return takeDiary();
}

std::vector<std::string> PollFixture::takeDiary() {
    return std::exchange(diary_, {});
}

std::string PollFixture::value(const char* key) const {
    return state_->findParam(key)->valueToString();
}

std::string bondingFile(const std::string& active, const std::string& eth0,
                        const std::string& eth1) {
    return "Ethernet Channel Bonding Driver: v3.7.1 (April 27, 2011)\n\n" +
           tessaraBondingFile(active, eth0, eth1);
}

std::string tessaraBondingFile(const std::string& active, const std::string& eth0,
                               const std::string& eth1) {
    return "Bonding Mode: fault-tolerance (active-backup)\nCurrently Active Slave: " + active +
           "\nMII Status: up\nUp Delay (ms): 200\nDown Delay (ms): 200\n\n"
           "Slave Interface: eth0\nMII Status: " +
           eth0 + "\n\nSlave Interface: eth1\nMII Status: " + eth1 + "\n";
}

}  // namespace systemstate
