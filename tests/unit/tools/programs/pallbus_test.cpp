// The simulated bus from outside: the real program, and clients that are nothing but bytes.

#include <signal.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <thread>

#include <gmock/gmock.h>

#include "bus_peer.h"
#include "program_process.h"

namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;
using testing::StartsWith;

std::string request(const char* type, int source, const std::string& data = "{}") {
    return "[\"" + std::string(type) + "\", \"system\", " + std::to_string(source) + ", 0, 0]\n" +
           data;
}

std::string answer(int destination) {
    return "[\"RSP\", \"system\", 8, " + std::to_string(destination) + ", 0]\n{\"a\":1}";
}

// A module that serves "system" under connection id 8, and a client with id 20.
class PallbusTest : public testing::Test {
  protected:
    PallbusTest() { module_.subscribe("system"); }

    BusProcess bus_;
    BusPeer module_{bus_.port(), 8};
    BusPeer client_{bus_.port(), 20};
};

TEST(PallbusProgram, EndsWithASignal) {
    for (const int number : {SIGTERM, SIGINT}) {
        BusProcess bus;
        const BusPeer client(bus.port(), 20);
        bus.process().signal(number);
        EXPECT_EQ(bus.process().wait(), 0);
        EXPECT_EQ(bus.process().errors(), "");
    }
}

TEST(PallbusProgram, MayBeEndedAsSoonAsItSaysThatItListens) {
    for (int i = 0; i < 20; ++i) {
        BusProcess bus;
        bus.process().signal(SIGTERM);
        ASSERT_EQ(bus.process().wait(), 0);
    }
}

TEST(PallbusProgram, TakesNoSeedThatItCannotKeep) {
    for (const char* seed : {"-1", "18446744073709551616", "", " 1"}) {
        const Outcome outcome = runProgram(pallbusCommand({"--port=0", "--seed", seed}));
        EXPECT_EQ(outcome.status, 2) << seed;
        EXPECT_THAT(outcome.errors, HasSubstr("use an integer from 0 to 18446744073709551615"));
    }
}

TEST(PallbusProgram, NeedsAFaultInALine) {
    for (const char* line : {"", " ", "# nothing"}) {
        for (const auto& words : {std::vector<std::string>{"--port=0", "-f", line},
                                  std::vector<std::string>{"--port=1", "inject", line}}) {
            const Outcome outcome = runProgram(pallbusCommand(words));
            EXPECT_EQ(outcome.status, 2) << line;
            EXPECT_EQ(outcome.errors, "pallbus: missing fault (inject --help tells more)\n");
        }
    }
}

TEST(PallbusProgram, SaysWhichPortItTook) {
    ProgramProcess bus(pallbusCommand({"-p", "0"}));
    const std::string line = bus.readLine();
    EXPECT_THAT(line, StartsWith("pallbus: listening on 127.0.0.1:"));
    EXPECT_NE(portOf(line), 0);
}

TEST(PallbusProgram, SaysThatAPortIsTaken) {
    BusProcess bus;
    ProgramProcess second(pallbusCommand({"--port", bus.portText()}));
    EXPECT_EQ(second.wait(), 1);
    EXPECT_EQ(second.errors(), "pallbus: port " + bus.portText() + ": Address already in use\n");
}

TEST(PallbusProgram, RefusesBadUsageInOneLine) {
    for (const auto& words : std::vector<std::vector<std::string>>{
             {"--port=70000"}, {"--port=x"}, {"--port"}, {"--loud"}, {"stray"}}) {
        ProgramProcess bus(pallbusCommand(words));
        EXPECT_EQ(bus.wait(), 2) << words.front();
        const std::string errors = bus.errors();
        EXPECT_THAT(errors, StartsWith("pallbus: "));
        EXPECT_EQ(errors.find('\n'), errors.size() - 1) << errors;
    }
}

TEST(PallbusProgram, SaysWhoComesAndGoesWhenAsked) {
    ProgramProcess bus(pallbusCommand({"--port=0", "--verbose"}));
    const uint16_t port = portOf(bus.readLine());
    BusPeer client(port, 20);
    client.send("no message");
    client.sendBytes("2:ab,");
    EXPECT_TRUE(client.isQuiet());
    client.vanish();
    BusPeer last(port, 21);
    bus.signal(SIGTERM);
    EXPECT_EQ(bus.wait(), 0);
    EXPECT_THAT(bus.errors(), HasSubstr("pallbus: client 1 connected\n"
                                        "pallbus: client 1 sent an invalid message\n"
                                        "pallbus: client 1 sent a frame with a wrong terminator, "
                                        "dropped\n"));
}

