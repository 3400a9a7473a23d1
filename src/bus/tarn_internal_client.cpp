#include "bus/tarn_internal_client.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <utility>

#include "util/files.h"
#include "util/log.h"
#include "util/trace.h"

namespace {

constexpr const char* kAddressFile = "/sys/class/net/eth0/address";

// The letters and digits of the address up to the first NUL byte.
std::string addressText(const std::string& addressFile, std::string text) {
    if (!text.empty() && text.back() != '\0') {
        util::logMessage(LOG_DEBUG, "%s terminated with'%c'.\n", addressFile.c_str(), text.back());
        text.back() = '\0';
    }
    text.resize(std::min(text.size(), text.find('\0')));
    text.erase(std::remove(text.begin(), text.end(), ':'), text.end());
    return text;
}

}  // namespace

std::string lumo::readHostId(const std::string& addressFile, pid_t processId) try {
    util::FileContents contents = util::readContents(addressFile);
    if (contents.outcome == util::Reading::noMemory) {
        throw std::bad_alloc();
    }
    if (contents.outcome == util::Reading::missing ||
        contents.outcome == util::Reading::notOpened) {
        util::logMessage(LOG_WARNING,
                         "TarnInternalClient::primeHostID could not open saved file: %s. Empty mac "
                         "address used.\n",
                         addressFile.c_str());
        return {};
    }
    return std::to_string(processId) + "." + addressText(addressFile, std::move(contents.bytes));
} catch (const std::bad_alloc&) {
    util::traceError("TarnInternalClient::primeHostID Memory error");
    std::abort();
}

TarnInternalClient::TarnInternalClient(std::string addressFile)
    : addressFile_(std::move(addressFile)) {}

TarnInternalClient& TarnInternalClient::forProcess() {
    static TarnInternalClient client(kAddressFile);
    return client;
}

std::string TarnInternalClient::nextUniqueId() {
    const std::lock_guard lock(mutex_);
    if (!primed_) {
        primeHostID();
    }
    return std::to_string(counter_++) + "@" + hostId_;
}

// A failure is final: the ids of one process never change their ending.
void TarnInternalClient::primeHostID() {
    primed_ = true;
    hostId_ = lumo::readHostId(addressFile_, getpid());
}
