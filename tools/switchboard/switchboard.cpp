#include "switchboard/switchboard.h"

#include <algorithm>
#include <stdexcept>

#include "bus/messages.h"
#include "bus/netstring.h"
#include "model/numbers.h"
#include "switchboard/master_details.h"

namespace pallbus {

namespace {

constexpr const char* kConnectionObject = "system.connection";
constexpr const char* kHeartbeatObject = "";

std::string frameOf(const TarnInternalMessage& message) {
    return lumo::encodeNetString(message.encode());
}

// The payload as it came, without the terminator that the parser put behind it.
std::string frameOf(const std::vector<char>& payload) {
    const size_t terminator = payload.empty() || payload.back() != '\0' ? 0 : 1;
    return lumo::encodeNetString(std::string(payload.data(), payload.size() - terminator));
}

// What a frame made here carries.
std::string_view payloadOf(std::string_view frame) {
    const size_t start = frame.find(':') + 1;
    return frame.substr(start, frame.size() - start - 1);
}

bool isAnswer(MessageType type) {
    return type == MessageType::RSP || type == MessageType::CMDRSP || type == MessageType::ACK ||
           type == MessageType::NAK;
}

bool isForTheBus(const TarnInternalMessage& message) {
    return message.objectName() == kConnectionObject || message.objectName() == kHeartbeatObject;
}

}  // namespace

Switchboard::Switchboard(Deliver deliver) : deliver_(std::move(deliver)) {}

void Switchboard::leave(ClientID client) {
    table_.leave(client);
    std::erase_if(questions_, [client](const Question& each) { return each.asker == client; });
}

bool Switchboard::accept(ClientID sender, std::unique_ptr<std::vector<char>> payload,
                         Clock::time_point now) {
    const std::string frame = frameOf(*payload);
    try {
        const TarnInternalMessage message(std::move(payload));
        witness(table_.connectionIDOf(sender).value_or(message.source()), frame);
        if (isForTheBus(message)) {
            if (frame.size() > kMostReadBytes) {
                return false;
            }
            handleConnection(sender, message);
        } else if (isAnswer(message.type())) {
            passAnswer(sender, message, frame);
        } else {
            passRequest(sender, message, frame, now);
        }
    } catch (const std::runtime_error&) {
        witness(table_.connectionIDOf(sender).value_or(kNobody), frame);
        return false;
    }
    return true;
}

void Switchboard::witness(int32_t from, const std::string& frame) const {
    if (witness_) {
        witness_(from, payloadOf(frame));
    }
}

void Switchboard::answer(ClientID client, const std::string& frame) {
    witness(0, frame);
    deliver_(client, frame);
}

void Switchboard::handleConnection(ClientID sender, const TarnInternalMessage& message) {
    if (message.type() != MessageType::SET) {
        return;
    }
    int code = 200;
    const cJSON* param = jsonMember(message.data(), "param");
    if (const cJSON* login = jsonMember(param, "login")) {
        code = takeLogin(sender, login);
    }
    if (const cJSON* list = jsonMember(param, "subscribeList")) {
        code = takeSubscriptions(sender, list);
    }
    reply(sender, message, code);
}

int Switchboard::takeLogin(ClientID sender, const cJSON* login) {
    const cJSON* connectionID = jsonMember(login, "connID");
    if (!cJSON_IsNumber(connectionID)) {
        return 400;
    }
    table_.login(sender, saturatedInt32(connectionID->valuedouble));
    return 200;
}

int Switchboard::takeSubscriptions(ClientID sender, const cJSON* list) {
    int code = cJSON_IsArray(list) ? 200 : 400;
    const cJSON* item = nullptr;
    cJSON_ArrayForEach(item, list) {
        const char* path = jsonText(jsonMember(item, "path"));
        const bool receiveAll = cJSON_IsTrue(jsonMember(item, "receiveAll"));
        if (!path || !table_.subscribe(sender, path, receiveAll)) {
            code = 400;
        }
    }
    return code;
}

void Switchboard::reply(ClientID client, const TarnInternalMessage& request, int code) {
    answer(client, frameOf(RSPMessage(request, code)));
}

void Switchboard::passRequest(ClientID sender, const TarnInternalMessage& message,
                              const std::string& frame, Clock::time_point now) {
    const std::vector<ClientID> subscribers = table_.subscribersOf(message.objectName(), sender);
    for (const ClientID subscriber : subscribers) {
        deliver_(subscriber, frame);
    }
    if (frame.size() <= kMostQuestionBytes && asksForMasterDetails(message)) {
        ask(sender, message, !subscribers.empty(), now);
    }
}

void Switchboard::passAnswer(ClientID sender, const TarnInternalMessage& message,
                             const std::string& frame) {
    const auto requester = table_.holderOf(message.header().destination);
    for (const ClientID onlooker : table_.onlookersOf(message.objectName(), sender)) {
        if (onlooker != requester) {
            deliver_(onlooker, frame);
        }
    }
    if (requester && requester != sender) {
        if (frame.size() <= kMostReadBytes) {
            settle(*requester, message);
        }
        deliver_(*requester, frame);
    }
}

void Switchboard::ask(ClientID sender, const TarnInternalMessage& request, bool othersAsked,
                      Clock::time_point now) {
    const std::string details = frameOf(RSPMessage(request, std::nullopt, masterDetailsParam()));
    if (!othersAsked) {
        answer(sender, details);
        return;
    }
    questions_.push_back({sender, request.uniqueId(), details, now + kPatience});
    if (questions_.size() > kMostQuestions) {
        answerOldest();
    }
}

void Switchboard::settle(ClientID asker, const TarnInternalMessage& answer) {
    if (questions_.empty()) {
        return;
    }
    std::erase_if(questions_, [&](const Question& each) {
        return each.asker == asker && each.id == answer.uniqueId();
    });
}

void Switchboard::answerDue(Clock::time_point now) {
    while (!questions_.empty() && questions_.front().due <= now) {
        answerOldest();
    }
}

std::optional<Switchboard::Clock::time_point> Switchboard::nextDue() const {
    return questions_.empty() ? std::nullopt : std::optional(questions_.front().due);
}

void Switchboard::answerOldest() {
    const Question question = std::move(questions_.front());
    questions_.pop_front();
    answer(question.asker, question.answer);
}

}  // namespace pallbus
