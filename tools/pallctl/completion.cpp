#include "pallctl/completion.h"

#include <algorithm>
#include <charconv>
#include <chrono>

#include "client/client.h"
#include "pallctl/network/network_plan.h"
#include "pallctl/values/candidates.h"

namespace pallctl {

namespace {

using namespace std::chrono_literals;

// The user is waiting at the keyboard.
constexpr std::chrono::milliseconds kTimeout = 500ms;

using CompleteWords = std::vector<cli::Completion> (*)(const std::vector<const client::Parameter*>&,
                                                       const client::DevicePath&,
                                                       const std::string&);

struct Kind {
    const char* name;
    CompleteWords complete;
};
constexpr Kind kKinds[] = {
    {"NAME", completeNames},
    {"NAME=VALUE", completeAssignments},
};

std::string findOption(const cli::CompletionRequest& request, const char* option,
                       const std::string& otherwise) {
    const auto found = request.options.find(option);
    return found == request.options.end() ? otherwise : found->second;
}

client::ConnectionOptions makeConnection(const cli::CompletionRequest& request) {
    client::ConnectionOptions connection;
    connection.object = findOption(request, "--object", connection.object);
    connection.reportsFramingErrors = false;
    const std::string port = findOption(request, "--port", "");
    std::from_chars(port.data(), port.data() + port.size(), connection.port);
    return connection;
}

bool readAll(client::Client& client) {
    const client::Deadline giveUp = client::Clock::now() + kTimeout;
    if (!client.follower().connect(giveUp)) {
        return false;
    }
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(giveUp - client::Clock::now());
    return client.follower().read(client.catalogue(), left);
}

}  // namespace

std::vector<cli::Completion> completeFromDevice(const cli::CompletionRequest& request) {
    const auto* kind = std::find_if(std::begin(kKinds), std::end(kKinds), [&](const Kind& each) {
        return request.kind == each.name && request.option.empty();
    });
    const auto* const setting =
        std::ranges::find(kNetworkMembers, request.option, &NetworkMember::option);
    if (kind == std::end(kKinds) && setting == kNetworkMembers.end()) {
        return {};
    }
    client::Client client(makeConnection(request), client::Subscription::answers);
    if (!readAll(client)) {
        return {};
    }
    if (setting != kNetworkMembers.end()) {
        return completeValues(client.cache().find(client.device().fullName(setting->leaf)));
    }
    std::vector<const client::Parameter*> parameters = client.described();
    if (request.command == "set") {
        std::erase_if(parameters, [](const auto* each) { return each->descriptor.readOnly; });
    }
    return kind->complete(parameters, client::DevicePath(client.device().object()), request.word);
}

}  // namespace pallctl
