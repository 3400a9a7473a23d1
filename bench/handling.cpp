// What the daemon does with a request and with a tick, in the process: a whole device on the files
// of a simulated frame, commands that take no time, a log that is not written.

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <asio/io_service.hpp>
#include <benchmark/benchmark.h>

#include "bus/tarn_internal_message.h"
#include "pallframe/simulation/frame_root.h"
#include "pallframe/simulation/populate.h"
#include "pallframe/simulation/product.h"
#include "service/redundant_controllers.h"
#include "service/state_saver.h"
#include "service/system_object.h"
#include "systemstate/machine.h"
#include "systemstate/system_state.h"
#include "util/log.h"

namespace {

// Its commands succeed at once.
class QuietMachine : public systemstate::Machine {
  public:
    using systemstate::Machine::Machine;

  private:
    int runCommand(const char* /*command*/) override { return 0; }
    std::optional<std::string> readCommand(const char* /*command*/) override { return "Quorane"; }
};

std::string temporaryDirectory() {
    std::string pattern = std::filesystem::temp_directory_path() / "pallwatch-bench-XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr) {
        std::abort();
    }
    return pattern;
}

class Device {
  public:
    Device() {
        util::replaceLogSink([](int, const std::string&) {});
        pallframe::simulation::populate(pallframe::simulation::FrameRoot(root_),
                                        *pallframe::simulation::findProduct("Quorane"));
        state_.buildIdentityGroup("");
        state_.buildCatalogue();
        state_.setParamChanged_cb(
            [this](const ToskParam& param) { object_.announceChange(param); });
    }
    ~Device() {
        state_.setParamChanged_cb(nullptr);
        std::filesystem::remove_all(root_);
    }
    Device(const Device&) = delete;
    Device& operator=(const Device&) = delete;

    void get(const std::string& data) const { object_.handleGet(received("GET", data)); }
    void set(const std::string& data) {
        object_.beginSet(received("SET", data));
        object_.workOnSet([] { return false; });
    }
    void poll() { state_.poll(); }

  private:
    static TarnInternalMessage received(const std::string& type, const std::string& data) {
        const std::string payload = "[\"" + type + "\", \"system\", 5, 0, 0]\n" + data;
        return TarnInternalMessage(std::make_unique<std::vector<char>>(
            payload.c_str(), payload.c_str() + payload.size() + 1));
    }

    const std::string root_ = temporaryDirectory();
    const std::string prefix_;
    QuietMachine machine_{root_};
    SystemState state_{machine_.path("/vantor/etc/configurableSystemDetails"), machine_};
    const pallwatch::SendMessage send_ = [](TarnInternalMessage message) {
        benchmark::DoNotOptimize(message.encode());
    };
    const pallwatch::RedundantControllers controllers_{state_, machine_, prefix_, send_};
    asio::io_service io_;
    pallwatch::StateSaver saver_{io_, state_};
    pallwatch::SystemObject object_{state_, prefix_, controllers_, saver_, send_};
};

std::string member(const std::string& name, int64_t value) {
    return R"({"id":"1@bench","param":{")" + name + "\":" + std::to_string(value) + "}}";
}

void handleGet(benchmark::State& state) {
    const Device device;
    for (auto _ : state) {
        device.get(R"({"id":"1@bench","param":{"objectName":["ipAddress"]}})");
    }
}
BENCHMARK(handleGet);

// Sets a parameter to 0 and 1 in turn.
void setInTurn(benchmark::State& state, const char* name) {
    Device device;
    int64_t value = 0;
    for (auto _ : state) {
        device.set(member(name, value = 1 - value));
    }
}

void handleSet(benchmark::State& state) {
    setInTurn(state, "activeKeli");
}
BENCHMARK(handleSet);

// With the state file written, synced and put in place.
void handleSavedSet(benchmark::State& state) {
    setInTurn(state, "active");
}
BENCHMARK(handleSavedSet)->UseRealTime();

// With network.conf read and written, and all restarts.
void handleAddressSet(benchmark::State& state) {
    Device device;
    int64_t address = 0x0A000006;
    for (auto _ : state) {
        device.set(member("ipAddress", address ^= 1));
    }
}
BENCHMARK(handleAddressSet)->UseRealTime();

void pollTick(benchmark::State& state) {
    Device device;
    for (int tick = 0; tick < 3; ++tick) {
        device.poll();  // past the first announcements
    }
    for (auto _ : state) {
        device.poll();
    }
}
BENCHMARK(pollTick)->UseRealTime();

}  // namespace
