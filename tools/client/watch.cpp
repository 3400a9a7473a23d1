#include "client/watch.h"

#include <algorithm>

#include "client/change_line.h"
#include "program/standard_output.h"

namespace pallctl {

namespace {

using namespace std::chrono_literals;

// How often the device has to show that it answers.
constexpr auto kQuestionPeriod = 5s;
// A daemon whose loop waits for a command answers all that it was asked when that has ended.
constexpr std::chrono::milliseconds kLongestPatience = 30s;

}  // namespace

Watch::Watch(const Reach& reach, const Style& style, const std::vector<std::string>& names,
             bool table)
    : client_(reach, Interest::announcements),
      style_(style),
      usualPatience_(reach.timeout.value_or(Patience().read)),
      patience_(usualPatience_),
      table_(table) {
    const std::vector<std::string> full = client_.device().fullNames(names);
    only_.insert(full.begin(), full.end());
    names_ = only_.empty() ? client_.catalogue() : std::vector(only_.begin(), only_.end());
}

ExitStatus Watch::run() {
    const ExitStatus status = begin();
    if (status != kSuccess) {
        return status;
    }
    do {
        follow();
        stale_ = true;
        patience_ = usualPatience_;
    } while (client_.reconnect());
    return kSuccess;
}

ExitStatus Watch::begin() {
    if (style_.raw) {
        client_.mirror().tellExactly();
    }
    if (!table_) {
        tellChanges();
    }
    ExitStatus status = client_.read(names_);
    if (status == kSuccess) {
        status = findNames();
    }
    if (status == kSuccess && table_) {
        printTable();
        tellChanges();
    }
    return status;
}

ExitStatus Watch::findNames() const {
    // Through a prefix most are heard of when they change, and not before.
    if (client_.device().isThroughPrefix() || client_.session().outputGone()) {
        return kSuccess;
    }
    for (const std::string& name : only_) {
        if (!client_.mirror().find(name)) {
            complain(name, "not found");
            return kNotFound;
        }
    }
    return kSuccess;
}

void Watch::printTable() {
    printNow(listing(client_.described(only_), style_));
}

void Watch::tellChanges() {
    client_.mirror().setOnChange([this](const Parameter& parameter) { show(parameter); });
}

// Until the connection is lost.
void Watch::follow() {
    BusSession& session = client_.session();
    nextQuestion_ = Clock::now() + kQuestionPeriod;
    while (!session.outputGone()) {
        if (stale_) {
            catchUp();
        } else if (!question_ && Clock::now() >= nextQuestion_) {
            ask();
        }
        if (const auto message = session.receive(endOfTurn())) {
            take(*message);
        } else if (!session.isOpen()) {
            return;
        }
        client_.tellNews();
        giveUp();
        stale_ = client_.device().takeArrival() || stale_;
    }
}

void Watch::catchUp() {
    question_.reset();
    stale_ = !client_.device().read(names_, patience_);
    client_.tellReading(!stale_);
    patience_ = stale_ ? std::min(2 * patience_, kLongestPatience) : usualPatience_;
    nextQuestion_ = Clock::now() + kQuestionPeriod;
}

Deadline Watch::endOfTurn() const {
    if (stale_) {
        return Clock::now();
    }
    if (!question_) {
        return nextQuestion_;
    }
    return Clock::now() < question_->deadline ? question_->deadline : Deadline::max();
}

// A reading, so that what is announced before the answer comes stands.
void Watch::ask() {
    client_.mirror().beginReading();
    question_ = Question{client_.device().ask({}), Clock::now() + usualPatience_};
    client_.session().flush();
    nextQuestion_ = Clock::now() + kQuestionPeriod;
}

void Watch::take(const TarnInternalMessage& message) {
    client_.device().hear(message);
    if (!question_) {
        return;
    }
    question_->busSpoke = true;
    if (message.type() == MessageType::RSP && message.uniqueId() == question_->id) {
        question_.reset();
        client_.mirror().endReading();
        stale_ = client_.mirror().isDoubtful();
    }
}

// While the bus says nothing either, the fault may be with it.
void Watch::giveUp() {
    if (question_ && question_->busSpoke && Clock::now() >= question_->deadline) {
        question_.reset();
        client_.tellReading(false);
        stale_ = true;
    }
}

void Watch::show(const Parameter& parameter) {
    client_.tellNews();
    if (only_.empty() || only_.contains(parameter.descriptor.name)) {
        const auto now = std::chrono::system_clock::now();
        printNow(changeLine(parameter, now, style_));
    }
}

}  // namespace pallctl
