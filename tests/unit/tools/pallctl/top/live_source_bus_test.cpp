#include <sys/ioctl.h>

#include <gmock/gmock.h>

#include "client/known_parameters.h"
#include "messages.h"
#include "pallctl/top/live_source.h"
#include "support/captured_log.h"
#include "support/file_size_limit.h"
#include "support/temporary_directory.h"
#include "tools/listening_peer.h"

namespace pallctl::top {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

constexpr const char* kWhole = R"("objectName":["paramDescriptor"])";

// The id of the last request that holds the text.
std::string idOf(const std::string& bytes, const std::string& text) {
    const std::string mark = R"({"id":")";
    const size_t begin = bytes.rfind(mark, bytes.rfind(text)) + mark.size();
    return bytes.substr(begin, bytes.find('"', begin) - begin);
}

std::string answer(const std::string& id, const std::string& more = R"(,"statusCode":200)") {
    return "[\"RSP\", \"system\", 8, 5, 0]\n{\"id\":\"" + id + "\"" + more + "}";
}

// The bus and the device behind it are played by the test: each step of the source finds what was
// written before.
class LiveSourceBusTest : public testing::Test {
  protected:
    explicit LiveSourceBusTest(const std::string& object = "system")
        : source({peer.port(), {}, {}, object}) {}

