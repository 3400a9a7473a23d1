// Faults on the simulated bus, from outside: from the command line, from a file, or while it runs.

#include <signal.h>

#include <chrono>
#include <cstdio>
#include <fstream>

#include <gmock/gmock.h>

#include "bus_peer.h"
#include "program_process.h"

namespace {

using namespace std::chrono_literals;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

using Clock = std::chrono::steady_clock;

// A request of client 20 with a number to know it by.
std::string numbered(int number) {
    return "[\"GET\", \"system\", 20, 0, 0]\n{\"id\":\"" + std::to_string(number) + "\"}";
}

Outcome runOn(const BusProcess& bus, const std::vector<std::string>& words) {
    std::vector<std::string> all{"--port", bus.portText()};
    all.insert(all.end(), words.begin(), words.end());
    return runProgram(pallbusCommand(all));
}

void expectDone(const BusProcess& bus, const std::vector<std::string>& words) {
    const Outcome outcome = runOn(bus, words);
    EXPECT_EQ(outcome.status, 0) << testing::PrintToString(words) << outcome.errors;
    EXPECT_EQ(outcome.output + outcome.errors, "");
}

class ScriptFile {
  public:
    explicit ScriptFile(const std::string& text)
        : path_(testing::TempDir() + "faults-" + std::to_string(::getpid())) {
        std::ofstream(path_) << text;
    }
    ~ScriptFile() { std::remove(path_.c_str()); }
    ScriptFile(const ScriptFile&) = delete;
    ScriptFile& operator=(const ScriptFile&) = delete;
    const std::string& path() const { return path_; }

  private:
    const std::string path_;
};

// A module that serves "system" under connection id 8, and a client with id 20.
class PallbusFaults : public testing::Test {
  protected:
    explicit PallbusFaults(const std::vector<std::string>& words = {}) : bus_(words) {
        module_.subscribe("system");
    }

    void inject(const std::string& line) { expectDone(bus_, {"inject", line}); }
    void clear() { expectDone(bus_, {"clear"}); }
    std::string status() { return runOn(bus_, {"status"}).output; }
    void send(int number) { client_.send(numbered(number)); }

