#include "replay/comparison.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "replay/message.h"

namespace replay {

namespace {

// So far ahead a message is looked for when one of its subject is missing or too many.
constexpr size_t kHorizon = 64;

std::string subjectOf(const Message& message) {
    return headOf(message) + " " + namesOf(message);
}

// A message on one of the two sides, its data without the id that changes from run to run.
struct Side {
    std::chrono::microseconds at{};
    Message message;
    std::string payload;
};

Side sideOf(std::chrono::microseconds at, const std::string& payload) {
    Side side{at, parseMessage(payload), payload};
    cJSON_DeleteItemFromObjectCaseSensitive(side.message.data.get(), "id");
    return side;
}

// What a message that has no counterpart says.
std::string textOf(const Side& side) {
    const cJSON* param = jsonMember(side.message.data.get(), "param");
    return shown(param ? param : side.message.data.get());
}

Deviation deviationOf(const Side& side, std::string expected, std::string got) {
    const std::string names = namesOf(side.message);
    const std::string head = headOf(side.message);
    return {side.at, names.empty() ? head : head + " " + names, std::move(expected),
            std::move(got)};
}

// Compares the messages of one subject, in their order, into a report.
class Alignment {
  public:
    Alignment(std::vector<Side> expected, std::vector<Side> got, const Names& ignored,
              Report& report)
        : expected_(std::move(expected)),
          got_(std::move(got)),
          ignored_(ignored),
          report_(report) {}

    void run() {
        size_t left = 0;
        size_t right = 0;
        while (left < expected_.size() && right < got_.size()) {
            if (const auto [skipLeft, skipRight] = gap(left, right); skipLeft + skipRight > 0) {
                skip(left, left + skipLeft, right, right + skipRight);
                left += skipLeft;
                right += skipRight;
            } else {
                comparePair(expected_[left++], got_[right++]);
            }
        }
        skip(left, expected_.size(), right, got_.size());
    }

  private:
    std::vector<Difference> differencesOf(const Side& expected, const Side& got) const {
        const cJSON* left = expected.message.data.get();
        const cJSON* right = got.message.data.get();
        std::vector<Difference> found = differences(left, right, ignored_);
        // What JSON there is says the same, or there is none.
        if (found.empty() && (!left || !right) && expected.payload != got.payload) {
            found.push_back({"", shown(left), shown(right)});
        }
        return found;
    }

    bool same(size_t left, size_t right) const {
        return left < expected_.size() && right < got_.size() &&
               differencesOf(expected_[left], got_[right]).empty();
    }

    // How many to skip on either side to come to two that are the same; none when these two are,
    // or the next two, or none are near.
    std::pair<size_t, size_t> gap(size_t left, size_t right) const {
        if (same(left, right) || same(left + 1, right + 1)) {
            return {0, 0};
        }
        for (size_t ahead = 1; ahead <= kHorizon; ++ahead) {
            if (same(left + ahead, right)) {
                return {ahead, 0};
            }
            if (same(left, right + ahead)) {
                return {0, ahead};
            }
        }
        return {0, 0};
    }

    void comparePair(const Side& expected, const Side& got) {
        const std::vector<Difference> found = differencesOf(expected, got);
        report_.different += found.empty() ? 0U : 1U;
        for (const Difference& each : found) {
            const std::string head = headOf(expected.message);
            report_.deviations.push_back({expected.at,
                                          each.path.empty() ? head : head + " " + each.path,
                                          each.expected, each.got});
        }
    }

    void skip(size_t left, size_t leftEnd, size_t right, size_t rightEnd) {
        for (; left < leftEnd; ++left) {
            ++report_.missing;
            report_.deviations.push_back(
                deviationOf(expected_[left], textOf(expected_[left]), shown(nullptr)));
        }
        for (; right < rightEnd; ++right) {
            ++report_.extra;
            report_.deviations.push_back(
                deviationOf(got_[right], shown(nullptr), textOf(got_[right])));
        }
    }

    const std::vector<Side> expected_;
    const std::vector<Side> got_;
    const Names& ignored_;
    Report& report_;
};

}  // namespace

Comparison::Comparison(const std::vector<Step>& steps, Names ignored)
    : steps_(steps), ignored_(std::move(ignored)) {
    for (size_t index = 0; index < steps.size(); ++index) {
        const Step& step = steps[index];
        if (step.kind == Step::Kind::expect && !isLeftOut(step.payload)) {
            const std::string subject = subjectOf(parseMessage(step.payload));
            std::vector<size_t>& expected = subjects_[subject].steps;
            places_.emplace(index, std::pair(subject, expected.size()));
            expected.push_back(index);
        }
    }
}

// Heartbeats, and announcements of nothing but ignored parameters.
bool Comparison::isLeftOut(std::string_view payload) const {
    const Message message = parseMessage(payload);
    if (message.type != MessageType::NOT || message.names.empty()) {
        return isHeartbeat(message);
    }
    return std::ranges::all_of(message.names,
                               [this](const auto& name) { return isIgnored(name, ignored_); });
}

void Comparison::take(std::chrono::microseconds at, std::string payload) {
    if (isLeftOut(payload)) {
        return;
    }
    const Message message = parseMessage(payload);
    Subject& subject = subjects_[subjectOf(message)];
    const size_t place = subject.got.size();
    if (!isAnswer(message) && place < subject.steps.size()) {
        const Message recorded = parseMessage(steps_[subject.steps[place]].payload);
        idsToday_[recorded.id] = message.id;
    }
    subject.got.push_back({at, std::move(payload)});
}

bool Comparison::isAwaited(size_t step) const {
    const auto found = places_.find(step);
    if (found == places_.end()) {
        return false;
    }
    const auto& [name, place] = found->second;
    const Subject& subject = subjects_.at(name);
    return !subject.givenUp && place >= subject.got.size();
}

void Comparison::giveUp(size_t step) {
    subjects_.at(places_.at(step).first).givenUp = true;
}

std::string Comparison::forToday(const std::string& payload) const {
    const Message message = parseMessage(payload);
    const auto today = isAnswer(message) ? idsToday_.find(message.id) : idsToday_.end();
    return today == idsToday_.end() ? payload : withID(payload, today->second);
}

void Comparison::compare(const Subject& subject, Report& report) const {
    std::vector<Side> expected;
    for (const size_t step : subject.steps) {
        expected.push_back(sideOf(steps_[step].at, steps_[step].payload));
    }
    std::vector<Side> got;
    for (const Got& each : subject.got) {
        got.push_back(sideOf(each.at, each.payload));
    }
    report.compared += expected.size();
    Alignment(std::move(expected), std::move(got), ignored_, report).run();
}

Report Comparison::report() const {
    Report report;
    for (const auto& [name, subject] : subjects_) {
        compare(subject, report);
    }
    report.lost = losses_.size();
    for (const auto& at : losses_) {
        report.deviations.push_back({at, "connection", "open", "closed"});
    }
    std::ranges::stable_sort(report.deviations, {}, &Deviation::at);
    return report;
}

}  // namespace replay
