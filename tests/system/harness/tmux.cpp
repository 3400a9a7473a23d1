#include "tmux.h"

#include <unistd.h>

#include <algorithm>
#include <sstream>
#include <stdexcept>

#include "run.h"
#include "terminal.h"

namespace harness {

namespace {

using Words = std::vector<std::string>;

Words joined(Words words, const Words& more) {
    words.insert(words.end(), more.begin(), more.end());
    return words;
}

std::string newSocket() {
    static int count = 0;
    return "/run/tmux-" + std::to_string(::getpid()) + "-" + std::to_string(++count);
}

std::string columns(Tmux::Size size) {
    return std::to_string(size.columns);
}

std::string rows(Tmux::Size size) {
    return std::to_string(size.rows);
}

bool holds(const std::vector<std::string>& screen, const std::string& text) {
    return std::any_of(screen.begin(), screen.end(),
                       [&](const std::string& row) { return row.find(text) != std::string::npos; });
}

}  // namespace

Tmux::Tmux(const Words& words, Size size) : socket_(newSocket()) {
    bringTerminals();
    // A command of several words is run without a shell.
    tell(joined({"new-session", "-d", "-c", "/run", "-x", columns(size), "-y", rows(size), "--"},
                words));
}

Tmux::~Tmux() {
    close();
}

std::string Tmux::tell(const Words& words) const {
    const Words tmux{"env", "-u",        "TMUX", "LC_ALL=C.UTF-8", "tmux",
                     "-f",  "/dev/null", "-S",   socket_};
    const Result result = run(joined(tmux, words));
    if (result.status != 0) {
        throw std::runtime_error("tmux " + words[0] + ": " + result.error);
    }
    return result.output;
}

void Tmux::press(const Words& keys) const {
    tell(joined({"send-keys"}, keys));
}

void Tmux::type(const std::string& text) const {
    tell({"send-keys", "-l", text});
}

void Tmux::resize(Size size) const {
    tell({"resize-window", "-x", columns(size), "-y", rows(size)});
}

void Tmux::close() const {
    run({"tmux", "-S", socket_, "kill-server"});
}

std::vector<std::string> Tmux::screen() const {
    std::istringstream text(tell({"capture-pane", "-p"}));
    std::vector<std::string> rows;
    for (std::string row; std::getline(text, row);) {
        rows.push_back(row.erase(row.find_last_not_of(' ') + 1));
    }
    return rows;
}

std::string Tmux::colouredScreen() const {
    return tell({"capture-pane", "-p", "-e"});
}

void Tmux::waitFor(const std::string& text) const {
    waitUntil([&](const auto& screen) { return holds(screen, text); }, "'" + text + "'");
}

void Tmux::waitUntilGone(const std::string& text) const {
    waitUntil([&](const auto& screen) { return !holds(screen, text); }, "'" + text + "' to go");
}

void Tmux::waitUntil(const std::function<bool(const std::vector<std::string>&)>& isWanted,
                     const std::string& what) const {
    std::vector<std::string> last;
    try {
        harness::waitUntil([&] { return isWanted(last = screen()); }, what);
    } catch (const TimedOut& error) {
        std::string text = error.what();
        for (const std::string& row : last) {
            text += "\n|" + row;
        }
        throw TimedOut(text);
    }
}

}  // namespace harness
