#include "soak_lib/many_clients.h"

#include <algorithm>
#include <numeric>

namespace soak {

namespace {

constexpr int kFirstID = 100;
constexpr size_t kMaxPending = 200;  // the daemon keeps some 330 messages for a bus that is stalled
constexpr std::chrono::seconds kAnswerTimeout{30};
constexpr int64_t kMalformedRarity = 50;

}  // namespace

ManyClients::ManyClients(size_t count, double rate, Random& random, ExpectedSettings& settings)
    : interval_(static_cast<int64_t>(1e9 / rate)), random_(random) {
    for (size_t i = 0; i <= count; ++i) {
        clients_.emplace_back(kFirstID + static_cast<int>(i), settings);
    }
}

void ManyClients::appendDescriptors(std::vector<pollfd>& watched) const {
    for (const SimulatedClient& client : clients_) {
        watched.push_back({client.descriptor(), POLLIN, 0});
    }
}

void ManyClients::step(Clock::time_point now) {
    for (SimulatedClient& client : clients_) {
        client.step(now);
        client.tracker().expire(now - kAnswerTimeout);
    }
}

template <typename Number>
size_t ManyClients::sum(Number number) const {
    return std::accumulate(
        clients_.begin(), clients_.end(), size_t{0},
        [&number](size_t total, const SimulatedClient& client) { return total + number(client); });
}

size_t ManyClients::pending() const {
    return sum([](const SimulatedClient& client) { return client.tracker().pending(); });
}

SimulatedClient& ManyClients::chooseClient() {
    const auto last = static_cast<int64_t>(size()) - 1;
    return last == 0 || random_.onceIn(2)
               ? clients_.front()
               : clients_.at(static_cast<size_t>(random_.between(1, last)));
}

void ManyClients::sendDue(Clock::time_point now, bool paused, bool network) {
    for (; now >= nextSend_; nextSend_ += interval_) {
        if (paused) {
            continue;
        }
        SimulatedClient& client = chooseClient();
        const bool isFirst = &client == &clients_.front();
        if (!client.isReady() || pending() >= kMaxPending) {
            ++notSent_;
        } else if (isFirst && random_.onceIn(kMalformedRarity)) {
            client.sendMalformed();
        } else {
            client.send(isFirst ? maker_.makeAny(network) : maker_.makeIndependent(), now);
        }
    }
}

void ManyClients::set(const Parameter& parameter) {
    clients_.front().send(maker_.makeSet(parameter), Clock::now());
}

void ManyClients::get(std::vector<std::string> names) {
    clients_.front().send(maker_.makeGet(std::move(names)), Clock::now());
}

void ManyClients::getFromAll() {
    for (SimulatedClient& client : clients_) {
        client.send(maker_.makeGet({"systemName"}), Clock::now());
    }
}

bool ManyClients::areReady() const {
    return std::ranges::all_of(clients_, &SimulatedClient::isReady);
}

bool ManyClients::areQuiet() const {
    return areReady() && pending() == 0;
}

void ManyClients::setExcused(size_t index, bool excused) {
    SimulatedClient& client = clients_.at(index);
    client.tracker().setExcused(excused);
    if (!excused && client.tracker().pending() > 0) {
        client.send(maker_.makeGet({"systemName"}), Clock::now());
    }
}

void ManyClients::setAllExcused(bool excused) {
    for (size_t i = 0; i < size(); ++i) {
        setExcused(i, excused);
    }
}

void ManyClients::report(Report& report) const {
    const auto count = [this](size_t Counts::*kind) {
        return sum(
            [kind](const SimulatedClient& client) { return client.tracker().counts().*kind; });
    };
    const auto [least, most] = std::minmax_element(
        clients_.begin(), clients_.end() - 1, [](const auto& one, const auto& other) {
            return one.tracker().counts().answers < other.tracker().counts().answers;
        });
    report.row("clients", size());
    report.row("requests", count(&Counts::requests));
    report.row("due while the client could not send, not sent", notSent_);
    report.row("answers due", count(&Counts::answersDue));
    report.row("answers", count(&Counts::answers));
    report.row("lost or damaged by an injected fault", count(&Counts::excused));
    report.expect("answers lost otherwise", count(&Counts::lost), 0);
    report.expect("answers to no request", count(&Counts::unexpected), 0);
    report.expect("answers with another status", count(&Counts::wrongStatus), 0);
    report.expect("answers with another value than was set", count(&Counts::wrongValue), 0);
    report.row("notifications", count(&Counts::notifications));
    report.expect("sets answered without a notification", count(&Counts::unannounced), 0);
    report.expect("partial sets carried out", count(&Counts::partialSets), 0);
    report.row("answers to one client, least / most",
               std::to_string(least->tracker().counts().answers) + " / " +
                   std::to_string(most->tracker().counts().answers));
    report.row("requests of others overheard", count(&Counts::overheard));
    report.row("payloads that do not decode", count(&Counts::damaged));
    report.row("reconnects of clients", count(&Counts::connections) - clients_.size());
}

}  // namespace soak
