// The monitor subscribes to everything, filters the payloads by type and object, and prints and
// records them as they arrive. With a recording, a signal ends the loop through a descriptor.

#include <unistd.h>

#include <algorithm>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "bus/message_types.h"
#include "cli/signal_fd.h"
#include "cli/standard_output.h"
#include "cli/table.h"
#include "pallctl/commands/commands.h"
#include "pallctl/values/client_names.h"
#include "pallctl/values/traffic_line.h"
#include "recording/recording.h"
#include "util/system_clock.h"

namespace pallctl {

namespace {

constexpr const char* kNotes =
    "A line is time, type, sender -> addressee (a name if it is known, else the\n"
    "connection ID; * is everybody), object, content, ID;\n"
    "on a terminal it is cut to its width. With -j, -k or into a file it is complete.\n"
    "The bus decides what it shows: never logins, subscriptions and heartbeats of\n"
    "others; responses to others only if it supports receiveAll.\n"
    "Only the recording has exact bytes and times.";

struct Filter {
    std::vector<std::string> objects;  // with all below them; empty: all
    std::set<std::string> types;       // words of the wire; empty: all
};

bool isAtOrBelow(const std::string& object, const std::string& path) {
    return object == path || object.starts_with(path + '.');
}

// Prints the messages that pass over the bus, one line each, for as long as the output has a
// reader, and reconnects whenever the bus was away.
class Monitor {
  public:
    // `recording`: the file for the messages that are shown; empty for none.
    Monitor(const client::ConnectionOptions& connection, const Style& style, Filter filter,
            std::string recording);

    // kSuccess, also after a termination signal while recording; kNoBus when there is no bus to
    // begin with, and the file is left alone then. Throws std::runtime_error when the recording or
    // standard output cannot be written.
    ExitStatus run();

  private:
    void startRecording();
    void handlePayload(std::string_view payload);
    bool isWanted(const std::string& type, const std::string& object) const;
    void checkRecording() const;

    client::Client client_;
    Style style_;
    Filter filter_;
    std::string recording_;
    ClientNames names_{findMachineMark(), findProcessName};
    std::unique_ptr<cli::SignalFD> signals_;
    std::unique_ptr<recording::Writer> writer_;
};

// The signals are blocked before the writer starts its thread, so that no thread receives them.
Monitor::Monitor(const client::ConnectionOptions& connection, const Style& style, Filter filter,
                 std::string recording)
    : client_(connection, client::Subscription::traffic),
      style_(style),
      filter_(std::move(filter)),
      recording_(std::move(recording)) {
    if (!recording_.empty()) {
        signals_ = std::make_unique<cli::SignalFD>(cli::kTerminationSignals);
        client_.session().endWith(signals_->descriptor());
    }
}

ExitStatus Monitor::run() {
    const ExitStatus status = client_.waitForBus();
    if (status != kSuccess) {
        return status;
    }
    startRecording();
    while (!client_.session().outputGone()) {
        if (const auto payload = client_.receivePayload()) {
            handlePayload({payload->data(), payload->size() - 1});
        }
    }
    if (writer_) {
        writer_->finish();
        checkRecording();
    }
    return kSuccess;
}

// Overwrites the file, so only when there is a bus to record.
void Monitor::startRecording() {
    if (!recording_.empty() && client_.session().isOpen()) {
        writer_ = std::make_unique<recording::Writer>(recording_, "pallctl");
    }
}

void Monitor::handlePayload(std::string_view payload) {
    const MessageHead head = parseMessageHead(payload);
    names_.learn(head);
    // Responses to this process belong to its own login and heartbeats.
    if (head.to == client::ownConnectionID() || !isWanted(head.type, head.object)) {
        return;
    }
    const auto now = util::readSystemClock();
    cli::printNow(formatMessageLine(payload, now, style_, cli::readTerminalWidth(STDOUT_FILENO),
                                    [this](int32_t id) { return names_.find(id); }));
    if (writer_) {
        writer_->record(head.from, payload);
        checkRecording();
    }
}

bool Monitor::isWanted(const std::string& type, const std::string& object) const {
    const auto& objects = filter_.objects;
    return (filter_.types.empty() || filter_.types.contains(type)) &&
           (objects.empty() ||
            std::any_of(objects.begin(), objects.end(),
                        [&](const std::string& path) { return isAtOrBelow(object, path); }));
}

void Monitor::checkRecording() const {
    if (const auto failure = writer_->failure()) {
        throw std::runtime_error(*failure);
    }
}

struct Arguments {
    std::vector<std::string> objects;
    std::vector<std::string> types;
    std::string recording;
    std::string time = cli::kTimeForms[0];
};

std::vector<std::string> allTypes() {
    constexpr int kTypes = static_cast<int>(MessageType::none);
    std::vector<std::string> words;
    words.reserve(kTypes);
    for (int type = 0; type < kTypes; ++type) {
        words.emplace_back(typeWord(static_cast<MessageType>(type)));
    }
    return words;
}

// The object of --object is one more object to show.
Filter makeFilter(const Options& options, const Arguments& arguments) {
    Filter filter{arguments.objects, {arguments.types.begin(), arguments.types.end()}};
    if (!options.object().empty()) {
        filter.objects.push_back(options.object());
    }
    return filter;
}

}  // namespace

void addMonitor(cli::Command program, const Options& options) {
    cli::Command command = program.addCommand("monitor", "Print the messages on the bus, decoded");
    const auto arguments = std::make_shared<Arguments>();
    command.add("OBJECT", arguments->objects, "Only these and all below them");
    command.add("--type", arguments->types, "Only these types, TYPE,TYPE; repeatable")
        .oneEachTime()
        .separatedByCommas()
        .choices(allTypes());
    command.add("--record", arguments->recording, "Record the messages to this file").kind("FILE");
    command.notes(kNotes);
    addTimeOption(command, arguments->time);
    command.work([&options, arguments] {
        Style style = options.style();
        setTimeForm(style, arguments->time);
        return Monitor(options.connection(), style, makeFilter(options, *arguments),
                       arguments->recording)
            .run();
    });
}

}  // namespace pallctl