    // A step that takes in one more message than before, as soon as the kernel has brought it.
    void handleMessage(const std::string& payload) {
        peer.writeFrame(payload);
        pollfd arrived{source.descriptor(), POLLIN, 0};
        ASSERT_EQ(::poll(&arrived, 1, 30'000), 1);
        step();
    }
    void step(Moment later = 0ms) { source.advance(later); }
    // The device answers the question that was asked last.
    void answerQuestion() { handleMessage(answer(idOf(asked, kWhole))); }
    // It has no parameters, and is asked twice whether that is so.
    void greet() {
        step();
        peer.accept();
        for (int reading = 0; reading < 2; ++reading) {
            asked = peer.read();
            answerQuestion();
        }
    }
    void waitUntilArrived(size_t size) {
        int waiting = 0;
        while (waiting < static_cast<int>(size)) {
            ASSERT_EQ(::ioctl(source.descriptor(), FIONREAD, &waiting), 0);
        }
    }
    void hangUp(Moment later = 0ms) {
        peer.hangUp();
        pollfd gone{source.descriptor(), POLLIN, 0};
        ASSERT_EQ(::poll(&gone, 1, 30'000), 1);
        step(later);
    }
    void set() {
        ASSERT_TRUE(source.set("sshEnabled", util::jsonNumber(0)));
        asked = peer.read();
    }

    CapturedLog log;
    ListeningPeer peer;
    LiveSource source;
    const DeviceState& state = source.state();
    std::string asked;
};

TEST_F(LiveSourceBusTest, LogsInSubscribesAndReadsEverything) {
    EXPECT_EQ(source.status().link, Link::noBus);
    step();
    peer.accept();
    asked = peer.read();
    EXPECT_EQ(source.status().link, Link::noDevice);
    EXPECT_THAT(asked, HasSubstr(R"("login":{)"));
    EXPECT_THAT(asked, HasSubstr(R"("subscribeList":[{"path":"system")"));
    EXPECT_THAT(asked, HasSubstr(R"("ipAddress")"));
    EXPECT_THAT(asked, HasSubstr(kWhole));
    handleMessage(describeParameters({descriptor("ipAddress", "INT32", "7")}));
    answerQuestion();
    EXPECT_EQ(source.status().link, Link::connected);
    EXPECT_EQ(displayValue(state.find("ipAddress")), "7");
}

TEST_F(LiveSourceBusTest, ConnectsAgainAndReadsEverythingAgain) {
    greet();
    hangUp(1s);
    EXPECT_EQ(source.status().link, Link::noBus);
    EXPECT_EQ(source.status().linkSince, source.now());
    step(1s);
    peer.accept();
    asked = peer.read();
    EXPECT_THAT(asked, HasSubstr(R"("ipAddress")"));
    answerQuestion();
    EXPECT_EQ(source.status().link, Link::connected);
}

class PrefixedSourceTest : public LiveSourceBusTest {
  protected:
    PrefixedSourceTest() : LiveSourceBusTest("frameB.system") {
        step();
        peer.accept();
        asked = peer.read();
    }
};

TEST_F(PrefixedSourceTest, HearsThatTheDaemonIsNewWhichItSaysOfItselfAlone) {
    EXPECT_THAT(asked, HasSubstr(R"("subscribeList":[{"path":"frameB.system")"));
    EXPECT_THAT(asked, HasSubstr(R"("subscribeList":[{"path":"system")"));
    answerQuestion();
    handleMessage(announcement(R"("frameName":"Quorane")"));
    EXPECT_THAT(peer.read(), HasSubstr(kWhole));
}

TEST_F(PrefixedSourceTest, WhatIsNotToldHasItsRowWithoutAValue) {
    EXPECT_THAT(asked, Not(HasSubstr(R"("ipAddress")"))) << "that would rename it";
    handleMessage("[\"NOT\", \"frameB.system\", 8, 0, 0]\n{\"param\":{\"netmask\":4294967040}}");
    answerQuestion();
    ASSERT_TRUE(state.find("ipAddress"));
    EXPECT_EQ(displayValue(state.find("ipAddress")), "-");
    EXPECT_EQ(displayValue(state.find("netmask")), "255.255.255.0");
    EXPECT_EQ(state.all().size(), client::knownParameterNames().size());
}

TEST_F(LiveSourceBusTest, WaitsASecondBetweenAttempts) {
    peer.stopListening();
    step();
    EXPECT_EQ(source.descriptor(), -1);
    ListeningPeer other;
    LiveSource late{{other.port(), {}, {}, "system"}};
    late.advance(0s);
    other.accept();
    other.hangUp();
    late.advance(100ms);
    late.advance(800ms);
    EXPECT_EQ(late.status().link, Link::noBus);
    late.advance(100ms);
    EXPECT_EQ(late.status().link, Link::noDevice);
}

TEST_F(LiveSourceBusTest, AsksNowAndThenWhetherTheDaemonStillAnswers) {
    greet();
    step(4s);
    step(1s);
    asked = peer.read();
    EXPECT_THAT(asked, HasSubstr(kWhole));
    EXPECT_THAT(asked, Not(HasSubstr(R"("ipAddress")"))) << "nothing says that values are old";
    step(1s);
    EXPECT_EQ(source.status().link, Link::connected);
    step(1s);
    EXPECT_EQ(source.status().link, Link::noDevice);
}

TEST_F(LiveSourceBusTest, ADaemonThatComesBackIsReadAgain) {
    greet();
    handleMessage(announcement(R"("frameName":"Quorane")"));
    asked = peer.read();
    EXPECT_THAT(asked, HasSubstr(R"("ipAddress")"));
}

TEST_F(LiveSourceBusTest, ASilentDaemonIsAskedAgainForEverything) {
    greet();
    step(5s);
    peer.read();
    step(2s);
    EXPECT_EQ(source.status().link, Link::noDevice);
    step(1s);
    asked = peer.read();
    EXPECT_THAT(asked, HasSubstr(R"("ipAddress")"));
    answerQuestion();
    EXPECT_EQ(source.status().link, Link::connected);
}

TEST_F(LiveSourceBusTest, WhatWasNotDescribedIsAskedForOnceMore) {
    step();
    peer.accept();
    asked = peer.read();
    handleMessage(describeParameters({descriptor("ipAddress", "INT32", "7")}));
    answerQuestion();
    asked = peer.read();
    EXPECT_THAT(asked, HasSubstr(R"("psu1Voltage")"));
    EXPECT_THAT(asked, Not(HasSubstr(R"("ipAddress")")));
    answerQuestion();
    step(4s);
    step(1s);
    EXPECT_THAT(peer.read(), Not(HasSubstr(R"("psu1Voltage")"))) << "the device has none";
}

TEST_F(LiveSourceBusTest, AnAnswerThatWasOvertakenDoesNotBringBackTheOldValue) {
    greet();
    handleMessage(describeParameters({descriptor("psu1Voltage", "FLOAT", "12")}));
    handleMessage(announcement(R"("frameName":"Quorane")"));
    asked = peer.read();
    handleMessage(announcement(R"("psu1Voltage":9)"));
    handleMessage(describeParameters({descriptor("psu1Voltage", "FLOAT", "12")}));
    EXPECT_EQ(displayValue(state.find("psu1Voltage")), "9");
    answerQuestion();
    asked = peer.read();
    EXPECT_THAT(asked, HasSubstr(R"("psu1Voltage")")) << "in doubt";
    handleMessage(describeParameters({descriptor("psu1Voltage", "FLOAT", "8")}));
    answerQuestion();
    EXPECT_EQ(displayValue(state.find("psu1Voltage")), "8");
}

TEST_F(LiveSourceBusTest, ABusThatNeverStopsTalkingLeavesTimeForOthers) {
    greet();
    std::string flood;
    for (int value = 1; value <= 1000; ++value) {
        const std::string payload = announcement("\"psu1Voltage\":" + std::to_string(value));
        flood += std::to_string(payload.size()) + ":" + payload + ";";
    }
    peer.write(flood);
    waitUntilArrived(flood.size());
    step();
    EXPECT_EQ(source.untilNext(), Moment(0));
    EXPECT_LT(state.find("psu1Voltage")->value->valuedouble, 1000);
    peer.hangUp();
    while (source.untilNext() == Moment(0)) {
        step(2s);
    }
    EXPECT_EQ(state.find("psu1Voltage")->value->valuedouble, 1000)
        << "all of it, in spite of the end";
    EXPECT_EQ(source.status().link, Link::noBus);
}

TEST_F(LiveSourceBusTest, ASetIsAnsweredByItsOwnAnswer) {
    greet();
    set();
    EXPECT_THAT(asked, HasSubstr(R"("param":{"sshEnabled":0})"));
    EXPECT_FALSE(source.takeSetResult());
    handleMessage(answer("other"));
    EXPECT_FALSE(source.takeSetResult());
    handleMessage(answer(idOf(asked, "sshEnabled"), R"(,"statusCode":400)"));
    const auto result = source.takeSetResult();
    ASSERT_TRUE(result);
    EXPECT_EQ(result->kind, SetResult::Kind::answered);
    EXPECT_EQ(result->statusCode, 400);
    EXPECT_FALSE(source.takeSetResult()) << "once";
}

TEST_F(LiveSourceBusTest, ADaemonBusyWithASetIsNotCalledSilent) {
    greet();
    set();
    step(5s);
    step(50s);
    EXPECT_EQ(source.status().link, Link::connected);
    EXPECT_FALSE(source.takeSetResult());
    step(5s);
    const auto result = source.takeSetResult();
    ASSERT_TRUE(result);
    EXPECT_EQ(result->kind, SetResult::Kind::noAnswer);
}

TEST_F(LiveSourceBusTest, ASetEndsWithTheConnection) {
    greet();
    set();
    hangUp();
    const auto result = source.takeSetResult();
    ASSERT_TRUE(result);
    EXPECT_EQ(result->kind, SetResult::Kind::connectionLost);
    EXPECT_FALSE(source.set("sshEnabled", util::jsonNumber(0))) << "there is nobody to send it to";
}

TEST_F(LiveSourceBusTest, TheGraphsBreakOffWithTheConnection) {
    greet();
    handleMessage(announcement(R"("psu1Voltage":12)"));
    EXPECT_EQ(state.history(0).last(), 12.0);
    hangUp();
    EXPECT_EQ(state.history(0).last(), std::nullopt);
}

TEST_F(LiveSourceBusTest, ARecordingBeginsWithAllThatCanBeRead) {
    TemporaryDirectory directory;
    greet();
    handleMessage(announcement(R"("psu1Voltage":12)"));
    source.record(directory.path("bus.rec"));
    EXPECT_EQ(source.status().recordingTo, directory.path("bus.rec"));
    step();
    asked = peer.read();
    EXPECT_THAT(asked, HasSubstr(R"("psu1Voltage")"));
    handleMessage(describeParameters({descriptor("psu1Voltage", "FLOAT", "12")}));
    EXPECT_EQ(source.stopRecording(), std::nullopt);
    handleMessage(announcement(R"("psu1Voltage":9)"));
    EXPECT_EQ(source.status().recordingTo, std::nullopt);

    recording::Reader reader(directory.path("bus.rec"));
    const auto entry = reader.next();
    ASSERT_TRUE(entry);
    EXPECT_EQ(entry->from, 8);
    EXPECT_EQ(entry->payload, describeParameters({descriptor("psu1Voltage", "FLOAT", "12")}));
    EXPECT_FALSE(reader.next());
}

TEST_F(LiveSourceBusTest, TellsOnceWhyARecordingEndedByItself) {
    TemporaryDirectory directory;
    greet();
    source.record(directory.path("bus.rec"));
    EXPECT_EQ(source.takeRecordingFailure(), std::nullopt);
    const FileSizeLimit limit(200);
    handleMessage(announcement(R"("systemName":")" + std::string(1000, 'x') + "\""));
    std::optional<std::string> failure;
    for (const auto patience = std::chrono::steady_clock::now() + 20s;
         !failure && std::chrono::steady_clock::now() < patience;) {
        failure = source.takeRecordingFailure();
    }
    EXPECT_THAT(failure.value_or(""), HasSubstr("bus.rec: File too large"));
    EXPECT_EQ(source.status().recordingTo, std::nullopt);
    EXPECT_EQ(source.takeRecordingFailure(), std::nullopt);
}

TEST_F(LiveSourceBusTest, TellsInTheEndWhatARecordingLacks) {
    TemporaryDirectory directory;
    greet();
    source.record(directory.path("bus.rec"));
    const FileSizeLimit limit(200);
    handleMessage(announcement(R"("systemName":")" + std::string(1000, 'x') + "\""));
    EXPECT_THAT(source.stopRecording().value_or(""), HasSubstr("bus.rec: File too large"));
}

TEST_F(LiveSourceBusTest, AFileThatCannotBeMadeIsNamed) {
    EXPECT_THAT([&] { source.record("/no/such/place/bus.rec"); },
                ThrowsMessage<std::runtime_error>(HasSubstr("/no/such/place/bus.rec")));
    EXPECT_EQ(source.status().recordingTo, std::nullopt);
}

TEST_F(LiveSourceBusTest, SurvivesWhatIsNoMessage) {
    greet();
    handleMessage("neither header nor data");
    handleMessage(announcement(R"("systemName":"Studio")"));
    EXPECT_EQ(displayValue(state.find("systemName")), "Studio");
}

}  // namespace
}  // namespace pallctl::top
