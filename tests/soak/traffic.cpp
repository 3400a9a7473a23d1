#include "soaking/traffic.h"

#include <algorithm>

#include "soaking/answers.h"
#include "util/json.h"

namespace soak {

using std::chrono::seconds;

struct Traffic::Outage {
    int64_t weight;
    void (Traffic::*begin)(Clock::time_point now);
};

const Traffic::Outage Traffic::kOutages[] = {
    {4, &Traffic::drop},      {4, &Traffic::refuse},   {1, &Traffic::fallSilent},
    {4, &Traffic::sendHalf},  {2, &Traffic::cutFrame}, {3, &Traffic::goDeaf},
    {2, &Traffic::makeNoise},
};

namespace {

constexpr uint16_t kBusPort = 15000;
constexpr int kClient = 5;
constexpr size_t kMostOutstanding = 200;  // the daemon keeps some 330 messages for a deaf bus
constexpr seconds kSilenceLimit{20};      // it leaves after ten

constexpr const char* kPair =
    R"("kelMasterSystemDetails":{"primary":{"ipAddress":"10.0.0.5","present":true,"active":true,)"
    R"("version":"4.2.1"},"secondary":{"ipAddress":"10.0.0.6","present":true,"active":false,)"
    R"("version":"4.2.1"}})";

std::string frameOf(const Request& request) {
    return Bus::frame(request.type, "system", kClient, 0, request.data);
}

}  // namespace

Traffic::Traffic(Random& random, SettingsBook& book, Mischief& mischief, double rate)
    : random_(random),
      book_(book),
      mischief_(mischief),
      rate_(rate),
      bus_(kBusPort, [this](const TarnInternalMessage& message) { handle(message); }),
      nextOutage_(Clock::now() + seconds(2)),
      nextSend_(Clock::now()),
      reachableSince_(Clock::now()) {}

void Traffic::acceptConnection(Clock::time_point now) {
    if (bus_.isConnected() || !bus_.accept()) {
        return;
    }
    if (++line_.connections > 1) {
        line_.longestReconnect = std::max(line_.longestReconnect, now - reachableSince_);
    }
}

void Traffic::receive(Clock::time_point now) {
    if (bus_.receive()) {
        return;
    }
    if (phase_ == Phase::silent) {
        endPhase(now);
    } else if (!ending_) {
        ++line_.leftByItself;
    }
    lose(now);
}

void Traffic::step(Clock::time_point now, bool paused) {
    if (phase_ != Phase::none && now >= until_) {
        line_.stayedOnSilence += phase_ == Phase::silent ? 1U : 0U;
        endPhase(now);
    }
    if (rate_ <= 0) {
        return;
    }
    if (!paused && isUsable() && now >= nextOutage_) {
        ++line_.outages;
        (this->*random_.pick(kOutages).begin)(now);
        nextOutage_ = now + random_.milliseconds(3000, 12000);
    }
    sendDue(now, paused);
}

void Traffic::sendDue(Clock::time_point now, bool paused) {
    for (; now >= nextSend_;
         nextSend_ += std::chrono::nanoseconds(static_cast<int64_t>(1e9 / rate_))) {
        if (paused) {
            continue;
        }
        if (!bus_.isConnected() || mute()) {
            ++line_.duringOutage;
        } else if (ledger_.outstanding() < kMostOutstanding) {
            send(maker_.any(mischief_.networkIsCalm(now)), now);
        }
    }
}

void Traffic::send(Request request, Clock::time_point now) {
    const std::string bytes = frameOf(request);
    editions_[request.number] = book_.edition();
    ledger_.sent(std::move(request), now);
    bus_.send(bytes);  // whether the daemon has left shows when its answers are read
}

void Traffic::begin(Phase phase, Clock::time_point until) {
    phase_ = phase;
    until_ = until;
}

void Traffic::endPhase(Clock::time_point now) {
    if (phase_ == Phase::refusing) {
        bus_.listen();
        reachableSince_ = now;
    }
    if (phase_ == Phase::halfSent && bus_.isConnected()) {
        bus_.send(otherHalf_);
    }
    deaf_ = false;
    phase_ = Phase::none;
}

void Traffic::drop(Clock::time_point now) {
    lose(now);
}

void Traffic::refuse(Clock::time_point now) {
    lose(now);
    bus_.stopListening();
    begin(Phase::refusing, now + random_.milliseconds(500, 5000));
}

void Traffic::fallSilent(Clock::time_point now) {
    begin(Phase::silent, now + kSilenceLimit);
}

void Traffic::sendHalf(Clock::time_point now) {
    Request request = maker_.get({"systemName"});
    const std::string bytes = frameOf(request);
    const size_t half =
        static_cast<size_t>(random_.between(1, static_cast<int64_t>(bytes.size()) - 1));
    ledger_.sent(std::move(request), now);
    bus_.send(bytes.substr(0, half));
    otherHalf_ = bytes.substr(half);
    begin(Phase::halfSent, now + random_.milliseconds(10, 3000));
}

// What the daemon has only a part of, it must not carry out.
void Traffic::cutFrame(Clock::time_point now) {
    const std::string bytes =
        Bus::frame("SET", "system", kClient, 0, R"({"id":"cut","param":{"systemName":"cut"}})");
    bus_.send(bytes.substr(0, bytes.size() - 1));
    lose(now);
}

void Traffic::goDeaf(Clock::time_point now) {
    deaf_ = true;
    begin(Phase::deafened, now + random_.milliseconds(500, 3000));
}

void Traffic::makeNoise(Clock::time_point /*now*/) {
    bus_.send("5:hello;");                                           // no message
    bus_.send("2:abX");                                              // another terminator
    bus_.send(Bus::frame("SET", "system", kClient, 0, "{\"id\":"));  // data cut short
}

void Traffic::lose(Clock::time_point now) {
    bus_.close();
    reachableSince_ = now;
    mischief_.connectionLost(now);
    for (const Request& request : ledger_.cutOff()) {
        if (request.parameter != nullptr) {
            book_.lostTrackOf(request.parameter->name);
        }
    }
    editions_.clear();
}

void Traffic::handle(const TarnInternalMessage& message) {
    if (message.type() == MessageType::RSP) {
        handleResponse(message);
    } else if (message.type() == MessageType::NOT) {
        if (const cJSON* const item = carried(message)) {
            ledger_.notified(item->string, util::renderJSON(item, false));
        }
    } else if (!mute()) {
        serve(message);
    }
}

void Traffic::handleResponse(const TarnInternalMessage& message) {
    const Answer answer = answerOf(message);
    if (!answer.name.empty()) {
        got_[answer.name] = answer.value;
    }
    if (const auto done = ledger_.answered(answer)) {
        acknowledge(*done);
    }
}

void Traffic::acknowledge(const Request& request) {
    const auto edition = editions_.extract(request.number);
    if (request.parameter != nullptr && request.parameter->isNetwork() && !edition.empty()) {
        book_.acknowledged(request.parameter->name, static_cast<uint32_t>(std::stoul(request.kept)),
                           edition.mapped());
    }
}

// Login, subscriptions and heartbeats are answered as the bus does; the pair is asked for.
void Traffic::serve(const TarnInternalMessage& message) {
    if (message.type() == MessageType::GET) {
        reply(message, kPair);
    } else if (message.objectName() != "system") {
        reply(message, "");
    }
}

void Traffic::reply(const TarnInternalMessage& request, const std::string& param) {
    const std::string data = R"({"id":")" + request.uniqueId() +
                             R"(","statusCode":200,"statusMsg":"OK","param":{)" + param + "}}";
    bus_.send(Bus::frame("RSP", request.objectName(), 0, request.source(), data));
}

}  // namespace soak
