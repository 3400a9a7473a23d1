#include <signal.h>

#include <algorithm>
#include <iterator>
#include <sstream>

#include "harness/terminal.h"
#include "pallframe_process.h"
#include "systemstate/catalogue.h"

using namespace harness;
using namespace outside;

namespace {

// What ./dev run shows: bus, daemon and client in a frame of that product.
class Session : public Tree, public testing::WithParamInterface<const char*> {
  protected:
    Words session(const Words& verb) const {
        Words all = pallframeCommand({"run", "--product", GetParam(), "--frame-dir", tree, "--",
                                      PALLWATCH_SESSION, programDirectory()});
        all.insert(all.end(), verb.begin(), verb.end());
        return all;
    }

    bool hasXADC() const { return std::string(GetParam()) != "QuoraneBrio"; }
};

INSTANTIATE_TEST_SUITE_P(Products, Session,
                         testing::Values("Quorane", "Tessara", "Tessara-5ru", "QuoraneBrio",
                                         "KELI"));

// Cells of a line, which two blanks or more part, with a bar between them.
std::string joined(const std::string& line) {
    std::string cells;
    for (size_t at = 0; at < line.size();) {
        const size_t end = std::min(line.find("  ", at), line.size());
        cells += (cells.empty() ? "" : "|") + line.substr(at, end - at);
        at = std::min(line.find_first_not_of(' ', end), line.size());
    }
    return cells;
}

std::string cellsOf(const std::string& table, const std::string& name) {
    std::istringstream lines(table);
    for (std::string line; std::getline(lines, line);) {
        if (line.find(name + " ") == 0) {
            return joined(line);
        }
    }
    return "no line of " + name;
}

TEST_P(Session, ListsAllParametersAndEnds) {
    const Result result = run(session({"list"}));
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.error, "");
    EXPECT_EQ(std::count(result.output.begin(), result.output.end(), '\n'),
              1 + std::ssize(systemstate::catalogue()));
    const bool tessara = std::string(GetParam()).find("Tessara") == 0;
    const std::string name = tessara ? "Studio frame" : GetParam();
    EXPECT_EQ(cellsOf(result.output, "system.frameName"),
              "system.frameName|" + name + "|STRING|no");
    EXPECT_EQ(cellsOf(result.output, "system.ipAddress"), "system.ipAddress|10.0.0.5|INT32|no");
    EXPECT_EQ(cellsOf(result.output, "system.psu1Voltage"),
              std::string("system.psu1Voltage|") + (hasXADC() ? "12.00" : "0.00") + "|FLOAT|yes");
    expectNoTrace();
}

TEST_P(Session, ShowsEachChangeUntilItIsInterrupted) {
    Process shown(session({"watch", "--table"}));
    shown.output().waitFor("system.serial2");
    if (hasXADC()) {
        EXPECT_EQ(tell({"set", "cable", "eth0", "down"}).status, 0);
        shown.output().waitFor("system.activeEthernet\tPort 2");
    }
    shown.signal(SIGINT);
    EXPECT_EQ(shown.waitForEnd(), 128 + SIGINT);
    expectNoTrace();
}

// A table with what a parameter has before it is read would say that ports and supplies are off.
TEST_P(Session, ShowsWhatWasReadInTheFirstTable) {
    Process shown(session({"watch", "--table"}));
    shown.output().waitFor("system.serial2");
    const std::string first = shown.output().text();
    EXPECT_EQ(cellsOf(first, "system.psu2Voltage").find("|12.00|") != std::string::npos, hasXADC());
    EXPECT_EQ(cellsOf(first, "system.battVoltage").find("|-1.00000|") == std::string::npos,
              hasXADC());
    EXPECT_EQ(cellsOf(first, "system.ethPort1Status").find("|1|") != std::string::npos, hasXADC());
}

TEST_P(Session, SaysWhichFrameItIs) {
    Process shown(session({"watch", "--table"}));
    shown.error().waitFor("dev: this is frame ");
    shown.output().waitFor("system.serial2");
    const std::string frames = run(pallframeCommand({"list"})).output;
    const std::string number = frames.substr(
        frames.find('\n') + 1, frames.find(' ', frames.find('\n')) - frames.find('\n') - 1);
    EXPECT_EQ(shown.error().text(), "dev: this is frame " + number +
                                        "; a second terminal goes into it with ./dev shell " +
                                        number + "\n");
}

// What ./dev shell enters.
TEST(SessionOnATerminal, EndsItsLastLineAfterCtrlC) {
    Terminal terminal(
        pallframeCommand({"run", "--", PALLWATCH_SESSION, programDirectory(), "watch", "--table"}));
    terminal.screen().waitFor("system.serial2");
    terminal.type("\x03");
    EXPECT_EQ(terminal.waitForEnd(), 130);
    EXPECT_THAT(terminal.screen().waitForEnd(), testing::EndsWith("^C\r\n"));
}

TEST(ShellOnATerminal, ShowsTheNumberOfItsFrameInThePrompt) {
    Terminal terminal(
        pallframeCommand({"run", "--", "sh", "-c", "echo \"[$PALLFRAME]\"; exec \"$@\"", "sh",
                          PALLWATCH_SHELL, programDirectory()}));
    terminal.screen().waitFor("# ");
    const std::string screen = terminal.screen().text();
    const std::string number = screen.substr(1, screen.find(']') - 1);
    EXPECT_THAT(screen, testing::HasSubstr("frame " + number + ":/"));
}

TEST(Shell, HasEveryProgramAndItsPageAtHand) {
    Process shown(
        pallframeCommand({"run", "--", PALLWATCH_SESSION, programDirectory(), "watch", "--table"}));
    shown.output().waitFor("system.serial2");
    const auto shell = [](const std::string& script) {
        return run(pallframeCommand(
            {"enter", "--", PALLWATCH_SHELL, programDirectory(), "sh", "-c", script}));
    };
    EXPECT_EQ(shell("pallframe set cable eth0 down").status, 0);
    shown.output().waitFor("system.activeEthernet\tPort 2");
    EXPECT_EQ(shell("pallctl get activeEthernet").output, "Port 2\n");
    EXPECT_EQ(shell("pallctl set activeEthernet='Port 1'").status, 0);
    shown.output().waitFor("system.activeEthernet\tPort 1");
    const Result page = shell("man -w pallctl");
    EXPECT_EQ(page.error, "");
    EXPECT_THAT(page.output, testing::EndsWith("/man/man1/pallctl.1\n"));
}

}  // namespace
