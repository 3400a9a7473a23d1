#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "model/files.h"
#include "orders.h"
#include "program/standard_output.h"
#include "switchboard/control.h"
#include "trouble/plan.h"
#include "verbs.h"

namespace pallbus {

namespace {

constexpr const char* kForms =
    "LINE is one of\n"
    "  drop | delay TIME[-TIME] | corrupt [BYTES] | split | join MESSAGES |\n"
    "  close [mid-frame] | refuse [TIME] | silent [TIME] | stop reading [TIME]\n"
    "and behind it, in any order, as far as it makes sense:\n"
    "  how often     10% | every N | next N\n"
    "  of whom       [from|to] daemon | [from|to] client ID | [from|to] anyone\n"
    "  of what       object NAME\n"
    "  how long      for TIME\n"
    "with \"at TIME\" before it when it is not to begin now; or\n"
    "  calm          ends all trouble, also what is still to come\n"
    "  show          lists it\n"
    "TIME is such as 500ms, 2s, 3m.";

std::string joined(const std::vector<std::string>& words) {
    std::string line;
    for (const std::string& word : words) {
        line += (line.empty() ? "" : " ") + word;
    }
    return line;
}

struct Options {
    std::vector<std::string> words;
    std::string script;  // a file; empty: none
};

// What is wrong with it is wrong without a bus, too.
std::string orderOf(const Options& options) {
    if (!options.script.empty()) {
        const std::string text = readFile(options.script, true);
        parsePlan(text, options.script);
        return scriptOrder(text);
    }
    const std::string line = joined(options.words);
    if (line != "show") {
        parseLine(line);
    }
    return line;
}

int tellBus(uint16_t port, const Options& options) {
    const auto reply = tell(port, orderOf(options));
    if (!reply) {
        throw std::runtime_error("no bus on port " + std::to_string(port));
    }
    if (!reply->done) {
        throw BadTrouble(reply->text);
    }
    print(reply->text);
    return 0;
}

}  // namespace

void addDo(Verb program, Call& call) {
    Verb verb = program.addVerb("do", "Trouble on a running bus: drop, delay, ...");
    const auto options = std::make_shared<Options>();
    verb.add("LINE", options->words, "What is to happen");
    verb.add("-s,--script", options->script, "Lines with their times, which begin now")
        .kind("FILE")
        .check(existingFile())
        .excludes("LINE");
    verb.excludes({"--record", "--script", "--seed", "--trouble", "--verbose"});
    verb.notes(kForms);
    verb.action([options, &call] {
        if (options->words.empty() && options->script.empty()) {
            throw BadUsage("LINE or --script is required");
        }
        call.toBeDone = [options, &call] { return tellBus(call.port, *options); };
    });
}

}  // namespace pallbus
