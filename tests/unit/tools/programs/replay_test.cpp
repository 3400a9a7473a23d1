// pallbus replay from outside: the real program, a recording, and a device that is nothing but
// bytes.

#include <signal.h>

#include <chrono>
#include <memory>
#include <string>

#include <gmock/gmock.h>

#include "bus_peer.h"
#include "program_process.h"
#include "recording/line_format.h"
#include "support/temporary_directory.h"

namespace {

using namespace std::chrono_literals;
using recording::formatLine;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;

std::string message(const std::string& type, const std::string& object, int source, int destination,
                    const std::string& data) {
    return "[\"" + type + "\", \"" + object + "\", " + std::to_string(source) + ", " +
           std::to_string(destination) + ", 0]\n" + data;
}

std::string login(const std::string& id) {
    return message("SET", "system.connection", 8, 0,
                   R"({"id":")" + id + R"(","param":{"login":{"connID":8}}})");
}

std::string subscription() {
    return message("SET", "system.connection", 8, 0,
                   R"({"id":"s","param":{"subscribeList":[{"path":"system"}]}})");
}

std::string welcome(const std::string& id) {
    return message("RSP", "system.connection", 0, 8, "{\"id\":\"" + id + "\",\"statusCode\":200}");
}

std::string question(const std::string& name) {
    return message("GET", "system", 5, 0,
                   "{\"id\":\"1@5\",\"param\":{\"objectName\":[\"" + name + "\"]}}");
}

std::string answer(const std::string& name, const std::string& value) {
    return message("RSP", "system", 8, 5,
                   "{\"id\":\"1@5\",\"param\":{\"" + name + "\":" + value + "}}");
}

class ReplayTest : public testing::Test {
  protected:
    ReplayTest() { file_ = formatLine(recording::Header{{}, "a test"}) + "\n"; }

    // Adds what was seen a second after what was added before.
    void record(int32_t from, const std::string& payload) {
        file_ += formatLine(recording::Entry{at_, from, payload}) + "\n";
        at_ += 1s;
    }

    // A device that logs in, subscribes, and answers one question.
    void recordSession() {
        record(8, login("1@8"));
        record(0, welcome("1@8"));
        record(8, subscription());
        record(5, question("a"));
        record(8, answer("a", "1"));
    }

    void start(const std::vector<std::string>& options = {"--fast"}) {
        std::vector<std::string> words{"replay", "--port=0", path_};
        words.insert(words.end(), options.begin(), options.end());
        directory_.write("a.rec", file_);
        replay_ = std::make_unique<ProgramProcess>(pallbusCommand(words));
        port_ = portOf(replay_->readLine());
        device_ = std::make_unique<BusPeer>(port_);
    }

    // Plays the device of the session, up to the question.
    void greet() {
        device_->send(login("50@8"));
        EXPECT_EQ(device_->receive(), welcome("50@8")) << "under the id that it has today";
        device_->send(subscription());
        EXPECT_EQ(device_->receive(), question("a"));
    }

    // Answers what the replay asks at its end, and gives its exit status.
    int end() {
        EXPECT_THAT(device_->receive(), HasSubstr("\"end@replay\""));
        device_->send(message("RSP", "system", 8, 0, "{\"id\":\"end@replay\"}"));
        return replay_->wait();
    }

    const TemporaryDirectory directory_;
    const std::string path_ = directory_.path("a.rec");
    std::string file_;
    std::chrono::microseconds at_{};
    std::unique_ptr<ProgramProcess> replay_;
    uint16_t port_ = 0;
    std::unique_ptr<BusPeer> device_;
};

TEST_F(ReplayTest, EndsWithZeroWhereTheDeviceDoesTheSame) {
    recordSession();
    start();
    greet();
    device_->send(answer("a", "1"));
    EXPECT_EQ(end(), 0);
    EXPECT_EQ(replay_->restOfOutput(), "2 sent, 3 compared: 0 different, 0 missing, 0 extra\n");
    EXPECT_EQ(replay_->errors(), "");
}

TEST_F(ReplayTest, EndsWithTwoWhereItsOutputCannotBeWritten) {
    recordSession();
    directory_.write("a.rec", file_);
    const Outcome outcome = runProgram(
        inShell("exec \"$@\" >/dev/full", pallbusCommand({"replay", "--port=0", path_})));
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.errors, "pallbus: standard output: No space left on device\n");
}

