#include <memory>
#include <string>
#include <vector>

#include "cli/timed_script.h"
#include "pallbus/commands/commands.h"
#include "pallbus/control_commands.h"
#include "pallbus/faults/fault_script.h"

namespace pallbus {

namespace {

constexpr const char* kNotes =
    "LINE is a fault:\n"
    "  drop | delay TIME[-TIME] | corrupt [BYTES] | fragment | coalesce MESSAGES |\n"
    "  truncate | close | refuse [TIME] | blackhole [TIME] | stall [TIME]\n"
    "followed, in any order and as far as it applies, by\n"
    "  how often     10% | every N | next N\n"
    "  which client  [from|to] daemon | [from|to] client ID | [from|to] any\n"
    "  which object  object NAME\n"
    "  how long      for TIME\n"
    "\"at TIME\" before the fault starts it later. TIME is 2, 500ms, 3m or 1h.";

struct Options {
    std::vector<std::string> words;
    std::string script;  // a file; empty: none
};

// A single word is the whole line; several words were split by the shell.
std::string joinWords(const std::vector<std::string>& words) {
    if (words.size() == 1) {
        return words.front();
    }
    std::string line;
    for (const std::string& word : words) {
        line += (line.empty() ? "" : " ") + cli::script::quoted(word);
    }
    return line;
}

// Reports errors here, before the bus sees anything.
std::string buildCommand(const Options& options) {
    if (!options.script.empty()) {
        std::string script = readScript(options.script);
        faults::parseFaultScript(script, options.script);
        return script;
    }
    std::string line = joinWords(options.words);
    faults::parseFaultLine(line);
    return line;
}

}  // namespace

void addInject(cli::Command program, const uint16_t& port) {
    cli::Command command = addBusCommand(program, "inject", "Inject faults into a running bus");
    const auto options = std::make_shared<Options>();
    command.add("LINE", options->words, "The fault");
    command.add("-s,--script", options->script, "Faults with their times, counted from now")
        .kind("FILE")
        .check(cli::existingFile())
        .excludes("LINE");
    command.notes(kNotes);
    command.work([options, &port] {
        if (options->words.empty() && options->script.empty()) {
            throw cli::UsageError("missing LINE");
        }
        sendToBus(port, buildCommand(*options));
        return 0;
    });
}

}  // namespace pallbus
