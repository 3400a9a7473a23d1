// The expected and the received messages of each subject are aligned like the lines of two files:
// when the current pair differs, the alignment looks up to kMaxLookahead messages ahead on either
// side for a pair that is equal, and reports what it skips as missing or extra.

#include "pallbus/replay/comparison.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "pallbus/replay/message.h"

namespace pallbus::replay {

namespace {

constexpr size_t kMaxLookahead = 64;

std::string subjectName(const Message& message) {
    return describeMessage(message) + " " + joinNames(message);
}

// A message of the recording or of the device, its data without the id that changes between runs.
struct Side {
    std::chrono::microseconds at{};
    Message message;
    std::string payload;
};

Side makeSide(std::chrono::microseconds at, const std::string& payload) {
    Side side{at, parseMessage(payload), payload};
    cJSON_DeleteItemFromObjectCaseSensitive(side.message.data.get(), "id");
    return side;
}

// The content of a message without a counterpart.
std::string formatContent(const Side& side) {
    const cJSON* param = util::jsonMember(side.message.data.get(), "param");
    return formatJSON(param ? param : side.message.data.get());
}

Deviation makeDeviation(const Side& side, std::string expected, std::string got) {
    const std::string names = joinNames(side.message);
    const std::string head = describeMessage(side.message);
    return {side.at, names.empty() ? head : head + " " + names, std::move(expected),
            std::move(got)};
}

// Compares the messages of one subject, in their order, into a report.
class Alignment {
  public:
    Alignment(std::vector<Side> expected, std::vector<Side> got, const IgnoredNames& ignored,
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
    std::vector<JSONDifference> compareSides(const Side& expected, const Side& got) const {
        const cJSON* left = expected.message.data.get();
        const cJSON* right = got.message.data.get();
        std::vector<JSONDifference> found = differences(left, right, ignored_);
        // Without JSON on both sides the payloads decide.
        if (found.empty() && (!left || !right) && expected.payload != got.payload) {
            found.push_back({"", formatJSON(left), formatJSON(right)});
        }
        return found;
    }

    bool same(size_t left, size_t right) const {
        return left < expected_.size() && right < got_.size() &&
               compareSides(expected_[left], got_[right]).empty();
    }

    // How many messages to skip on either side to reach an equal pair; none when this pair or the
    // next one is equal, or no pair within kMaxLookahead is.
    std::pair<size_t, size_t> gap(size_t left, size_t right) const {
        if (same(left, right) || same(left + 1, right + 1)) {
            return {0, 0};
        }
        for (size_t ahead = 1; ahead <= kMaxLookahead; ++ahead) {
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
        const std::vector<JSONDifference> found = compareSides(expected, got);
        report_.different += found.empty() ? 0U : 1U;
        for (const JSONDifference& each : found) {
            const std::string head = describeMessage(expected.message);
            report_.deviations.push_back({expected.at,
                                          each.path.empty() ? head : head + " " + each.path,
                                          each.expected, each.got});
        }
    }

    void skip(size_t left, size_t leftEnd, size_t right, size_t rightEnd) {
        for (; left < leftEnd; ++left) {
            ++report_.missing;
            report_.deviations.push_back(makeDeviation(
                expected_[left], formatContent(expected_[left]), formatJSON(nullptr)));
        }
        for (; right < rightEnd; ++right) {
            ++report_.extra;
            report_.deviations.push_back(
                makeDeviation(got_[right], formatJSON(nullptr), formatContent(got_[right])));
        }
    }

    const std::vector<Side> expected_;
    const std::vector<Side> got_;
    const IgnoredNames& ignored_;
    Report& report_;
};

}  // namespace

Comparison::Comparison(const std::vector<Step>& steps, IgnoredNames ignored)
    : steps_(steps), ignored_(std::move(ignored)) {
    for (size_t index = 0; index < steps.size(); ++index) {
        const Step& step = steps[index];
        if (step.kind == Step::Kind::expect && !isExcluded(step.payload)) {
            const std::string subject = subjectName(parseMessage(step.payload));
            std::vector<size_t>& expected = subjects_[subject].steps;
            positions_.emplace(index, std::pair(subject, expected.size()));
            expected.push_back(index);
        }
    }
}

// Heartbeats, and notifications of ignored parameters only.
bool Comparison::isExcluded(std::string_view payload) const {
    const Message message = parseMessage(payload);
    if (message.type != MessageType::NOT || message.names.empty()) {
        return isHeartbeat(message);
    }
    return std::ranges::all_of(message.names,
                               [this](const auto& name) { return isIgnored(name, ignored_); });
}

void Comparison::addMessage(std::chrono::microseconds at, std::string payload) {
    if (isExcluded(payload)) {
        return;
    }
    const Message message = parseMessage(payload);
    Subject& subject = subjects_[subjectName(message)];
    const size_t place = subject.got.size();
    if (!isResponse(message) && place < subject.steps.size()) {
        const Message recorded = parseMessage(steps_[subject.steps[place]].payload);
        currentIDs_[recorded.id] = message.id;
    }
    subject.got.push_back({at, std::move(payload)});
}

bool Comparison::isExpected(size_t step) const {
    const auto found = positions_.find(step);
    if (found == positions_.end()) {
        return false;
    }
    const auto& [name, place] = found->second;
    const Subject& subject = subjects_.at(name);
    return !subject.timedOut && place >= subject.got.size();
}

void Comparison::timeOut(size_t step) {
    subjects_.at(positions_.at(step).first).timedOut = true;
}

std::string Comparison::rewriteIDs(const std::string& payload) const {
    const Message message = parseMessage(payload);
    const auto today = isResponse(message) ? currentIDs_.find(message.id) : currentIDs_.end();
    return today == currentIDs_.end() ? payload : replaceID(payload, today->second);
}

void Comparison::compare(const Subject& subject, Report& report) const {
    std::vector<Side> expected;
    for (const size_t step : subject.steps) {
        expected.push_back(makeSide(steps_[step].at, steps_[step].payload));
    }
    std::vector<Side> got;
    for (const Got& each : subject.got) {
        got.push_back(makeSide(each.at, each.payload));
    }
    report.compared += expected.size();
    Alignment(std::move(expected), std::move(got), ignored_, report).run();
}

Report Comparison::report() const {
    Report report;
    for (const auto& [name, subject] : subjects_) {
        compare(subject, report);
    }
    report.disconnects = disconnects_.size();
    for (const auto& at : disconnects_) {
        report.deviations.push_back({at, "connection", "open", "closed"});
    }
    std::ranges::stable_sort(report.deviations, {}, &Deviation::at);
    return report;
}

}  // namespace pallbus::replay
