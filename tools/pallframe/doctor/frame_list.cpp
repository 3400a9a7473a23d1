#include "pallframe/doctor/frame_list.h"

#include "cli/escape.h"
#include "cli/table.h"
#include "cli/time_text.h"
#include "pallframe/doctor/json_text.h"

namespace pallframe::doctor {

namespace {

using cli::escapeForTerminal;
using sandbox::RunningFrame;

// "2026-11-21 15:04:05"
std::string formatStart(const RunningFrame& frame) {
    constexpr size_t kDate = 10;
    constexpr size_t kWithSeconds = 19;
    return cli::isoTime(frame.started).substr(0, kWithSeconds).replace(kDate, 1, " ");
}

}  // namespace

std::string formatTable(const std::vector<RunningFrame>& running, size_t maxWidth) {
    cli::Table table({"FRAME", "PRODUCT", {"STARTED", 0, 2}, {"FILES", 12, 1}, {"COMMAND", 16}});
    for (const RunningFrame& frame : running) {
        table.add({std::to_string(frame.pid), cli::escapeForTerminal(frame.product),
                   formatStart(frame),
                   frame.directory.empty() ? "in memory" : cli::escapeForTerminal(frame.directory),
                   cli::escapeForTerminal(frame.command)});
    }
    return table.text(false, maxWidth);
}

std::string formatJSON(const std::vector<RunningFrame>& running) {
    std::string text;
    for (const RunningFrame& frame : running) {
        const util::UniqueJSON item = util::jsonObject();
        util::addMember(item.get(), "frame", util::jsonNumber(frame.pid));
        util::addMember(item.get(), "product", textItem(frame.product));
        util::addMember(item.get(), "started", textItem(cli::isoTime(frame.started)));
        util::addMember(item.get(), "directory",
                        frame.directory.empty() ? util::jsonNull() : textItem(frame.directory));
        util::addMember(item.get(), "command", textItem(frame.command));
        text += util::renderJSON(item.get(), false) + "\n";
    }
    return text;
}

}  // namespace pallframe::doctor
