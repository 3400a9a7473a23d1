#include <unistd.h>

#include <cstdint>
#include <limits>
#include <memory>

#include "cli/standard_output.h"
#include "cli/table.h"
#include "pallframe/commands/commands.h"
#include "pallframe/doctor/frame_status.h"
#include "pallframe/frame_selector.h"

namespace pallframe {

namespace {

struct Arguments {
    FrameSelector selector;
    bool json = false;
    uint64_t calls = kNotGiven;  // to print

    static constexpr uint64_t kNotGiven = std::numeric_limits<uint64_t>::max();
};

constexpr uint64_t kTableCalls = 5;
constexpr uint64_t kMaxCalls = 1'000'000;

int print(Arguments& arguments) {
    auto status = doctor::readStatus(arguments.selector.tree());
    const bool isGiven = arguments.calls != Arguments::kNotGiven;
    if (isGiven || !arguments.json) {
        doctor::keepLastCalls(status, isGiven ? arguments.calls : kTableCalls);
    }
    cli::print(arguments.json ? formatJSON(status)
                              : formatTable(status, cli::readTerminalWidth(STDOUT_FILENO)));
    return 0;
}

}  // namespace

void addStatus(cli::Command program, size_t) {
    const auto arguments = std::make_shared<Arguments>();
    cli::Command command = program.addCommand("status", "Ports, voltages, services, program calls");
    command.addFlag("--json", arguments->json, "One JSON object instead of a table");
    arguments->selector.addTo(command);
    command.add("--calls", arguments->calls, "Calls to print, the last ones; 5 in the table")
        .kind("NUMBER")
        .check(cli::wholeNumber(0, kMaxCalls));
    command.work([arguments] { return print(*arguments); });
}

}  // namespace pallframe