TEST_F(ReplayTest, SaysInALineEachWhereTheDeviceDoesSomethingElse) {
    recordSession();
    start();
    greet();
    device_->send(message("NOT", "system", 8, 0, R"({"param":{"b\n":3}})"));
    device_->send(answer("a", "2"));
    EXPECT_EQ(end(), 1);
    EXPECT_EQ(replay_->restOfOutput(),
              "4.000000 NOT system b?: expected nothing, got {\"b\\n\":3}\n"
              "4.000000 RSP system 1@5 param.a: expected 1, got 2\n"
              "2 sent, 3 compared: 1 different, 0 missing, 1 extra\n");
}

TEST_F(ReplayTest, NamesTheAnswerThatDoesNotCome) {
    recordSession();
    start();
    greet();
    EXPECT_EQ(end(), 1);
    EXPECT_EQ(replay_->restOfOutput(),
              "4.000000 RSP system 1@5 a: expected {\"a\":1}, got nothing\n"
              "2 sent, 3 compared: 0 different, 1 missing, 0 extra\n");
}

TEST_F(ReplayTest, IgnoresWhatItIsTold) {
    recordSession();
    start({"--fast", "--ignore", "b", "system.a"});
    greet();
    device_->send(message("NOT", "system", 8, 0, R"({"param":{"b":3}})"));
    device_->send(answer("a", "2"));
    EXPECT_EQ(end(), 0) << replay_->restOfOutput();
}

TEST_F(ReplayTest, KeepsTheTimesOfTheRecordingUnlessInAHurry) {
    recordSession();
    const auto begin = std::chrono::steady_clock::now();
    start({"--speed=10"});
    greet();
    EXPECT_GE(std::chrono::steady_clock::now() - begin, 300ms) << "the question came at second 3";
    device_->send(answer("a", "1"));
    EXPECT_EQ(end(), 0);
}

TEST_F(ReplayTest, WaitsAtAnySpeedForTheTimeOfAMessage) {
    recordSession();
    start({"--speed=1e-300"});
    device_->send(login("50@8"));
    device_->send(message("SET", "", 8, 0, "{\"id\":\"h@8\"}"));
    EXPECT_THAT(device_->receive(), HasSubstr("h@8")) << "the welcome takes longer than all time";
}

TEST_F(ReplayTest, AnswersHeartbeatsItself) {
    recordSession();
    start();
    greet();
    device_->send(message("SET", "", 8, 0, "{\"id\":\"h@8\"}"));
    EXPECT_EQ(device_->receive(),
              message("RSP", "", 0, 8,
                      R"({"id":"h@8","requestCommand":"SET","statusCode":200,"statusMsg":"OK"})"));
    device_->send(answer("a", "1"));
    EXPECT_EQ(end(), 0);
}

TEST_F(ReplayTest, ClosesTheConnectionWhereTheDeviceHadComeBack) {
    recordSession();
    record(8, login("9@8"));
    start();
    greet();
    device_->send(answer("a", "1"));
    EXPECT_TRUE(device_->isClosed());
    device_ = std::make_unique<BusPeer>(port_);
    device_->send(login("60@8"));
    EXPECT_EQ(end(), 0);
}

TEST_F(ReplayTest, GoesOnWhenTheDeviceComesBackByItselfButSaysSo) {
    recordSession();
    record(5, question("c"));
    start();
    greet();
    device_->vanish();
    device_ = std::make_unique<BusPeer>(port_);
    device_->send(answer("a", "1"));
    EXPECT_EQ(device_->receive(), question("c"));
    EXPECT_EQ(end(), 1);
    EXPECT_EQ(replay_->restOfOutput(),
              "4.000000 connection: expected open, got closed\n"
              "3 sent, 3 compared: 0 different, 0 missing, 0 extra, connection lost\n");
}