TEST_F(PallbusTest, CarriesARequestAndItsAnswer) {
    client_.send(request("GET", 20, R"({"id":"1","param":{"objectName":["ipAddress"]}})"));
    EXPECT_EQ(module_.receive(),
              request("GET", 20, R"({"id":"1","param":{"objectName":["ipAddress"]}})"));
    module_.send(answer(20));
    EXPECT_EQ(client_.receive(), answer(20));
    EXPECT_TRUE(module_.isQuiet());
}

TEST_F(PallbusTest, TakesBytesInAnyChunksAndManyFramesAtOnce) {
    for (const char byte : framed(request("SET", 20))) {
        ASSERT_TRUE(client_.sendBytes(std::string(1, byte)));
    }
    EXPECT_EQ(module_.receive(), request("SET", 20));
    std::string burst;
    for (int number = 0; number < 1000; ++number) {
        burst += framed(request("SET", 20, std::to_string(number)));
    }
    client_.sendBytes(burst);
    for (int number = 0; number < 1000; ++number) {
        ASSERT_EQ(module_.receive(), request("SET", 20, std::to_string(number)));
    }
}

TEST_F(PallbusTest, CarriesTheLargestFrame) {
    std::string payload = request("SET", 20);
    payload.append(20'000'000 - payload.size(), ' ');
    client_.send(payload);
    EXPECT_TRUE(module_.receive() == payload);
    client_.send(payload + ' ');
    EXPECT_TRUE(module_.isQuiet()) << "one byte more is skipped";
}

TEST_F(PallbusTest, AnnouncesToEverySubscriberButTheSender) {
    std::vector<std::unique_ptr<BusPeer>> listeners;
    for (int id = 100; id < 200; ++id) {
        listeners.push_back(std::make_unique<BusPeer>(bus_.port(), id));
        listeners.back()->subscribe("system");
    }
    module_.send(request("NOT", 8));
    for (const auto& listener : listeners) {
        EXPECT_EQ(listener->receive(), request("NOT", 8));
    }
    EXPECT_TRUE(module_.isQuiet());
    EXPECT_TRUE(client_.isQuiet());
}

TEST_F(PallbusTest, KeepsAnswersFromSubscribers) {
    BusPeer listener(bus_.port(), 21);
    listener.subscribe("system");
    BusPeer monitor(bus_.port(), 22);
    monitor.subscribe("", true);
    module_.send(answer(20));
    EXPECT_EQ(client_.receive(), answer(20));
    EXPECT_EQ(monitor.receive(), answer(20));
    EXPECT_TRUE(listener.isQuiet());
}

TEST_F(PallbusTest, AnswersForTheControllersWhenNoModuleDoes) {
    const std::string question =
        request("GET", 20, R"({"id":"q","param":{"objectName":["kelMasterSystemDetails"]}})");
    const auto asked = std::chrono::steady_clock::now();
    client_.send(question);
    EXPECT_EQ(module_.receive(), question);
    EXPECT_THAT(client_.receive(), HasSubstr(R"("kelMasterSystemDetails":{"primary":)"));
    EXPECT_GE(std::chrono::steady_clock::now() - asked, 200ms);
}

TEST_F(PallbusTest, ReachesAModuleThatCameBackBeforeItsOldConnectionWentDown) {
    BusPeer again(bus_.port(), 8);
    module_.vanish();
    client_.send("[\"RSP\", \"system\", 20, 8, 0]\n{}");
    EXPECT_EQ(again.receive(), "[\"RSP\", \"system\", 20, 8, 0]\n{}");
}

