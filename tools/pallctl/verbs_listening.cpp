// The verbs that go on until they are ended.

#include <memory>
#include <string>
#include <vector>

#include "bus/message_types.h"
#include "client/monitor.h"
#include "client/watch.h"
#include "verbs.h"

namespace pallctl {

namespace {

struct WatchWords {
    std::vector<std::string> names;
    bool table = false;
};

constexpr const char* kMonitorNotes =
    "A line is time, type, sender -> addressee (* is everybody), object, content, id;\n"
    "on a terminal it is cut to its width. With -j, -k or into a file all is there.\n"
    "What passes is for the bus to say: never logins, subscriptions and heartbeats of\n"
    "others, and no answers to others on a bus that does not know receiveAll.\n"
    "Exact bytes and times are in the recording alone.";

struct MonitorWords {
    std::vector<std::string> objects;
    std::vector<std::string> types;
    std::string recording;
};

// All that the wire knows.
std::vector<std::string> typeWords() {
    constexpr int kTypes = static_cast<int>(MessageType::none);
    std::vector<std::string> words;
    words.reserve(kTypes);
    for (int type = 0; type < kTypes; ++type) {
        words.emplace_back(typeWord(static_cast<MessageType>(type)));
    }
    return words;
}

// An object that is given as with the other verbs is one more of those to be seen.
MonitorRequest requestOf(const Common& common, const MonitorWords& words) {
    MonitorRequest request{
        words.objects, {words.types.begin(), words.types.end()}, words.recording};
    if (!common.object.empty()) {
        request.objects.push_back(common.object);
    }
    return request;
}

}  // namespace

void addWatch(Verb program, Run& run) {
    Verb verb = program.addVerb("watch", "Print each change as it happens");
    const auto words = std::make_shared<WatchWords>();
    verb.add("NAME", words->names, "Show only these");
    verb.addFlag("--table", words->table, "Print the table first");
    verb.action([&run, words] {
        run = [words](const Common& common) {
            return Watch(common.reach, common.style, words->names, words->table).run();
        };
    });
}

void addMonitor(Verb program, Run& run) {
    Verb verb = program.addVerb("monitor", "Print what goes over the bus, decoded");
    const auto words = std::make_shared<MonitorWords>();
    verb.add("OBJECT", words->objects, "Only of these and what is below them");
    verb.add("--type", words->types, "Only of this type; may stand more than once")
        .oneEachTime()
        .choices(typeWords());
    verb.add("--record", words->recording, "Keep what is printed in a file").kind("FILE");
    verb.notes(kMonitorNotes);
    verb.action([&run, words] {
        run = [words](const Common& common) {
            return Monitor(common.reach, common.style, requestOf(common, *words)).run();
        };
    });
}

}  // namespace pallctl
