#include "pallctl/values/client_names.h"

#include <algorithm>

#include "bus/message_types.h"
#include "bus/messages.h"
#include "cli/escape.h"
#include "util/files.h"

namespace pallctl {

namespace {

constexpr int32_t kDaemonID = 8;
constexpr const char* kDaemonName = "pallwatch";
// The first connection ID of pallctl, which adds its process id.
constexpr int32_t kFirstOwnID = 1'000'000;
constexpr const char* kOwnName = "pallctl";

constexpr size_t kMaxClients = 1000;

// "4711" in "17@4711.0242ac110002" of that machine; empty in an ID of another form.
std::string findProcessID(const std::string& id, const std::string& machine) {
    const size_t begin = id.find('@') + 1;
    const size_t end = id.find('.', begin);
    if (begin == 0 || end == std::string::npos || id.substr(end) != machine) {
        return "";
    }
    const std::string processID = id.substr(begin, end - begin);
    return processID.find_first_not_of("0123456789") == std::string::npos ? processID : "";
}

bool isAnswer(const std::string& type) {
    return type != typeWord(MessageType::GET) && type != typeWord(MessageType::SET) &&
           type != typeWord(MessageType::NOT);
}

}  // namespace

ClientNames::ClientNames(std::string machine, FindProcess findProcess)
    : machine_(std::move(machine)), findProcess_(findProcess) {}

void ClientNames::learn(const MessageHead& head) {
    const std::string processID = isAnswer(head.type) ? "" : findProcessID(head.id, machine_);
    const auto known = known_.find(head.from);
    if (processID.empty() || (known != known_.end() && known->second.processID == processID) ||
        (known == known_.end() && known_.size() == kMaxClients)) {
        return;
    }
    known_[head.from] = {processID, findProcess_(processID)};
}

std::string ClientNames::find(int32_t connectionID) const {
    const auto known = known_.find(connectionID);
    if (known != known_.end() && !known->second.name.empty()) {
        return known->second.name;
    }
    if (connectionID == kDaemonID) {
        return kDaemonName;
    }
    return connectionID > kFirstOwnID ? kOwnName : "";
}

std::string findProcessName(const std::string& processID) {
    std::string name = util::readContents("/proc/" + processID + "/comm").bytes;
    name.erase(name.find_last_not_of('\n') + 1);
    return cli::escapeForTerminal(name);
}

std::string findMachineMark() {
    const GETMessage message("", {}, nullptr, 0);
    const std::string& id = message.uniqueId();
    return id.substr(std::min(id.find('.'), id.size()));
}

}  // namespace pallctl
