// `pallctl top` and its terminal: what it needs, and how it leaves it.

#include <filesystem>

#include "harness/process_table.h"
#include "harness/terminal.h"
#include "on_top.h"

using harness::ProcessEntry;
using testing::SizeIs;

namespace {

// Programs of this frame with that word on their command line.
std::vector<ProcessEntry> programsWith(const std::string& word) {
    std::vector<ProcessEntry> found = harness::processes();
    std::erase_if(found, [&](const ProcessEntry& entry) {
        return entry.commandLine.find(word) == std::string::npos || entry.state == 'Z';
    });
    return found;
}

// How often the screen was cleared to draw everything.
std::size_t countFullPictures(const std::string& screen) {
    const std::string clear = "\x1b[H\x1b[2J";
    std::size_t count = 0;
    for (auto at = screen.find(clear); at != std::string::npos; at = screen.find(clear, at + 1)) {
        ++count;
    }
    return count;
}

class TopTerminal : public OnTop {
  protected:
    TopTerminal() : OnTop("QuoraneBrio") {}

    // The process itself, not the shell that started it.
    static pid_t processOfTop() {
        for (const ProcessEntry& entry : programsWith("pallctl top")) {
            if (entry.commandLine.find("sh -c") == std::string::npos) {
                return entry.pid;
            }
        }
        return -1;
    }

    // What was on the screen before is there again, and the view has gone.
    void expectCleanEnd(const std::string& status) {
        terminal->waitFor("ended with " + status);
        EXPECT_EQ(terminal->screen()[0], "before");
        EXPECT_THAT(rowsWith("Brio"), SizeIs(0));
        EXPECT_TRUE(terminalIsAsBefore());
    }
};

TEST_F(TopTerminal, IsLeftAsItWasWhenThePersonQuits) {
    openOnDevice();
    EXPECT_THAT(rowsWith("before"), SizeIs(0));
    terminal->type("q");
    expectCleanEnd("0");
}

TEST_F(TopTerminal, IsLeftAsItWasOnCtrlC) {
    openOnDevice();
    terminal->press({"C-c"});
    expectCleanEnd("130");
}

TEST_F(TopTerminal, IsLeftAsItWasOnSignals) {
    start();
    for (const auto& [signal, status] : {std::pair{SIGTERM, "143"}, std::pair{SIGHUP, "129"}}) {
        open();
        terminal->waitFor("connected");
        ASSERT_GT(processOfTop(), 0);
        ::kill(processOfTop(), signal);
        expectCleanEnd(status);
    }
}

// A terminal may take its new size only after the signal, and garble what was drawn in between; it
// sends no second signal, and nothing changes on a Brio.
TEST_F(TopTerminal, IsDrawnAgainOnceItHasTakenItsNewSize) {
    start();
    harness::Terminal own({"env", "TERM=xterm", harness::programDirectory() / "pallctl", "top"});
    own.screen().waitFor("10.1.1.2");
    const std::size_t before = countFullPictures(own.screen().text());
    own.resize(100, 30);
    harness::waitUntil([&] { return countFullPictures(own.screen().text()) == before + 2; },
                       "two more pictures");
}

TEST_F(TopTerminal, EndsWithIt) {
    openOnDevice();
    terminal->close();
    harness::waitUntil([] { return programsWith("pallctl top").empty(); }, "pallctl top to end");
}

// In a session of its own nobody gets a signal when a terminal goes.
TEST_F(TopTerminal, EndsWithItAlsoWhenNobodySaysSo) {
    start();
    open({}, {}, {"setsid", "-w"});
    terminal->waitFor("connected");
    terminal->close();
    harness::waitUntil([] { return programsWith("pallctl top").empty(); }, "pallctl top to end");
}

TEST_F(TopTerminal, GoesToTheBackgroundAndComesBack) {
    start();
    terminal.emplace(Words{"bash", "--norc", "-i"}, harness::Tmux::Size());
    terminal->type(harness::programDirectory() / "pallctl");
    terminal->type(" top");
    terminal->press({"Enter"});
    terminal->waitFor("connected");
    terminal->press({"C-z"});
    terminal->waitFor("Stopped");
    EXPECT_THAT(rowsWith("connected"), SizeIs(0));
    terminal->type("fg");
    terminal->press({"Enter"});
    terminal->waitFor("connected");
}

TEST_F(TopTerminal, IsNeeded) {
    const harness::Result result = pallctl({"top"});
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.error,
              "pallctl: top: standard input and output must be a terminal (--help tells more)\n");
}

TEST_F(TopTerminal, IsAskedForBeforeARecordingIsBegun) {
    EXPECT_EQ(pallctl({"top", "--record", "/tmp/recording"}).status, 2);
    EXPECT_FALSE(std::filesystem::exists("/tmp/recording"));
}

TEST_F(TopTerminal, HasToBeOfAKindThatIsKnown) {
    open({}, {}, {"TERM=nobodys"});
    terminal->waitFor("unknown terminal type in TERM: nobodys");
    terminal->waitFor("ended with 2");
    open({}, {}, {"TERM=dumb"});
    terminal->waitFor("the terminal type in TERM cannot move the cursor: dumb");
    terminal->waitFor("ended with 2");
    EXPECT_TRUE(terminalIsAsBefore());
}

}  // namespace
