#include "client/monitor.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <stdexcept>

#include "client/traffic.h"
#include "program/standard_output.h"

namespace pallctl {

namespace {

using namespace std::chrono_literals;

constexpr auto kTurn = 1h;  // nothing but messages ends it
constexpr const char* kProgram = "pallctl";

// How wide the terminal is now; 0 when there is none, or it does not say.
size_t columns() {
    winsize size{};
    return ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 ? size.ws_col : 0;
}

bool isBelow(const std::string& object, const std::string& path) {
    return object == path || object.starts_with(path + '.');
}

}  // namespace

// The signals are blocked before the writer starts its thread, so that they reach nobody else.
Monitor::Monitor(const Reach& reach, const Style& style, const MonitorRequest& request)
    : client_(reach, Interest::traffic), style_(style), request_(request) {
    if (!request_.recording.empty()) {
        signals_ = std::make_unique<EndingSignals>();
        client_.session().endWith(signals_->descriptor());
    }
}

ExitStatus Monitor::run() {
    const ExitStatus status = client_.awaitBus();
    if (status != kSuccess) {
        return status;
    }
    beginRecording();
    do {
        follow();
    } while (client_.reconnect());
    if (writer_) {
        writer_->finish();
        checkRecording();
    }
    return kSuccess;
}

// What the file held is lost by that, so there is a bus to record first.
void Monitor::beginRecording() {
    if (!request_.recording.empty() && client_.session().isOpen()) {
        writer_ = std::make_unique<recording::Writer>(request_.recording, kProgram);
    }
}

// Until the connection is lost.
void Monitor::follow() {
    BusSession& session = client_.session();
    session.flush();
    while (!session.outputGone()) {
        if (const auto payload = session.receivePayload(Clock::now() + kTurn)) {
            client_.tellNews();
            take({payload->data(), payload->size() - 1});
        } else if (!session.isOpen()) {
            return;
        }
    }
}

void Monitor::take(std::string_view payload) {
    const TrafficHead head = trafficHead(payload);
    // Answers to this process are about its own login and heartbeats.
    if (head.to == ownConnectionID() || !isWanted(head.type, head.object)) {
        return;
    }
    const auto now = std::chrono::system_clock::now();
    printNow(trafficLine(payload, now, style_, columns()));
    if (writer_) {
        writer_->record(head.from, payload);
        checkRecording();
    }
}

bool Monitor::isWanted(const std::string& type, const std::string& object) const {
    const auto& objects = request_.objects;
    return (request_.types.empty() || request_.types.contains(type)) &&
           (objects.empty() ||
            std::any_of(objects.begin(), objects.end(),
                        [&](const std::string& path) { return isBelow(object, path); }));
}

void Monitor::checkRecording() const {
    if (const auto failure = writer_->failure()) {
        throw std::runtime_error(*failure);
    }
}

}  // namespace pallctl