    BusProcess bus_;
    BusPeer module_{bus_.port(), 8};
    BusPeer client_{bus_.port(), 20};
};

TEST_F(PallbusFaults, LoseMessagesUntilTheyAreCleared) {
    inject("drop every 2 from client 20");
    for (int number = 1; number <= 5; ++number) {
        send(number);
    }
    EXPECT_EQ(module_.receive(), numbered(1));
    EXPECT_EQ(module_.receive(), numbered(3));
    EXPECT_EQ(module_.receive(), numbered(5));
    clear();
    send(6);
    send(7);
    EXPECT_EQ(module_.receive(), numbered(6));
    EXPECT_EQ(module_.receive(), numbered(7));
}

TEST_F(PallbusFaults, DelayMessagesInBothDirectionsInOrder) {
    for (const char* line : {"delay 300ms from client 20", "delay 300ms to daemon"}) {
        inject(line);
        const Clock::time_point sent = Clock::now();
        send(1);
        send(2);
        EXPECT_EQ(module_.receive(), numbered(1)) << line;
        EXPECT_GE(Clock::now() - sent, 300ms) << line;
        EXPECT_EQ(module_.receive(), numbered(2)) << line;
        clear();
    }
}

TEST_F(PallbusFaults, ReleaseDelayedMessagesWhenCleared) {
    for (const char* line :
         {"delay 1m from client 20", "delay 1m to daemon", "coalesce 100 to daemon"}) {
        inject(line);
        send(1);
        clear();
        EXPECT_EQ(module_.receive(), numbered(1)) << line;
    }
}

// Sends large messages until the bus takes in no more; false when it never stops.
bool pileUp(BusPeer& client, const std::string& message) {
    for (int number = 0; number < 200; ++number) {
        if (!client.sendBytes(framed(message), 1s)) {
            return true;
        }
    }
    return false;
}

std::string largeMessage() {
    return "[\"GET\", \"system\", 20, 0, 0]\n" + std::string(size_t{1024} * 1024, ' ');
}

TEST_F(PallbusFaults, StopReadingWhileMuchIsDelayed) {
    inject("delay 1m from client 20");
    EXPECT_TRUE(pileUp(client_, largeMessage()));
    clear();
    EXPECT_TRUE(module_.receive() == largeMessage());
}

TEST_F(PallbusFaults, StallOneClientUntilTheyAreCleared) {
    BusPeer other(bus_.port(), 21);
    inject("stall client 20");
    EXPECT_TRUE(pileUp(client_, largeMessage()));
    EXPECT_TRUE(other.isQuiet()) << "the others are served";
    clear();
    EXPECT_TRUE(module_.receive() == largeMessage());
}

TEST_F(PallbusFaults, ApplyToClientsThatLogInLater) {
    inject("stall client 30");
    BusPeer late(bus_.port(), 30);
    EXPECT_TRUE(pileUp(late, largeMessage()));
}

TEST_F(PallbusFaults, CorruptBytesOfAFrame) {
    inject("corrupt 3 to daemon");
    send(1);
    const std::string sent = framed(numbered(1));
    const std::string came = module_.receiveBytes(sent.size());
    ASSERT_EQ(came.size(), sent.size());
    int different = 0;
    for (size_t i = 0; i < sent.size(); ++i) {
        different += sent[i] != came[i] ? 1 : 0;
    }
    EXPECT_EQ(different, 3);
}

TEST_F(PallbusFaults, CorruptMessagesFromAClient) {
    inject("corrupt 1000 next 1 from client 20");  // every byte: it is no message any more
    send(1);
    send(2);
    EXPECT_EQ(module_.receive(), numbered(2));
}

TEST_F(PallbusFaults, FragmentIntoSingleBytes) {
    inject("fragment to daemon");
    const unsigned before = module_.segments();
    send(1);
    EXPECT_EQ(module_.receive(), numbered(1));
    EXPECT_EQ(module_.segments() - before, framed(numbered(1)).size());
}

TEST_F(PallbusFaults, CoalesceMessagesIntoOneSegment) {
    inject("coalesce 5 to daemon");
    const unsigned before = module_.segments();
    for (int number = 1; number <= 5; ++number) {
        send(number);
        EXPECT_TRUE(client_.isQuiet());  // each was dealt with before the next
    }
    for (int number = 1; number <= 5; ++number) {
        EXPECT_EQ(module_.receive(), numbered(number));
    }
    EXPECT_EQ(module_.segments() - before, 1u);
}

TEST_F(PallbusFaults, TruncateAMessageAndClose) {
    inject("truncate daemon");
    send(1);
    const std::string frame = framed(numbered(1));
    EXPECT_EQ(module_.receiveBytes(frame.size()), frame.substr(0, frame.size() / 2));
    EXPECT_TRUE(module_.isClosed());
    EXPECT_TRUE(client_.isQuiet());
}

TEST_F(PallbusFaults, CloseTheConnectionsOfAClient) {
    inject("close daemon");
    EXPECT_TRUE(module_.isClosed());
    EXPECT_TRUE(client_.isQuiet());
    inject("close");
    EXPECT_TRUE(client_.isClosed());
}

TEST_F(PallbusFaults, RefuseNewConnectionsAndKeepTheOld) {
    inject("refuse");
    EXPECT_FALSE(BusPeer::canConnect(bus_.port()));
    EXPECT_TRUE(client_.isQuiet());
    clear();
    BusPeer late(bus_.port(), 30);
    EXPECT_TRUE(late.isQuiet());
}

TEST_F(PallbusFaults, RefuseForADuration) {
    inject("refuse 200ms");
    const Clock::time_point request = Clock::now();
    while (!BusPeer::canConnect(bus_.port())) {
    }
    EXPECT_GE(Clock::now() - request, 100ms) << "less the time that telling took";
}

TEST_F(PallbusFaults, BlackholeAConnectionAndLoseItsMessages) {
    inject("blackhole daemon");
    send(1);
    EXPECT_TRUE(client_.isQuiet()) << "only towards the one";
    clear();
    send(2);
    EXPECT_EQ(module_.receive(), numbered(2));
    inject("blackhole");
    client_.send("[\"SET\", \"\", 20, 0, 0]\n{\"id\":\"unheard\"}");
    while (status().find("applied to 1 of") == std::string::npos) {
    }
    clear();
    EXPECT_TRUE(client_.isQuiet()) << "nothing is answered later";
}

TEST_F(PallbusFaults, AreListedWhileActiveOrScheduled) {
    EXPECT_EQ(status(), "no active faults\n");
    inject("drop object system.connection");
    inject("at 60m blackhole 5s");
    const std::string text = status();
    EXPECT_THAT(text,
                StartsWith("drop object \"system.connection\"  # applied to 0 of 0 messages\n"));
    EXPECT_THAT(text, EndsWith("ms blackhole for 5s\n"));
    clear();
    EXPECT_EQ(status(), "no active faults\n") << "also what was to come";
}

TEST_F(PallbusFaults, AreAlsoReadWordByWord) {
    const Outcome outcome = runProgram(
        pallbusCommand({"inject", "-p", bus_.portText(), "drop", "10%", "from", "client", "20"}));
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(status(), StartsWith("drop 10% from client 20"));
}

TEST_F(PallbusFaults, LastForSecondsMinutesOrHours) {
    for (const char* time : {"100", "100s", "900000ms", "3m", "1h"}) {
        inject(std::string("delay ") + time + " for " + time);
        EXPECT_THAT(status(), HasSubstr(std::string("delay ") + time));
        clear();
    }
}

TEST(PallbusInject, ReportsBadFaultsInOneLine) {
    for (const char* line :
         {"dorp", "delay", "close from daemon", "at 2s", "drop\nfragment", "''"}) {
        const Outcome outcome = runProgram(pallbusCommand({"--port=1", "inject", line}));
        EXPECT_EQ(outcome.status, 2) << line;
        EXPECT_THAT(outcome.errors, StartsWith("pallbus: "));
        EXPECT_EQ(outcome.errors.find('\n'), outcome.errors.size() - 1) << outcome.errors;
    }
    for (const auto& words :
         std::vector<std::vector<std::string>>{{"inject"},
                                               {"inject", "-s", "/etc/passwd", "x"},
                                               {"clear", "drop"},
                                               {"clear", "--seed=3"},
                                               {"status", "-v"},
                                               {"-f", "drop", "clear"}}) {
        EXPECT_EQ(runProgram(pallbusCommand(words)).status, 2) << testing::PrintToString(words);
    }
}

TEST(PallbusInject, ReportsAMissingBus) {
    for (const auto& words : std::vector<std::vector<std::string>>{
             {"--port=1", "inject", "drop"}, {"--port=1", "clear"}, {"--port=1", "status"}}) {
        const Outcome outcome = runProgram(pallbusCommand(words));
        EXPECT_EQ(outcome.status, 1);
        EXPECT_EQ(outcome.errors, "pallbus: no bus on port 1\n");
    }
}

TEST_F(PallbusFaults, AreListedOrTheFailureIsReported) {
    const Outcome outcome = runProgram(
        inShell("exec \"$@\" >/dev/full", pallbusCommand({"status", "--port", bus_.portText()})));
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.errors, "pallbus: standard output: No space left on device\n");
}

