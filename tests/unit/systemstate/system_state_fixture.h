#pragma once

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

#include "frame_root.h"
#include "recording_machine.h"
#include "support/captured_log.h"
#include "systemstate/system_state.h"
#include "util/json.h"

namespace systemstate {

// A device on a machine that runs nothing, with what it logs, prints, announces and commands.
class SystemStateTest : public testing::Test {
  protected:
    using Line = CapturedLog::Line;

    static constexpr const char* kStateFile = "/vantor/etc/configurableSystemDetails.json";
    static constexpr const char* kNetworkFile = "/vantor/etc/network.conf";
    static constexpr const char* kNetworkConf =
        "USE_DHCP=0\nIPADDR=10.0.0.5\nNETMASK=255.255.255.0\nGATEWAY=10.0.0.1\n";

    SystemStateTest() { root.write(kNetworkFile, kNetworkConf); }

    // The device as constructed, nothing loaded or built.
    void construct(const std::string& product = "Quorane") {
        machine = std::make_unique<RecordingMachine>(root.path(), product);
        state = std::make_unique<SystemState>(root.path() + "/vantor/etc/configurableSystemDetails",
                                              *machine);
    }

    // The device as main brings it up.
    void boot(const std::string& product = "Quorane", const std::string& label = "") {
        bootOutput = printedBy([&] {
            construct(product);
            state->load();
            state->buildIdentityGroup(label);
            state->buildCatalogue();
        });
    }

    // The device once it runs: booted, with an observer, and everything forgotten that came before.
    void run(const std::string& product = "Quorane") {
        boot(product);
        state->setParamChanged_cb([this](const ToskParam& param) {
            announced.push_back(param.oid().toString() + "=" + param.valueToString());
        });
        machine->take();
        log.take();
    }

    // A set request of one member, as it comes from the bus.
    int set(const std::string& key, const std::string& json) {
        return state->findParam(key)->setValueFromJSON(parse(json).get());
    }

    // What a set request prints.
    std::string printedBySet(const std::string& key, const std::string& json) {
        return printedBy([&] { EXPECT_EQ(set(key, json), 0); });
    }

    static std::string printedBy(const std::function<void()>& action) {
        testing::internal::CaptureStdout();
        action();
        return testing::internal::GetCapturedStdout();
    }

    static util::UniqueJSON parse(const std::string& json) {
        return util::parseJSON(json.c_str(), json.size());
    }

    std::string valueOf(const std::string& key) const {
        const ToskParam* const param = state->findParam(key);
        return param == nullptr ? "missing" : param->valueToString();
    }

    // The lines so far without those of the handlers' traces.
    std::vector<Line> linesAboveDebug() {
        std::vector<Line> lines;
        for (Line& line : log.take()) {
            if (line.priority != LOG_DEBUG) {
                lines.push_back(std::move(line));
            }
        }
        return lines;
    }

    FrameRoot root;
    CapturedLog log;
    std::unique_ptr<RecordingMachine> machine;
    std::unique_ptr<SystemState> state;
    std::vector<std::string> announced;  // "key=value"
    std::string bootOutput;
};

}  // namespace systemstate
