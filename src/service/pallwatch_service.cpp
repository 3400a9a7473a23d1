// The main thread runs the loop: bus, signals and timers. The poll has a thread of its own, which
// ends before anything that it uses. Each tick also flushes the log, and tells the service manager
// that the loop has moved since the last tick.

#include "service/pallwatch_service.h"

#include <signal.h>
#include <syslog.h>

#include <exception>
#include <new>
#include <string_view>
#include <utility>

#include <asio/post.hpp>

#include "bus/messages.h"
#include "model/tosk_param.h"
#include "systemstate/machine.h"
#include "systemstate/system_state.h"
#include "util/line_limit.h"
#include "util/log.h"
#include "util/trace.h"

namespace pallwatch {

namespace {

constexpr const char* kBusHost = "127.0.0.1";
constexpr int32_t kBusPort = 15000;
constexpr const char* kModuleName = "Pallwatch";
constexpr int32_t kConnectionId = 8;
constexpr const char* kSystemObject = "system";

}  // namespace

PallwatchService::PallwatchService(SystemState* systemState, systemstate::Machine& machine,
                                   std::string prefix, ServiceManager manager)
    : signals_(io_, SIGINT, SIGTERM, SIGQUIT),
      systemState_(systemState),
      machine_(machine),
      prefix_(std::move(prefix)),
      manager_(std::move(manager)),
      send_([this](TarnInternalMessage&& message) { send(std::move(message)); }),
      saver_(io_, *systemState),
      controllers_(*systemState, machine, prefix_, send_),
      systemObject_(*systemState, prefix_, controllers_, saver_, send_) {}

PallwatchService::~PallwatchService() {
    machine_.setBeforeCommand(nullptr);
    systemState_->setParamChanged_cb(nullptr);
}

// However the loop ends, the poll thread ends before the objects that it uses.
void PallwatchService::run() {
    util::logMessage(LOG_INFO, "Kel Master Service initialization begins.");
    createClient();
    subscribeAll();
    client_->connectToTarnInternal();
    client_->setOnConnectionState(
        [this](lumo::ConnectionState state, const std::string&) { handleConnectionState(state); });
    signals_.async_wait(
        [this](const std::error_code& error, int number) { handleSignal(error, number); });
    systemState_->setParamChanged_cb(
        [this](const ToskParam& param) { systemObject_.announceChange(param); });

    const std::unique_ptr<lumo::AsyncTaskService, void (*)(lumo::AsyncTaskService*)> joinPoll(
        &tasks_, [](lumo::AsyncTaskService* tasks) { tasks->stop(); });
    // Ends what the poll is in the middle of, so that the thread can be joined soon.
    const std::unique_ptr<systemstate::Machine, void (*)(systemstate::Machine*)> interruptPoll(
        &machine_, [](systemstate::Machine* machine) { machine->interrupt(); });
    tasks_.setPeriodicTask(pollPeriod_, [this] { pollOnce(); });
    tasks_.start();
    saver_.followUp();
    asio::post(io_, [this] { manager_.notifyReady(); });
    runLoop();
    manager_.notifyStopping();
    saver_.finish();
}

// A handler that lacked memory may have left the connection without its next step, so the daemon
// reconnects; everything else continues.
void PallwatchService::runLoop() {
    while (!io_.stopped()) {
        try {
            io_.run();
        } catch (const std::bad_alloc&) {
            util::logMessage(LOG_CRIT, "Memory error in the event loop, connecting anew\n");
            client_->transport().close("no memory");
        }
    }
}

void PallwatchService::createClient() {
    client_ = std::make_unique<lumo::AsyncTarnInternalClient>(io_, kBusHost, kBusPort, kModuleName,
                                                              kConnectionId);
    setTurns_.emplace(io_, systemObject_, *client_);
    client_->setOnMessage(
        [this](TarnInternalMessage&& message) { handleMessage(std::move(message)); });
    // A change is announced before the command that carries it out, however long that takes.
    machine_.setBeforeCommand([this] { client_->flush(); });
}

void PallwatchService::subscribeAll() {
    client_->subscribe(kSystemObject);
    if (!prefix_.empty()) {
        const std::string path = prefix_ + "." + kSystemObject;
        client_->subscribe(path);
        util::trace("%s added subscription to: %s\n", "run", path.c_str());
    }
}

void PallwatchService::handleSignal(const std::error_code& error, int number) {
    util::trace("Pallwatch caught signal:%d (ec: %s) - Stopping.\n", number,
                error.message().c_str());
    io_.stop();
}

// Every new connection may be to a bus that was restarted and knows nothing of us.
void PallwatchService::handleConnectionState(lumo::ConnectionState state) {
    if (onConnectionState_) {
        onConnectionState_(state);
    }
    if (state != lumo::ConnectionState::connected) {
        return;
    }
    controllers_.requestDetails();
    if (const ToskParam* const frameName = systemState_->findParam("system.frameName")) {
        send(NOTMessage(frameName->oid().prefix(), frameName->oid().leaf(),
                        frameName->valueToText()));
    }
}

void PallwatchService::pollOnce() {
    util::reportHeldBackLines();
    util::flushLog();
    reportProgress();
    const auto batch = client_->gather();
    try {
        systemState_->poll();
    } catch (const std::bad_alloc&) {
        util::logMessage(LOG_CRIT, "Memory error polling, tick skipped\n");
    } catch (...) {
        // Ends the process in order, as on the main thread.
        asio::post(io_, [error = std::current_exception()] { std::rethrow_exception(error); });
    }
}

// A loop is blocked if it has not run the handler that the poll posted a tick ago. A running
// command blocks the loop too, which is not a fault: a report takes minutes.
void PallwatchService::reportProgress() {
    if (!manager_.isPresent()) {
        return;
    }
    if (loopAnswered_.exchange(false)) {
        manager_.notifyAlive();
        try {
            asio::post(io_, [this] { loopAnswered_ = true; });
        } catch (const std::bad_alloc&) {
            loopAnswered_ = true;  // it was not asked
        }
    } else if (machine_.isRunningCommand()) {
        manager_.notifyAlive();
    }
}

void PallwatchService::send(TarnInternalMessage&& message) {
    if (client_) {
        client_->send(std::move(message));
    }
}

// Looks at the first element only: a name of a million others, or the path made of it, is not ours
// to keep.
bool PallwatchService::isForUs(const TarnInternalMessage& message) const {
    const std::string_view name = message.objectName();
    const std::string_view first = name.substr(0, name.find('.'));
    return first == kSystemObject || first == prefix_;
}

void PallwatchService::handleMessage(TarnInternalMessage&& message) {
    if (!isForUs(message)) {
        return;
    }
    switch (message.type()) {
        case MessageType::RSP:
        case MessageType::NOT:
            controllers_.handleSystemRsp(message);
            break;
        case MessageType::GET:
            systemObject_.handleGet(message);
            break;
        case MessageType::SET:
            setTurns_->begin(std::move(message));
            break;
        default:
            break;
    }
}

}  // namespace pallwatch
