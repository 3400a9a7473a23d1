#include "on_top.h"

#include <algorithm>
#include <iterator>

using harness::Tmux;

namespace {

constexpr const char* kScript =
    "trap : INT; stty -g >/run/before; echo before; \"$@\"; status=$?; stty -g >/run/after; "
    "echo \"ended with $status\"; exec sleep 1000";

}  // namespace

void OnTop::open(const Words& words, Tmux::Size size, const Words& before) {
    Words all{"sh", "-c", kScript, "sh", "env"};
    all.insert(all.end(), before.begin(), before.end());
    all.insert(all.end(), {harness::programDirectory() / "pallctl", "top"});
    all.insert(all.end(), words.begin(), words.end());
    terminal.emplace(all, size);
}

void OnTop::openOnDevice(const Words& words, Tmux::Size size) {
    start();
    open(words, size);
    terminal->waitFor("connected");
}

void OnTop::edit(const std::string& leaf) const {
    terminal->press({"Home"});
    terminal->type("/" + leaf);
    terminal->waitFor("search: " + leaf);
    terminal->press({"Enter", "Enter"});
}

void OnTop::propose(const std::string& leaf, const std::string& value) const {
    edit(leaf);
    terminal->waitFor("new value:");
    terminal->press({"C-u"});
    terminal->type(value);
    terminal->press({"Enter"});
    terminal->waitFor("y/n");
}

std::vector<std::string> OnTop::rowsWith(const std::string& text) const {
    const auto screen = terminal->screen();
    std::vector<std::string> rows;
    std::copy_if(screen.begin(), screen.end(), std::back_inserter(rows),
                 [&](const std::string& row) { return row.find(text) != std::string::npos; });
    return rows;
}

bool OnTop::terminalIsAsBefore() const {
    return frame.exists("/run/after") && frame.read("/run/after") == frame.read("/run/before");
}
