// Trouble on the stand-in bus, from outside: told on the command line, in a file, or while it runs.

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

Outcome tellBus(const BusProcess& bus, const std::string& line) {
    return runProgram(pallbusCommand({"--port", bus.portText(), "do", line}));
}

void order(const BusProcess& bus, const std::string& line) {
    const Outcome outcome = tellBus(bus, line);
    EXPECT_EQ(outcome.status, 0) << line << ": " << outcome.errors;
    EXPECT_EQ(outcome.errors, "");
}

class ScriptFile {
  public:
    explicit ScriptFile(const std::string& text)
        : path_(testing::TempDir() + "trouble-" + std::to_string(::getpid())) {
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
class PallbusTrouble : public testing::Test {
  protected:
    explicit PallbusTrouble(const std::vector<std::string>& words = {}) : bus_(words) {
        module_.subscribe("system");
    }

    void order(const std::string& line) { ::order(bus_, line); }
    std::string shown() { return tellBus(bus_, "show").output; }
    void send(int number) { client_.send(numbered(number)); }

    BusProcess bus_;
    BusPeer module_{bus_.port(), 8};
    BusPeer client_{bus_.port(), 20};
};

TEST_F(PallbusTrouble, LosesMessagesAndNoneAfterCalm) {
    order("drop every 2 from client 20");
    for (int number = 1; number <= 5; ++number) {
        send(number);
    }
    EXPECT_EQ(module_.receive(), numbered(1));
    EXPECT_EQ(module_.receive(), numbered(3));
    EXPECT_EQ(module_.receive(), numbered(5));
    order("calm");
    send(6);
    send(7);
    EXPECT_EQ(module_.receive(), numbered(6));
    EXPECT_EQ(module_.receive(), numbered(7));
}

TEST_F(PallbusTrouble, DelaysWhatGoesEitherWayInItsOrder) {
    for (const char* line : {"delay 300ms from client 20", "delay 300ms to daemon"}) {
        order(line);
        const Clock::time_point sent = Clock::now();
        send(1);
        send(2);
        EXPECT_EQ(module_.receive(), numbered(1)) << line;
        EXPECT_GE(Clock::now() - sent, 300ms) << line;
        EXPECT_EQ(module_.receive(), numbered(2)) << line;
        order("calm");
    }
}

TEST_F(PallbusTrouble, CalmReleasesWhatIsHeldBack) {
    for (const char* line :
         {"delay 1m from client 20", "delay 1m to daemon", "join 100 to daemon"}) {
        order(line);
        send(1);
        order("calm");
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

TEST_F(PallbusTrouble, TakesInNoMoreWhileMuchIsHeldBack) {
    order("delay 1m from client 20");
    EXPECT_TRUE(pileUp(client_, largeMessage()));
    order("calm");
    EXPECT_TRUE(module_.receive() == largeMessage());
}

TEST_F(PallbusTrouble, StopsReadingOneClientAndGoesOnLater) {
    BusPeer other(bus_.port(), 21);
    order("stop reading client 20");
    EXPECT_TRUE(pileUp(client_, largeMessage()));
    EXPECT_TRUE(other.isQuiet()) << "the others are served";
    order("calm");
    EXPECT_TRUE(module_.receive() == largeMessage());
}

TEST_F(PallbusTrouble, KnowsWhoLogsInWhileItIsInForce) {
    order("stop reading client 30");
    BusPeer late(bus_.port(), 30);
    EXPECT_TRUE(pileUp(late, largeMessage()));
}

TEST_F(PallbusTrouble, CorruptsBytesOfAFrame) {
    order("corrupt 3 to daemon");
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

TEST_F(PallbusTrouble, CorruptsWhatComesFromAClient) {
    order("corrupt 1000 next 1 from client 20");  // every byte: it is no message any more
    send(1);
    send(2);
    EXPECT_EQ(module_.receive(), numbered(2));
}

TEST_F(PallbusTrouble, SplitsIntoSingleBytes) {
    order("split to daemon");
    const unsigned before = module_.segments();
    send(1);
    EXPECT_EQ(module_.receive(), numbered(1));
    EXPECT_EQ(module_.segments() - before, framed(numbered(1)).size());
}

TEST_F(PallbusTrouble, JoinsMessagesInOneSegment) {
    order("join 5 to daemon");
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

TEST_F(PallbusTrouble, ClosesInMidFrame) {
    order("close mid-frame daemon");
    send(1);
    const std::string frame = framed(numbered(1));
    EXPECT_EQ(module_.receiveBytes(frame.size()), frame.substr(0, frame.size() / 2));
    EXPECT_TRUE(module_.isClosed());
    EXPECT_TRUE(client_.isQuiet());
}

TEST_F(PallbusTrouble, ClosesWhomItIsToldTo) {
    order("close daemon");
    EXPECT_TRUE(module_.isClosed());
    EXPECT_TRUE(client_.isQuiet());
    order("close");
    EXPECT_TRUE(client_.isClosed());
}

TEST_F(PallbusTrouble, RefusesNewConnectionsAndKeepsTheOld) {
    order("refuse");
    EXPECT_FALSE(BusPeer::canConnect(bus_.port()));
    EXPECT_TRUE(client_.isQuiet());
    order("calm");
    BusPeer late(bus_.port(), 30);
    EXPECT_TRUE(late.isQuiet());
}

TEST_F(PallbusTrouble, RefusesForAWhile) {
    order("refuse 200ms");
    const Clock::time_point begun = Clock::now();
    while (!BusPeer::canConnect(bus_.port())) {
    }
    EXPECT_GE(Clock::now() - begun, 100ms) << "less the time that telling took";
}

TEST_F(PallbusTrouble, FallsSilentAndLosesWhatComesMeanwhile) {
    order("silent daemon");
    send(1);
    EXPECT_TRUE(client_.isQuiet()) << "only towards the one";
    order("calm");
    send(2);
    EXPECT_EQ(module_.receive(), numbered(2));
    order("silent");
    client_.send("[\"SET\", \"\", 20, 0, 0]\n{\"id\":\"unheard\"}");
    while (shown().find("befell 1 of") == std::string::npos) {
    }
    order("calm");
    EXPECT_TRUE(client_.isQuiet()) << "nothing is answered later";
}

TEST_F(PallbusTrouble, ShowsWhatIsInForceAndToCome) {
    EXPECT_EQ(shown(), "calm\n");
    order("drop object system.connection");
    order("at 60m silent 5s");
    const std::string text = shown();
    EXPECT_THAT(text, StartsWith("drop object \"system.connection\"  # befell 0 of 0 messages\n"));
    EXPECT_THAT(text, EndsWith("ms silent for 5s\n"));
    order("calm");
    EXPECT_EQ(shown(), "calm\n") << "also what was to come";
}

TEST_F(PallbusTrouble, TakesWordsOneByOneToo) {
    const Outcome outcome = runProgram(
        pallbusCommand({"do", "-p", bus_.portText(), "drop", "10%", "from", "client", "20"}));
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(shown(), StartsWith("drop 10% from client 20"));
}

TEST(PallbusDo, SaysInOneLineWhatIsBad) {
    for (const char* line : {"dorp", "delay", "close from daemon", "at 2s", "drop\nsplit", "''"}) {
        const Outcome outcome = runProgram(pallbusCommand({"--port=1", "do", line}));
        EXPECT_EQ(outcome.status, 2) << line;
        EXPECT_THAT(outcome.errors, StartsWith("pallbus: "));
        EXPECT_EQ(outcome.errors.find('\n'), outcome.errors.size() - 1) << outcome.errors;
    }
    for (const auto& words : std::vector<std::vector<std::string>>{{"do"},
                                                                   {"do", "-s", "/etc/passwd", "x"},
                                                                   {"do", "calm", "--seed=3"},
                                                                   {"do", "calm", "-v"},
                                                                   {"-t", "drop", "do", "calm"}}) {
        EXPECT_EQ(runProgram(pallbusCommand(words)).status, 2) << testing::PrintToString(words);
    }
}

TEST(PallbusDo, SaysWhereThereIsNoBus) {
    const Outcome outcome = runProgram(pallbusCommand({"--port=1", "do", "calm"}));
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.errors, "pallbus: no bus on port 1\n");
}

TEST_F(PallbusTrouble, IsShownOrSaidNotToBe) {
    const std::string show = pallbusCommand({}).front() + " do show --port " + bus_.portText();
    const Outcome outcome = runProgram({"/bin/sh", "-c", show + " >/dev/full"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.errors, "pallbus: standard output: No space left on device\n");
}

class TroubledFromTheStart : public PallbusTrouble {
  protected:
    TroubledFromTheStart()
        : PallbusTrouble({"--seed", "7", "--trouble", "drop next 1 from client 20 object system",
                          "-t", "at 60m refuse"}) {}
};

TEST_F(TroubledFromTheStart, HasWhatTheCommandLineSays) {
    EXPECT_THAT(shown(), StartsWith("drop next 1 from client 20 object \"system\"  #"));
    send(1);
    send(2);
    EXPECT_EQ(module_.receive(), numbered(2));
    EXPECT_THAT(shown(), EndsWith("ms refuse\n"));
}

TEST_F(TroubledFromTheStart, SaysItsSeed) {
    EXPECT_EQ(bus_.process().readLine(), "pallbus: seed 7");
}

TEST(PallbusScript, HappensByTheClock) {
    const ScriptFile script(
        "drop from client 20 object system  # at once\n"
        "at 1s calm\n"
        "repeat 2\n"
        "    after 60m close daemon\n"
        "end\n");
    BusProcess bus({"--script", script.path()});
    BusPeer module(bus.port(), 8);
    module.subscribe("system");
    BusPeer client(bus.port(), 20);
    client.send(numbered(0));
    while (tellBus(bus, "show").output.starts_with("drop")) {
    }
    client.send(numbered(1));
    EXPECT_EQ(module.receive(), numbered(1));
    EXPECT_THAT(tellBus(bus, "show").output, HasSubstr("ms close daemon\n"));
}

TEST_F(PallbusTrouble, ComesByTheClockFromAFileToo) {
    const ScriptFile script("drop from client 20\nat 60m split\n");
    const Outcome told =
        runProgram(pallbusCommand({"do", "--script", script.path(), "-p", bus_.portText()}));
    EXPECT_EQ(told.status, 0) << told.errors;
    EXPECT_EQ(told.output + told.errors, "");
    EXPECT_THAT(shown(), StartsWith("drop from client 20"));
    EXPECT_THAT(shown(), EndsWith("ms split\n"));
}

TEST_F(PallbusTrouble, FromAFileIsAllOrNothing) {
    const ScriptFile script("drop\nat 1s delay\n");
    const Outcome told =
        runProgram(pallbusCommand({"do", "-s", script.path(), "-p", bus_.portText()}));
    EXPECT_EQ(told.status, 2);
    EXPECT_EQ(told.errors,
              "pallbus: " + script.path() + ":2: something is missing: delay TIME[-TIME]\n");
    EXPECT_EQ(shown(), "calm\n");
}

TEST_F(PallbusTrouble, FromAFileMayBeAsLongAsAScript) {
    std::string text = "drop\n";
    while (text.size() < 500'000) {
        text += "# " + std::string(60, '-') + "\n";
    }
    const ScriptFile script(text + "at 60m split\n");
    EXPECT_EQ(runProgram(pallbusCommand({"do", "-s", script.path(), "-p", bus_.portText()})).errors,
              "");
    EXPECT_THAT(shown(), EndsWith("ms split\n"));
}

TEST_F(PallbusTrouble, InSeveralWordsIsOfTheShellsWords) {
    EXPECT_EQ(
        runProgram(pallbusCommand({"do", "-p", bus_.portText(), "drop", "object", "a #b"})).errors,
        "");
    EXPECT_THAT(shown(), StartsWith("drop object \"a #b\" "));
}

TEST(PallbusScript, IsReadBeforeThereIsABus) {
    const ScriptFile script("split\nat 1s delay\n");
    const Outcome bad = runProgram(pallbusCommand({"--port=0", "--script", script.path()}));
    EXPECT_EQ(bad.status, 2);
    EXPECT_EQ(bad.output, "");
    EXPECT_EQ(bad.errors,
              "pallbus: " + script.path() + ":2: something is missing: delay TIME[-TIME]\n");
    EXPECT_EQ(runProgram(pallbusCommand({"--port=0", "--script", "/nowhere"})).status, 2);
    EXPECT_EQ(runProgram(pallbusCommand({"--port=0", "--trouble", "dorp"})).status, 2);
}

TEST(PallbusProgram, TakesAsManyClientsAsTheMachineAllows) {
    ProgramProcess bus(
        {"/bin/sh", "-c", "ulimit -S -n 24; exec " + pallbusCommand({}).front() + " --port=0"});
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
TEST(PallbusProgram, KeepsLittleForWhoDoesNotRead) {
    ProgramProcess bus({"/usr/bin/env", "ASAN_OPTIONS=quarantine_size_mb=1",
                        pallbusCommand({}).front(), "--port=0"});
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
