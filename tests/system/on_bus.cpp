#include "on_bus.h"

#include <signal.h>

using harness::BusMessage;

namespace {

constexpr size_t kGreetingLength = 4;

bool isHeartbeat(const BusMessage& message) {
    return message.type == "SET" && message.objectName.empty();
}

}  // namespace

void OnBus::start(const std::vector<std::string>& arguments) {
    daemon.emplace(arguments);
    greeted();
}

std::vector<BusMessage> OnBus::greeted() {
    bus.accept();
    return bus.receive(kGreetingLength);
}

std::string OnBus::ask(const std::string& name) {
    const std::string id = "ask" + std::to_string(++asked_) + "@5";
    bus.get("system", R"({"id":")" + id + R"(","param":{"objectName":[")" + name + R"("]}})");
    return id;
}

BusMessage OnBus::answerTo(const std::string& id, std::vector<std::string>& before) {
    for (;;) {
        BusMessage message = bus.receive();
        if (message.type == "RSP" && message.id() == id) {
            return message;
        }
        if (!isHeartbeat(message)) {
            before.push_back(withoutId(message));
        }
    }
}

std::vector<std::string> OnBus::sentUntilNow() {
    std::vector<std::string> before;
    answerTo(ask("systemName"), before);
    return before;
}

std::string OnBus::valueOf(const std::string& name) {
    std::vector<std::string> before;
    return answerTo(ask(name), before).at({"param", name.c_str()});
}

void OnBus::set(const std::string& param) const {
    bus.set("system", R"({"id":"1@5","param":)" + param + "}");
}

void OnBus::stop() {
    daemon->signal(SIGTERM);
    EXPECT_EQ(daemon->waitForEnd(), 0) << daemon->error().text();
}

std::string announced(const std::string& param, const std::string& objectName) {
    return R"(["NOT", ")" + objectName + R"(", 8, 0, 0] {"id":"*","param":)" + param + "}";
}

std::string answered(int status, const std::string& text, const std::string& objectName) {
    return R"(["RSP", ")" + objectName +
           R"(", 8, 5, 0] {"id":"*","requestCommand":"SET","statusCode":)" +
           std::to_string(status) + R"(,"statusMsg":")" + text + "\"}";
}
