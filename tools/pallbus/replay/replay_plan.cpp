// The plan is the recording as one client saw it. The client's own messages are expected; messages
// of others are sent if they would have reached the client, which a routing table with that one
// client decides. A login of the client is a new connection.

#include "pallbus/replay/replay_plan.h"

#include <algorithm>
#include <charconv>
#include <map>

#include "pallbus/broker/routing_table.h"
#include "pallbus/replay/message.h"

namespace pallbus::replay {

namespace {

using recording::Entry;

constexpr const char* kConnectionObject = "system.connection";

const std::string* findObject(const Participant& participant) {
    return std::get_if<std::string>(&participant);
}

std::string formatParticipant(const Participant& participant) {
    const std::string* object = findObject(participant);
    return object ? "\"" + *object + "\"" : std::to_string(std::get<int32_t>(participant));
}

[[noreturn]] void throwNotFound(const Participant& participant) {
    throw ParticipantNotFound("participant " + formatParticipant(participant) + " not found");
}

// Other clients may respond for the object now and then, so the one with the most messages counts.
// Id 0 is the bus itself.
int32_t findMainSender(const std::vector<Entry>& entries, const std::string& object) {
    std::map<int32_t, size_t> said;
    for (const Entry& entry : entries) {
        const Message message = parseMessage(entry.payload);
        const bool speaks = message.type == MessageType::NOT || isResponse(message);
        if (entry.from > 0 && speaks && message.objectName == object) {
            ++said[entry.from];
        }
    }
    const auto most =
        std::ranges::max_element(said, {}, [](const auto& each) { return each.second; });
    if (most == said.end()) {
        throwNotFound(object);
    }
    return most->first;
}

// Collects the steps of one client from the entries of a recording.
class Planner {
  public:
    // `subscribed`: the object that the client subscribed to before the recording; empty for none.
    Planner(int32_t device, const std::string& subscribed) : device_(device) {
        table_.addClient(kDevice);
        if (!subscribed.empty()) {
            subscribe(subscribed);
        }
    }

    void process(const Entry& entry) {
        const Message message = parseMessage(entry.payload);
        if (isHeartbeat(message)) {
            return;
        }
        if (entry.from == device_) {
            addOwnMessage(entry, message);
        } else if (reachesDevice(message)) {
            add(Step::Kind::send, entry);
        }
    }

    std::vector<Step> takeSteps() { return std::move(steps_); }

  private:
    static constexpr broker::ClientID kDevice = 1;

    void addOwnMessage(const Entry& entry, const Message& message) {
        if (message.objectName == kConnectionObject) {
            if (isLogin(message)) {
                steps_.push_back({Step::Kind::connect, entry.at, ""});
            }
            addSubscriptions(message);
        }
        add(Step::Kind::expect, entry);
    }

    void addSubscriptions(const Message& message) {
        const cJSON* param = util::jsonMember(message.data.get(), "param");
        const cJSON* item = nullptr;
        cJSON_ArrayForEach(item, util::jsonMember(param, "subscribeList")) {
            if (const char* path = util::jsonText(util::jsonMember(item, "path"))) {
                subscribe(path);
            }
        }
    }

    void subscribe(const std::string& path) {
        table_.subscribe(kDevice, path, /*receiveAll=*/false);
    }

    bool reachesDevice(const Message& message) const {
        if (isResponse(message)) {
            return message.destination == device_;
        }
        return message.type != MessageType::none && message.objectName != kConnectionObject &&
               !table_.subscribers(message.objectName, /*sender=*/0).empty();
    }

    void add(Step::Kind kind, const Entry& entry) {
        if (steps_.empty()) {
            steps_.push_back({Step::Kind::connect, entry.at, ""});
        }
        steps_.push_back({kind, entry.at, entry.payload});
    }

    int32_t device_;
    broker::RoutingTable table_;
    std::vector<Step> steps_;
};

// Whether the recording started before the device connected.
bool beginsWithLogin(const std::vector<Entry>& entries, int32_t device) {
    const auto first = std::ranges::find(entries, device, &Entry::from);
    return first != entries.end() && isLogin(parseMessage(first->payload));
}

}  // namespace

Participant parseParticipant(const std::string& text) {
    int32_t id = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), id);
    const bool isID = error == std::errc() && end == text.data() + text.size();
    return isID ? Participant(id) : Participant(text);
}

std::vector<Step> planReplay(const std::vector<Entry>& entries, const Participant& participant) {
    const std::string* object = findObject(participant);
    const int32_t device =
        object ? findMainSender(entries, *object) : std::get<int32_t>(participant);
    const std::string subscribed = object ? *object : "system";
    Planner planner(device, beginsWithLogin(entries, device) ? "" : subscribed);
    for (const Entry& entry : entries) {
        planner.process(entry);
    }
    std::vector<Step> steps = planner.takeSteps();
    const bool hasMessages = std::ranges::any_of(
        steps, [](const Step& step) { return step.kind == Step::Kind::expect; });
    if (!hasMessages) {
        throwNotFound(participant);
    }
    return steps;
}

}  // namespace pallbus::replay
