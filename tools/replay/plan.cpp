#include "replay/plan.h"

#include <algorithm>
#include <charconv>
#include <map>

#include "replay/message.h"
#include "switchboard/routing_table.h"

namespace replay {

namespace {

using recording::Entry;

constexpr const char* kConnectionObject = "system.connection";

const std::string* objectOf(const Against& against) {
    return std::get_if<std::string>(&against);
}

std::string textOf(const Against& against) {
    const std::string* object = objectOf(against);
    return object ? "\"" + *object + "\"" : std::to_string(std::get<int32_t>(against));
}

[[noreturn]] void sayNobody(const Against& against) {
    throw NobodySpeaks("nobody speaks for " + textOf(against));
}

// Who said most about the object: others may answer for it, or announce it, now and then. The bus
// is nobody.
int32_t speakerFor(const std::vector<Entry>& entries, const std::string& object) {
    std::map<int32_t, size_t> said;
    for (const Entry& entry : entries) {
        const Message message = parseMessage(entry.payload);
        const bool speaks = message.type == MessageType::NOT || isAnswer(message);
        if (entry.from > 0 && speaks && message.objectName == object) {
            ++said[entry.from];
        }
    }
    const auto most =
        std::ranges::max_element(said, {}, [](const auto& each) { return each.second; });
    if (most == said.end()) {
        sayNobody(object);
    }
    return most->first;
}

// Walks through a recording with one of its clients in view.
class Walk {
  public:
    // `known`: an object that it has subscribed before the recording began; empty for none.
    Walk(int32_t device, const std::string& known) : device_(device) {
        table_.join(kDevice);
        if (!known.empty()) {
            subscribe(known);
        }
    }

    void pass(const Entry& entry) {
        const Message message = parseMessage(entry.payload);
        if (isHeartbeat(message)) {
            return;
        }
        if (entry.from == device_) {
            passOwn(entry, message);
        } else if (reachesDevice(message)) {
            add(Step::Kind::send, entry);
        }
    }

    std::vector<Step> takeSteps() { return std::move(steps_); }

  private:
    static constexpr pallbus::ClientID kDevice = 1;

    void passOwn(const Entry& entry, const Message& message) {
        if (message.objectName == kConnectionObject) {
            if (isLogin(message)) {
                steps_.push_back({Step::Kind::connect, entry.at, ""});
            }
            takeSubscriptions(message);
        }
        add(Step::Kind::expect, entry);
    }

    void takeSubscriptions(const Message& message) {
        const cJSON* param = jsonMember(message.data.get(), "param");
        const cJSON* item = nullptr;
        cJSON_ArrayForEach(item, jsonMember(param, "subscribeList")) {
            if (const char* path = jsonText(jsonMember(item, "path"))) {
                subscribe(path);
            }
        }
    }

    void subscribe(const std::string& path) {
        table_.subscribe(kDevice, path, /*receiveAll=*/false);
    }

    bool reachesDevice(const Message& message) const {
        if (isAnswer(message)) {
            return message.destination == device_;
        }
        return message.type != MessageType::none && message.objectName != kConnectionObject &&
               !table_.subscribersOf(message.objectName, /*sender=*/0).empty();
    }

    void add(Step::Kind kind, const Entry& entry) {
        if (steps_.empty()) {
            steps_.push_back({Step::Kind::connect, entry.at, ""});
        }
        steps_.push_back({kind, entry.at, entry.payload});
    }

    int32_t device_;
    pallbus::RoutingTable table_;
    std::vector<Step> steps_;
};

// Whether the recording was there before the device was.
bool beginsWithLogin(const std::vector<Entry>& entries, int32_t device) {
    const auto first = std::ranges::find(entries, device, &Entry::from);
    return first != entries.end() && isLogin(parseMessage(first->payload));
}

}  // namespace

Against parseAgainst(const std::string& text) {
    int32_t id = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), id);
    const bool isID = error == std::errc() && end == text.data() + text.size();
    return isID ? Against(id) : Against(text);
}

std::vector<Step> makePlan(const std::vector<Entry>& entries, const Against& against) {
    const std::string* object = objectOf(against);
    const int32_t device = object ? speakerFor(entries, *object) : std::get<int32_t>(against);
    const std::string known = object ? *object : "system";
    Walk walk(device, beginsWithLogin(entries, device) ? "" : known);
    for (const Entry& entry : entries) {
        walk.pass(entry);
    }
    std::vector<Step> steps = walk.takeSteps();
    const bool spoke = std::ranges::any_of(
        steps, [](const Step& step) { return step.kind == Step::Kind::expect; });
    if (!spoke) {
        sayNobody(against);
    }
    return steps;
}

}  // namespace replay