TEST_F(ReplayTest, EndsWhenTheDeviceStaysAway) {
    recordSession();
    start();
    device_->vanish();
    EXPECT_EQ(replay_->wait(), 1);
    EXPECT_THAT(replay_->restOfOutput(),
                EndsWith("0 sent, 3 compared: 0 different, 3 missing, 0 extra, connection lost\n"));
}

TEST_F(ReplayTest, EndsWhenTheDeviceDoesNotRead) {
    recordSession();
    for (int count = 0; count < 40; ++count) {
        record(5, message("SET", "system", 5, 0, std::string(1'000'000, ' ')));
    }
    record(8, answer("b", "1"));
    start();
    greet();
    device_->send(answer("a", "1"));
    EXPECT_EQ(replay_->wait(), 1);
    EXPECT_THAT(replay_->restOfOutput(), EndsWith("0 different, 1 missing, 0 extra\n"));
}

TEST_F(ReplayTest, SendsMoreThanTheKernelHoldsAsTheDeviceReads) {
    recordSession();
    const std::string large = message("SET", "system", 5, 0, std::string(1'000'000, ' '));
    for (int count = 0; count < 40; ++count) {
        record(5, large);
    }
    start();
    greet();
    device_->send(answer("a", "1"));
    for (int count = 0; count < 40; ++count) {
        ASSERT_TRUE(device_->receive() == large) << count;
    }
    EXPECT_EQ(end(), 0);
}

TEST_F(ReplayTest, PlaysARecordingCutShortUpToThereAndSaysSo) {
    recordSession();
    file_ += R"({"at":9.000000,"from":5,"payl)";
    start();
    greet();
    device_->send(answer("a", "1"));
    EXPECT_EQ(end(), 0);
    EXPECT_EQ(replay_->errors(), "pallbus: " + path_ + ":7: incomplete last line ignored\n");
}

TEST_F(ReplayTest, EndsWithOneLineAndTwoWhereThereIsNothingToPlay) {
    recordSession();
    directory_.write("a.rec", file_);
    const std::string other = directory_.write("other", "no recording\n");
    const std::string wrong = directory_.write("wrong", file_ + "{}\n");
    const std::vector<std::pair<std::vector<std::string>, std::string>> attempts{
        {{"/nowhere"}, "/nowhere: No such file or directory\n"},
        {{other}, other + ":1: not a recording: the line is not a JSON object\n"},
        {{wrong}, wrong + ":7: \"at\" is missing or out of range\n"},
        {{path_, "--as=9"}, path_ + ": participant 9 not found\n"},
        {{path_, "--as=frameB.system"}, path_ + ": participant \"frameB.system\" not found\n"},
        {{path_, "--speed=0"},
         "--speed: invalid number '0'; use a number above 0 (--help tells more)\n"},
        {{path_, "--record=b"}, "replay cannot be combined with --record (--help tells more)\n"},
        {{path_, "--speed=2", "--fast"},
         "--speed cannot be combined with --fast (--help tells more)\n"}};
    for (const auto& [words, problem] : attempts) {
        std::vector<std::string> all{"replay", "--port=0"};
        all.insert(all.end(), words.begin(), words.end());
        ProgramProcess replay(pallbusCommand(all));
        EXPECT_EQ(replay.wait(), 2) << problem;
        EXPECT_EQ(replay.errors(), "pallbus: " + problem);
        EXPECT_EQ(replay.restOfOutput(), "");
    }
}

TEST_F(ReplayTest, EndsWithTwoWhereThePortIsTaken) {
    recordSession();
    const BusProcess bus;
    directory_.write("a.rec", file_);
    ProgramProcess replay(pallbusCommand({"replay", "--port", bus.portText(), path_}));
    EXPECT_EQ(replay.wait(), 2);
    EXPECT_EQ(replay.errors(), "pallbus: port " + bus.portText() + ": Address already in use\n");
}

TEST_F(ReplayTest, EndsWithTwoWhenItIsInterrupted) {
    recordSession();
    start();
    replay_->signal(SIGINT);
    EXPECT_EQ(replay_->wait(), 2);
    EXPECT_EQ(replay_->errors(), "pallbus: interrupted\n");
}

}  // namespace