class FaultsFromTheStart : public PallbusFaults {
  protected:
    FaultsFromTheStart()
        : PallbusFaults({"--seed", "7", "--fault", "drop next 1 from client 20 object system", "-f",
                         "at 60m refuse"}) {}
};

TEST_F(FaultsFromTheStart, AreActive) {
    EXPECT_THAT(status(), StartsWith("drop next 1 from client 20 object \"system\"  #"));
    send(1);
    send(2);
    EXPECT_EQ(module_.receive(), numbered(2));
    EXPECT_THAT(status(), EndsWith("ms refuse\n"));
}

TEST_F(FaultsFromTheStart, UseThePrintedSeed) {
    EXPECT_EQ(bus_.process().readLine(), "pallbus: seed 7");
}

TEST(PallbusScript, RunsAtItsTimes) {
    const ScriptFile script(
        "drop from client 20 object system  # at once\n"
        "at 1s clear\n"
        "repeat 2\n"
        "    after 60m close daemon\n"
        "end\n");
    BusProcess bus({"--script", script.path()});
    BusPeer module(bus.port(), 8);
    module.subscribe("system");
    BusPeer client(bus.port(), 20);
    client.send(numbered(0));
    while (runOn(bus, {"status"}).output.starts_with("drop")) {
    }
    client.send(numbered(1));
    EXPECT_EQ(module.receive(), numbered(1));
    EXPECT_THAT(runOn(bus, {"status"}).output, HasSubstr("ms close daemon\n"));
}