TEST_F(PallbusTest, SurvivesGarbage) {
    for (const std::string garbage :
         {"0:;", "GET / HTTP/1.1\r\n\r\n", "3:abcX", "99999999999:x",
          ":::::::::::::::::::::::", "\xff\xfe\xfd", "5:[[[[[;", "-3:abc;"}) {
        BusPeer vandal(bus_.port());
        vandal.sendBytes(garbage);
        vandal.vanish();
    }
    std::string nested = request("SET", 20, std::string(100'000, '['));
    client_.send(nested);
    EXPECT_EQ(module_.receive(), nested);
    EXPECT_TRUE(client_.isQuiet());
}

TEST_F(PallbusTest, SurvivesPeersThatVanishInMidFrame) {
    for (int round = 0; round < 50; ++round) {
        BusPeer vanishing(bus_.port(), 8);
        vanishing.subscribe("system");
        client_.send(request("SET", 20));
        vanishing.sendBytes("100:[\"RSP\", \"sys");
        vanishing.vanish();
        EXPECT_EQ(module_.receive(), request("SET", 20));
    }
    EXPECT_TRUE(client_.isQuiet());
}

TEST_F(PallbusTest, DisconnectsAClientThatStoppedReadingAndNobodyElse) {
    BusPeer sleeper(bus_.port(), 30);
    sleeper.subscribe("system");
    const std::string message = request("NOT", 20, std::string(1'000'000, ' '));
    for (int round = 0; round < 60; ++round) {
        client_.send(message);
        ASSERT_TRUE(module_.receive() == message);
    }
    EXPECT_TRUE(sleeper.isClosed());
    EXPECT_TRUE(client_.isQuiet());
}

TEST_F(PallbusTest, LetsNoClientStarveAnother) {
    BusPeer flood(bus_.port(), 40);
    BusPeer sink(bus_.port(), 41);
    sink.subscribe("flood");
    std::atomic<bool> stop{false};
    const std::string message = framed("[\"NOT\", \"flood\", 40, 0, 0]\n{\"a\":1}");
    std::string burst;
    for (int number = 0; number < 1000; ++number) {
        burst += message;
    }
    std::thread flooding([&] {
        while (!stop && flood.sendBytes(burst)) {
        }
    });
    std::thread sinking([&] {
        while (!stop) {
            sink.receive(20ms);
        }
    });
    // Each hop waits for a piece of the flood; behind the flood itself none would ever come.
    for (int round = 0; round < 100 && !HasFailure(); ++round) {
        client_.send(request("GET", 20));
        EXPECT_EQ(module_.receive(), request("GET", 20));
        module_.send(answer(20));
        EXPECT_EQ(client_.receive(), answer(20));
    }
    stop = true;
    flooding.join();
    sinking.join();
}

TEST(PallbusProgram, GoesOnWhenItRunsOutOfDescriptors) {
    ProgramProcess bus(
        inShell("ulimit -n 24; exec \"$@\"", pallbusCommand({"--port=0", "--verbose"})));
    const uint16_t port = portOf(bus.readLine());
    BusPeer first(port, 8);
    first.subscribe("system");
    std::vector<std::unique_ptr<BusPeer>> crowd;
    for (int number = 0; number < 40; ++number) {
        crowd.push_back(std::make_unique<BusPeer>(port));
    }
    std::string line = bus.readErrorLine();
    while (!line.empty() && line != "pallbus: cannot accept a connection: Too many open files") {
        line = bus.readErrorLine();
    }
    EXPECT_FALSE(line.empty());
    EXPECT_TRUE(first.isQuiet()) << "whoever is in goes on";
    crowd.clear();
    BusPeer late(port, 20);
    late.send(request("GET", 20));
    EXPECT_EQ(first.receive(), request("GET", 20));
}

TEST(PallbusProgram, GoesOnWhenNobodyReadsWhatItSays) {
    ProgramProcess bus(pallbusCommand({"--port=0", "--verbose"}));
    const uint16_t port = portOf(bus.readLine());
    bus.closeOutput();
    bus.closeErrors();
    BusPeer first(port, 20);
    first.vanish();
    BusPeer second(port, 21);
    EXPECT_TRUE(second.isQuiet());
    bus.signal(SIGTERM);
    EXPECT_EQ(bus.wait(), 0);
}

TEST(PallbusProgram, ForgetsAClientThatIsGone) {
    ProgramProcess bus(pallbusCommand({"--port=0", "--verbose"}));
    const uint16_t port = portOf(bus.readLine());
    {
        BusPeer module(port, 8);
        module.subscribe("system");
    }
    EXPECT_EQ(bus.readErrorLine(), "pallbus: client 1 connected");
    EXPECT_THAT(bus.readErrorLine(), StartsWith("pallbus: client 1 disconnected: "));
    BusPeer client(port, 20);
    // With nobody left to ask, the answer comes at once, before the one to the heartbeat.
    client.sendBytes(
        framed(request("GET", 20, R"({"param":{"objectName":["kelMasterSystemDetails"]}})")) +
        framed("[\"SET\", \"\", 20, 0, 0]\n{}"));
    EXPECT_THAT(client.receive(), HasSubstr("kelMasterSystemDetails"));
}

}  // namespace
