// pallctl monitor beside the real daemon.

#include <algorithm>
#include <sstream>

#include "harness/terminal.h"
#include "on_pallbus.h"

using namespace harness;
using testing::HasSubstr;
using testing::Not;

namespace {

// Characters of UTF-8, without what paints them.
size_t widthOf(std::string line) {
    for (size_t paint = line.find('\x1b'); paint != std::string::npos; paint = line.find('\x1b')) {
        line.erase(paint, line.find('m', paint) + 1 - paint);
    }
    return static_cast<size_t>(std::count_if(
        line.begin(), line.end(), [](unsigned char byte) { return (byte & 0xC0u) != 0x80u; }));
}

class PallctlMonitor : public OnPallbus {
  protected:
    PallctlMonitor() { start(); }

    // Until it has seen one, and with that all that comes after it.
    static void setUntilSeen(Collector& output) {
        waitUntil(
            [&] {
                pallctl({"set", "--always", "systemName=first"});
                return output.text().find("NOT") != std::string::npos;
            },
            "a set on the bus");
    }
};

TEST_F(PallctlMonitor, ShowsASetItsAnnouncementAndItsAnswer) {
    Process monitor(program("pallctl", {"monitor", "--wait=20"}));
    setUntilSeen(monitor.output());
    ASSERT_EQ(pallctl({"set", "systemName=last"}).status, 0);
    monitor.output().waitFor("  200 OK  ");
    monitor.output().waitFor("system  systemName=\"last\"");
    EXPECT_THAT(monitor.output().text(),
                HasSubstr("  NOT     pallwatch -> *          system  systemN"));
    EXPECT_THAT(monitor.output().text(), Not(HasSubstr("login")));
    EXPECT_EQ(monitor.error().text(), "");
}

TEST_F(PallctlMonitor, CutsItsLinesToTheTerminal) {
    constexpr unsigned short kColumns = 60;
    Terminal terminal(program("pallctl", {"monitor", "--wait=20"}), kColumns);
    setUntilSeen(terminal.screen());
    std::istringstream lines(terminal.screen().text());
    for (std::string line; std::getline(lines, line);) {
        EXPECT_LE(widthOf(line), kColumns + 1u) << line;  // with its "\r"
    }
}

}  // namespace
