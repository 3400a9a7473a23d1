// The broker decodes only what it needs to route a message: the header, and the data of messages
// that are addressed to itself. Requests for the controller details that other clients may answer
// wait in questions_; a response with the same id cancels the question, a timeout answers it with a
// made-up pair of controllers.

#include "pallbus/broker/broker.h"

#include <algorithm>
#include <stdexcept>

#include "bus/messages.h"
#include "bus/netstring.h"
#include "util/numbers.h"

namespace pallbus::broker {

namespace {

constexpr const char* kConnectionObject = "system.connection";
constexpr const char* kHeartbeatObject = "";

constexpr std::string_view kControllerDetails = "kelMasterSystemDetails";
constexpr std::string_view kControllerDetailsParam =
    R"({"kelMasterSystemDetails":{)"
    R"("primary":{"ipAddress":"10.1.1.1","present":true,"active":true,"version":"1.0"},)"
    R"("secondary":{"ipAddress":"10.1.1.2","present":true,"active":false,"version":"1.0"}}})";

std::string encodeFrame(const TarnInternalMessage& message) {
    return lumo::encodeNetString(message.encode());
}

// The parser appends a NUL to the payload.
std::string encodeFrame(const std::vector<char>& payload) {
    const size_t terminator = payload.empty() || payload.back() != '\0' ? 0 : 1;
    return lumo::encodeNetString(std::string(payload.data(), payload.size() - terminator));
}

std::string_view extractPayload(std::string_view frame) {
    const size_t start = frame.find(':') + 1;
    return frame.substr(start, frame.size() - start - 1);
}

bool asksForControllerDetails(const TarnInternalMessage& message) {
    if (message.type() != MessageType::GET || message.objectName() != "system") {
        return false;
    }
    const cJSON* names = util::jsonMember(util::jsonMember(message.data(), "param"), "objectName");
    const cJSON* name = nullptr;
    cJSON_ArrayForEach(name, names) {
        const char* text = util::jsonText(name);
        if (text && text == kControllerDetails) {
            return true;
        }
    }
    return false;
}

util::UniqueJSON controllerDetailsParam() {
    return util::parseJSON(kControllerDetailsParam.data(), kControllerDetailsParam.size());
}

bool isForBroker(const TarnInternalMessage& message) {
    return message.objectName() == kConnectionObject || message.objectName() == kHeartbeatObject;
}

}  // namespace

Broker::Broker(Deliver deliver) : deliver_(std::move(deliver)) {}

void Broker::removeClient(ClientID client) {
    table_.removeClient(client);
    std::erase_if(questions_,
                  [client](const PendingQuestion& each) { return each.client == client; });
}

bool Broker::accept(ClientID sender, std::unique_ptr<std::vector<char>> payload,
                    Clock::time_point now) {
    const std::string frame = encodeFrame(*payload);
    try {
        const TarnInternalMessage message(std::move(payload));
        recordMessage(table_.connectionID(sender).value_or(message.source()), frame);
        if (isForBroker(message)) {
            if (frame.size() > kMaxParsedBytes) {
                return false;
            }
            handleBusRequest(sender, message);
        } else if (isResponse(message.type())) {
            routeResponse(sender, message, frame);
        } else {
            routeRequest(sender, message, frame, now);
        }
    } catch (const std::runtime_error&) {
        recordMessage(table_.connectionID(sender).value_or(kUnknownSender), frame);
        return false;
    }
    return true;
}

void Broker::recordMessage(int32_t from, const std::string& frame) const {
    if (tap_) {
        tap_(from, extractPayload(frame));
    }
}

void Broker::answer(ClientID client, const std::string& frame) {
    recordMessage(0, frame);
    deliver_(client, frame);
}

void Broker::handleBusRequest(ClientID sender, const TarnInternalMessage& message) {
    if (message.type() != MessageType::SET) {
        return;
    }
    int code = 200;
    const cJSON* param = util::jsonMember(message.data(), "param");
    if (const cJSON* login = util::jsonMember(param, "login")) {
        code = handleLogin(sender, login);
    }
    if (const cJSON* list = util::jsonMember(param, "subscribeList")) {
        code = handleSubscribeList(sender, list);
    }
    reply(sender, message, code);
}

int Broker::handleLogin(ClientID sender, const cJSON* login) {
    const cJSON* connectionID = util::jsonMember(login, "connID");
    if (!cJSON_IsNumber(connectionID)) {
        return 400;
    }
    table_.login(sender, util::saturatedInt32(connectionID->valuedouble));
    return 200;
}

int Broker::handleSubscribeList(ClientID sender, const cJSON* list) {
    int code = cJSON_IsArray(list) ? 200 : 400;
    const cJSON* item = nullptr;
    cJSON_ArrayForEach(item, list) {
        const char* path = util::jsonText(util::jsonMember(item, "path"));
        const bool receiveAll = cJSON_IsTrue(util::jsonMember(item, "receiveAll"));
        if (!path || !table_.subscribe(sender, path, receiveAll)) {
            code = 400;
        }
    }
    return code;
}

void Broker::reply(ClientID client, const TarnInternalMessage& request, int code) {
    answer(client, encodeFrame(RSPMessage(request, code)));
}

void Broker::routeRequest(ClientID sender, const TarnInternalMessage& message,
                          const std::string& frame, Clock::time_point now) {
    const std::vector<ClientID> subscribers = table_.subscribers(message.objectName(), sender);
    for (const ClientID subscriber : subscribers) {
        deliver_(subscriber, frame);
    }
    if (frame.size() <= kMaxQuestionBytes && asksForControllerDetails(message)) {
        holdQuestion(sender, message, !subscribers.empty(), now);
    }
}

void Broker::routeResponse(ClientID sender, const TarnInternalMessage& message,
                           const std::string& frame) {
    const auto requester = table_.clientForConnectionID(message.header().destination);
    for (const ClientID subscriber : table_.receiveAllSubscribers(message.objectName(), sender)) {
        if (subscriber != requester) {
            deliver_(subscriber, frame);
        }
    }
    if (requester && requester != sender) {
        if (frame.size() <= kMaxParsedBytes) {
            cancelQuestion(*requester, message);
        }
        deliver_(*requester, frame);
    }
}

void Broker::holdQuestion(ClientID sender, const TarnInternalMessage& request, bool othersAsked,
                          Clock::time_point now) {
    const std::string details =
        encodeFrame(RSPMessage(request, std::nullopt, controllerDetailsParam()));
    if (!othersAsked) {
        answer(sender, details);
        return;
    }
    questions_.push_back({sender, request.uniqueId(), details, now + kDetailsTimeout});
    if (questions_.size() > kMaxPendingQuestions) {
        answerOldest();
    }
}

void Broker::cancelQuestion(ClientID client, const TarnInternalMessage& answer) {
    if (questions_.empty()) {
        return;
    }
    std::erase_if(questions_, [&](const PendingQuestion& each) {
        return each.client == client && each.id == answer.uniqueId();
    });
}

void Broker::answerTimedOut(Clock::time_point now) {
    while (!questions_.empty() && questions_.front().due <= now) {
        answerOldest();
    }
}

std::optional<Broker::Clock::time_point> Broker::nextTimeout() const {
    return questions_.empty() ? std::nullopt : std::optional(questions_.front().due);
}

void Broker::answerOldest() {
    const PendingQuestion question = std::move(questions_.front());
    questions_.pop_front();
    answer(question.client, question.answer);
}

}  // namespace pallbus::broker
