#pragma once

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include <asio/io_service.hpp>
#include <gtest/gtest.h>

#include "bus/tarn_internal_message.h"
#include "service/redundant_controllers.h"
#include "service/state_saver.h"
#include "service/system_object.h"
#include "support/captured_log.h"
#include "systemstate/frame_root.h"
#include "systemstate/recording_machine.h"
#include "systemstate/system_state.h"

namespace pallwatch {

// A message as it comes from the bus: connection 5 asks, or the bus itself answers.
inline TarnInternalMessage received(const std::string& type, const std::string& objectName,
                                    const std::string& data) {
    const std::string payload = "[\"" + type + "\", \"" + objectName + "\", 5, 0, 0]\n" + data;
    const char* const begin = payload.c_str();
    return TarnInternalMessage(
        std::make_unique<std::vector<char>>(begin, begin + payload.size() + 1));
}

// The device with its whole catalogue on a machine of samples, the two objects of the service that
// work on it, and a diary of what they send.
class ServiceFixture : public testing::Test {
  protected:
    void start(const std::string& product, const std::string& prefix) {
        prefix_ = prefix;
        root_.write("/vantor/etc/network.conf",
                    "USE_DHCP=0\nIPADDR=10.0.0.5\nNETMASK=255.255.255.0\nGATEWAY=10.0.0.1\n");
        machine_.setFirstLine(". /tmp/eeprom && echo $PRODUCT", product);
        testing::internal::CaptureStdout();  // the catalogue's traces
        state_ = std::make_unique<SystemState>(machine_.path("/vantor/etc/state"), machine_);
        state_->buildIdentityGroup("");
        state_->buildCatalogue();
        testing::internal::GetCapturedStdout();
        state_->setParamChanged_cb(
            [this](const ToskParam& param) { object().announceChange(param); });
        controllers_ = std::make_unique<RedundantControllers>(*state_, machine_, prefix_, send_);
        saver_ = std::make_unique<StateSaver>(io_, *state_);
        object_ = std::make_unique<SystemObject>(*state_, prefix_, *controllers_, *saver_, send_);
        machine_.take();
        log_.take();
    }

    void TearDown() override {
        if (state_) {
            state_->setParamChanged_cb(nullptr);
        }
    }

    SystemObject& object() const { return *object_; }
    const RedundantControllers& controllers() const { return *controllers_; }
    SystemState& state() { return *state_; }

    void get(const std::string& objectName, const std::string& data) {
        object().handleGet(received("GET", objectName, data));
    }
    void set(const std::string& objectName, const std::string& param) {
        handleSet(received("SET", objectName, R"({"id":"7@x","param":)" + param + "}"));
    }
    void handleSet(TarnInternalMessage request) {
        object().beginSet(std::move(request));
        EXPECT_TRUE(object().workOnSet([] { return false; }));
    }

    // What was sent since the last call: header line and data, the ids of this process's own
    // requests replaced by "own".
    std::vector<std::string> takeSent() {
        std::vector<std::string> texts;
        for (const TarnInternalMessage& message : sent_) {
            std::string text = message.encode();
            const std::string& id = message.uniqueId();
            if (id != "7@x") {
                text.replace(text.find(id), id.size(), "own");
            }
            texts.push_back(text);
        }
        sent_.clear();
        return texts;
    }

    std::vector<CapturedLog::Line> logged(int priority) const {
        std::vector<CapturedLog::Line> lines = log_.lines();
        std::erase_if(
            lines, [priority](const CapturedLog::Line& line) { return line.priority != priority; });
        return lines;
    }

    systemstate::FrameRoot root_;
    CapturedLog log_;
    systemstate::RecordingMachine machine_{root_.path()};

  private:
    std::string prefix_;
    std::vector<TarnInternalMessage> sent_;
    const SendMessage send_ = [this](TarnInternalMessage message) {
        sent_.push_back(std::move(message));
    };
    std::unique_ptr<SystemState> state_;
    std::unique_ptr<RedundantControllers> controllers_;
    asio::io_service io_;
    std::unique_ptr<StateSaver> saver_;
    std::unique_ptr<SystemObject> object_;
};

}  // namespace pallwatch
