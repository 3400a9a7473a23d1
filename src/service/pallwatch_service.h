#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include <asio/io_service.hpp>

#include "bus/async_tarn_internal_client.h"
#include "bus/async_task_service.h"
#include "bus/signal_set.h"
#include "service/redundant_controllers.h"
#include "service/service_manager.h"
#include "service/set_turns.h"
#include "service/state_saver.h"
#include "service/system_object.h"

class SystemState;
class TarnInternalMessage;

namespace systemstate {
class Machine;
}  // namespace systemstate

// Joins the system-state device to the frame's local message bus.
namespace pallwatch {

// The daemon while it runs: the event loop, the stop signals, the thread that polls the machine and
// the bus client. Owned by `main`, lives on the main thread; of its methods only `send` is also
// called on the poll thread. The device outlives it.
class PallwatchService {
  public:
    // Keeps `systemState` and `machine`, owns neither. `prefix` is the tunnelling prefix, may be
    // empty. `manager` gets a notice when the loop starts, makes progress, and has ended.
    PallwatchService(SystemState* systemState, systemstate::Machine& machine, std::string prefix,
                     ServiceManager manager = ServiceManager({}));
    ~PallwatchService();
    PallwatchService(const PallwatchService&) = delete;
    PallwatchService& operator=(const PallwatchService&) = delete;

    // Connects to the bus, starts the poll and runs the loop until SIGINT, SIGTERM or SIGQUIT.
    // Called once. An exception that leaves the loop is passed on after the poll thread has been
    // joined.
    void run();

    // Every message from the bus: takes those for "system", for "<prefix>..." and, while there is
    // no prefix, those without a first name; all others are ignored.
    void handleMessage(TarnInternalMessage&& message);

    // Observes the connection to the bus, before the service itself reacts. Before run().
    void setOnConnectionState(std::function<void(lumo::ConnectionState)> observer) {
        onConnectionState_ = std::move(observer);
    }

    // Brio mode from the command line: recorded, nothing looks at it.
    void clearHardwareScans() { hardwareScans_ = false; }
    bool hardwareScans() const { return hardwareScans_; }

  private:
    void createClient();
    void runLoop();
    void subscribeAll();
    void handleConnectionState(lumo::ConnectionState state);
    void handleSignal(const std::error_code& error, int number);
    void pollOnce();
    void reportProgress();
    void send(TarnInternalMessage&& message);
    bool isForUs(const TarnInternalMessage& message) const;

    asio::io_service io_;
    lumo::SignalSet signals_;
    lumo::AsyncTaskService tasks_;
    std::unique_ptr<lumo::AsyncTarnInternalClient> client_;
    SystemState* systemState_;
    systemstate::Machine& machine_;
    std::string prefix_;
    const ServiceManager manager_;
    std::atomic<bool> loopAnswered_{true};  // what the poll asked it last
    std::chrono::milliseconds pollPeriod_{1000};
    bool hardwareScans_ = true;
    std::function<void(lumo::ConnectionState)> onConnectionState_;
    SendMessage send_;
    StateSaver saver_;
    RedundantControllers controllers_;
    SystemObject systemObject_;
    std::optional<SetTurns> setTurns_;  // there is a client as well
};

}  // namespace pallwatch
