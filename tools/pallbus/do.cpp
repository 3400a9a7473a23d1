#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

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

int tellBus(uint16_t port, const std::string& line) {
    if (line != "show") {
        parseLine(line);  // what is wrong with it is wrong without a bus, too
    }
    const auto reply = tell(port, line);
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
    const auto words = std::make_shared<std::vector<std::string>>();
    verb.add("LINE", *words, "What is to happen").required();
    verb.notes(kForms);
    verb.action([words, &call] {
        call.toBeDone = [words, &call] { return tellBus(call.port, joined(*words)); };
    });
}

}  // namespace pallbus
