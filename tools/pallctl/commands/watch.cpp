// The watch reads everything first, and again whenever bus or daemon were away; after a reading the
// parameter cache reports what has changed meanwhile. In between it asks every few seconds whether
// the device still answers. While the device does not answer, readings are repeated with a timeout
// that doubles up to kMaxReadTimeout: a daemon that runs a long command answers everything
// afterwards.

#include <algorithm>
#include <chrono>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "cli/standard_output.h"
#include "pallctl/commands/commands.h"
#include "pallctl/values/change_line.h"

namespace pallctl {

namespace {

using namespace std::chrono_literals;
using client::Clock;
using client::Deadline;

// How often the device has to show that it answers.
constexpr auto kProbePeriod = 5s;
constexpr std::chrono::milliseconds kMaxReadTimeout = 30s;

// Prints changes as they happen, one line each.
class Watch {
  public:
    // Without names everything is watched. With `table` everything is printed first.
    Watch(const client::ConnectionOptions& connection, const Style& style,
          const std::vector<std::string>& names, bool table);

    // Returns when standard output loses its reader, or when there is nothing to watch to begin
    // with. Throws std::runtime_error when standard output cannot be written.
    ExitStatus run();

  private:
    // A request that checks whether the device still answers.
    struct Probe {
        std::string id;
        Deadline deadline;
        bool busSpoke = false;  // since the probe was sent
    };

    ExitStatus begin();
    ExitStatus checkNames() const;
    void printTable();
    void startReporting();
    void follow();
    void readAgain();
    void sendProbe();
    void handleMessage(const TarnInternalMessage& message);
    void checkProbeTimeout();
    Deadline nextDeadline() const;
    void printChange(const client::Parameter& parameter);

    client::Client client_;
    Style style_;
    std::chrono::milliseconds usualTimeout_;
    std::chrono::milliseconds readTimeout_;
    std::vector<std::string> names_;  // to read
    std::set<std::string> only_;      // to print; empty: everything
    bool table_;
    bool stale_ = false;  // something may have changed unnoticed
    Deadline nextProbe_ = Deadline::max();
    std::optional<Probe> probe_;
};

Watch::Watch(const client::ConnectionOptions& connection, const Style& style,
             const std::vector<std::string>& names, bool table)
    : client_(connection, client::Subscription::announcements),
      style_(style),
      usualTimeout_(connection.timeout.value_or(client::Timeouts().read)),
      readTimeout_(usualTimeout_),
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
        readTimeout_ = usualTimeout_;
    } while (client_.reconnect());
    return kSuccess;
}

ExitStatus Watch::begin() {
    if (style_.raw) {
        client_.cache().compareExactly();
    }
    if (!table_) {
        startReporting();
    }
    ExitStatus status = client_.read(names_);
    if (status == kSuccess) {
        status = checkNames();
    }
    if (status == kSuccess && table_) {
        printTable();
        startReporting();
    }
    return status;
}

ExitStatus Watch::checkNames() const {
    // Through a prefix most parameters are known only after they change.
    if (client_.device().isThroughPrefix() || client_.session().outputGone()) {
        return kSuccess;
    }
    for (const std::string& name : only_) {
        if (!client_.cache().find(name)) {
            client::complain(name, "not found");
            return kNotFound;
        }
    }
    return kSuccess;
}

void Watch::printTable() {
    cli::printNow(formatParameters(client_.described(only_), style_));
}

void Watch::startReporting() {
    client_.cache().setOnChange(
        [this](const client::Parameter& parameter) { printChange(parameter); });
}

// Until the connection is lost.
void Watch::follow() {
    client::BusSession& session = client_.session();
    nextProbe_ = Clock::now() + kProbePeriod;
    while (!session.outputGone()) {
        if (stale_) {
            readAgain();
        } else if (!probe_ && Clock::now() >= nextProbe_) {
            sendProbe();
        }
        if (const auto message = session.receive(nextDeadline())) {
            handleMessage(*message);
        } else if (!session.isOpen()) {
            return;
        }
        client_.reportConnection();
        checkProbeTimeout();
        stale_ = client_.device().takeRestart() || stale_;
    }
}

void Watch::readAgain() {
    probe_.reset();
    stale_ = !client_.device().read(names_, readTimeout_);
    client_.reportReading(!stale_);
    readTimeout_ = stale_ ? std::min(2 * readTimeout_, kMaxReadTimeout) : usualTimeout_;
    nextProbe_ = Clock::now() + kProbePeriod;
}

Deadline Watch::nextDeadline() const {
    if (stale_) {
        return Clock::now();
    }
    if (!probe_) {
        return nextProbe_;
    }
    return Clock::now() < probe_->deadline ? probe_->deadline : Deadline::max();
}

// A reading for the cache, so that notifications that arrive before the answer take precedence.
void Watch::sendProbe() {
    client_.cache().beginReading();
    probe_ = Probe{client_.device().ask({}), Clock::now() + usualTimeout_};
    client_.session().flush();
    nextProbe_ = Clock::now() + kProbePeriod;
}

void Watch::handleMessage(const TarnInternalMessage& message) {
    client_.device().handleMessage(message);
    if (!probe_) {
        return;
    }
    probe_->busSpoke = true;
    if (message.type() == MessageType::RSP && message.uniqueId() == probe_->id) {
        probe_.reset();
        client_.cache().endReading();
        stale_ = client_.cache().isDoubtful();
    }
}

// Without any message from the bus, the fault may be there.
void Watch::checkProbeTimeout() {
    if (probe_ && probe_->busSpoke && Clock::now() >= probe_->deadline) {
        probe_.reset();
        client_.reportReading(false);
        stale_ = true;
    }
}

void Watch::printChange(const client::Parameter& parameter) {
    client_.reportConnection();
    if (only_.empty() || only_.contains(parameter.descriptor.name)) {
        const auto now = std::chrono::system_clock::now();
        cli::printNow(formatChange(parameter, now, style_));
    }
}

struct Arguments {
    std::vector<std::string> names;
    bool table = false;
};

}  // namespace

void addWatch(cli::Command program, const Options& options) {
    cli::Command command = program.addCommand("watch", "Print each change as it happens");
    const auto arguments = std::make_shared<Arguments>();
    command.add("NAME", arguments->names, "Only these");
    command.addFlag("--table", arguments->table, "Print the table first");
    command.work([&options, arguments] {
        return Watch(options.connection(), options.style(), arguments->names, arguments->table)
            .run();
    });
}

}  // namespace pallctl
