#include "service/state_saver.h"

#include <syslog.h>

#include <chrono>
#include <utility>

#include "systemstate/system_state.h"
#include "util/log.h"

namespace pallwatch {

namespace {

constexpr std::chrono::seconds kRetryDelay{1};

}  // namespace

StateSaver::StateSaver(asio::io_service& io, SystemState& systemState)
    : systemState_(systemState), retryTimer_(io, [this] { retry(); }) {}

void StateSaver::save() {
    if (std::exchange(changed_, false)) {
        systemState_.saveToOwnPath(false);
        followUp();
    }
}

void StateSaver::followUp() {
    const bool failed = !systemState_.saved();
    if (failed && !failing_) {
        util::logMessage(LOG_ERR, "%s cannot be saved, trying again every second\n",
                         systemState_.path().c_str());
    } else if (!failed && failing_) {
        util::logMessage(LOG_INFO, "%s is saved again\n", systemState_.path().c_str());
    }
    failing_ = failed;
    if (!failed) {
        retryTimer_.cancel();
    } else if (!retryTimer_.armed()) {
        retryTimer_.arm(kRetryDelay);
    }
}

void StateSaver::finish() {
    if (failing_ && !systemState_.retrySave()) {
        util::logMessage(LOG_CRIT, "%s lacks settings that could not be saved\n",
                         systemState_.path().c_str());
    }
}

void StateSaver::retry() {
    systemState_.retrySave();
    followUp();
}

}  // namespace pallwatch