TEST_F(PallbusFaults, AreAlsoInjectedFromAScript) {
    const ScriptFile script("drop from client 20\nat 60m fragment\n");
    const Outcome told =
        runProgram(pallbusCommand({"inject", "--script", script.path(), "-p", bus_.portText()}));
    EXPECT_EQ(told.status, 0) << told.errors;
    EXPECT_EQ(told.output + told.errors, "");
    EXPECT_THAT(status(), StartsWith("drop from client 20"));
    EXPECT_THAT(status(), EndsWith("ms fragment\n"));
}

TEST_F(PallbusFaults, FromABadScriptAreNotInjectedAtAll) {
    const ScriptFile script("drop\nat 1s delay\n");
    const Outcome told =
        runProgram(pallbusCommand({"inject", "-s", script.path(), "-p", bus_.portText()}));
    EXPECT_EQ(told.status, 2);
    EXPECT_EQ(told.errors,
              "pallbus: " + script.path() + ":2: incomplete fault; expected: delay TIME[-TIME]\n");
    EXPECT_EQ(status(), "no active faults\n");
}

TEST_F(PallbusFaults, FromAScriptMayBeLong) {
    std::string text = "drop\n";
    while (text.size() < 500'000) {
        text += "# " + std::string(60, '-') + "\n";
    }
    const ScriptFile script(text + "at 60m fragment\n");
    EXPECT_EQ(
        runProgram(pallbusCommand({"inject", "-s", script.path(), "-p", bus_.portText()})).errors,
        "");
    EXPECT_THAT(status(), EndsWith("ms fragment\n"));
}

TEST_F(PallbusFaults, InSeveralWordsKeepTheWordsOfTheShell) {
    EXPECT_EQ(
        runProgram(pallbusCommand({"inject", "-p", bus_.portText(), "drop", "object", "a #b"}))
            .errors,
        "");
    EXPECT_THAT(status(), StartsWith("drop object \"a #b\" "));
}

TEST(PallbusScript, IsCheckedBeforeTheBusStarts) {
    const ScriptFile script("fragment\nat 1s delay\n");
    const Outcome bad = runProgram(pallbusCommand({"--port=0", "--script", script.path()}));
    EXPECT_EQ(bad.status, 2);
    EXPECT_EQ(bad.output, "");
    EXPECT_EQ(bad.errors,
              "pallbus: " + script.path() + ":2: incomplete fault; expected: delay TIME[-TIME]\n");
    EXPECT_EQ(runProgram(pallbusCommand({"--port=0", "--script", "/nowhere"})).status, 2);
    EXPECT_EQ(runProgram(pallbusCommand({"--port=0", "--fault", "dorp"})).status, 2);
}

TEST(PallbusProgram, TakesAsManyClientsAsTheMachineAllows) {
    ProgramProcess bus(inShell("ulimit -S -n 24; exec \"$@\"", pallbusCommand({"--port=0"})));
    const uint16_t port = portOf(bus.readLine());
    std::vector<std::unique_ptr<BusPeer>> crowd;
    for (int number = 0; number < 200; ++number) {
        crowd.push_back(std::make_unique<BusPeer>(port, 100 + number));
        ASSERT_FALSE(HasFailure()) << "client " << number << " was not served";
    }
    for (const auto& client : crowd) {
        ASSERT_TRUE(client->isQuiet());
    }
}

// What the bus keeps for a reader that has gone to sleep is bounded, whoever sends how much. What a
// sanitizer holds back of freed memory is not the bus's.
TEST(PallbusProgram, BoundsTheMemoryOfAClientThatDoesNotRead) {
    ProgramProcess bus(inShell("export ASAN_OPTIONS=quarantine_size_mb=1; exec \"$@\"",
                               pallbusCommand({"--port=0"})));
    const uint16_t port = portOf(bus.readLine());
    BusPeer sleeper(port, 8);
    sleeper.subscribe("system");
    BusPeer flood(port, 20);
    const std::string message = "[\"GET\", \"system\", 20, 0, 0]\n" + std::string(100'000, ' ');
    for (int number = 0; number < 2000; ++number) {  // 200 MB
        ASSERT_TRUE(flood.send(message));
    }
    EXPECT_TRUE(flood.isQuiet()) << "the one who sends is served";
    EXPECT_TRUE(sleeper.isClosed()) << "the one who does not read is not";
    EXPECT_LT(bus.mostResidentKiB(), 64u * 1024);
}

}  // namespace
