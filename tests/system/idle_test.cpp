// What the daemon does when nothing happens on the bus: heartbeats, and the patience it has with a
// peer that says nothing. These tests take the seconds that they speak of.

#include <chrono>

#include "on_bus.h"
#include "pallframe/simulation/devices.h"
#include "pallframe/simulation/stub_programs.h"

using namespace harness;
using namespace std::chrono_literals;
using testing::IsEmpty;

namespace {

using Clock = std::chrono::steady_clock;

constexpr const char* kSilence = "Pallwatch - TCP Client: socket no response. Closing.\n";
constexpr const char* kHeartbeat = R"(["SET", "", 8, 0, 0] {"id":"*"})";

class Idle : public OnBus {
  protected:
    using OnBus::OnBus;

    // The next heartbeat; a Brio has nothing else to say.
    void answerHeartbeat() {
        const BusMessage beat = bus.receive();
        EXPECT_EQ(withoutId(beat), kHeartbeat);
        bus.send("RSP", "", 0, beat.source,
                 R"({"id":")" + beat.id() + R"(","statusCode":200,"statusMsg":"OK"})");
    }
};

TEST_F(Idle, ABusThatSaysNothingIsLeftAfterTenSecondsAndGreetedAnew) {
    start();
    const Clock::time_point connected = Clock::now();
    int beats = 0;
    try {
        for (;; ++beats) {
            EXPECT_EQ(withoutId(bus.receive()), kHeartbeat);
        }
    } catch (const TimedOut&) {
        FAIL() << "the daemon stays";
    } catch (const std::runtime_error&) {  // it left
    }
    EXPECT_GT(Clock::now() - connected, 9s);
    EXPECT_GE(beats, 1);
    EXPECT_LE(beats, 2) << "they come every five seconds";
    greeted();
    EXPECT_THAT(sentUntilNow(), IsEmpty());
    stop();
    EXPECT_EQ(daemon->error().waitForEnd(), kSilence);
}

TEST_F(Idle, AnswersToHeartbeatsKeepTheConnection) {
    start();
    const Clock::time_point connected = Clock::now();
    for (int i = 0; i < 3; ++i) {
        answerHeartbeat();
    }
    EXPECT_GT(Clock::now() - connected, 14s) << "they come every five seconds";
    EXPECT_THAT(sentUntilNow(), IsEmpty());
    stop();
    EXPECT_EQ(daemon->error().waitForEnd(), "");
}

// A byte is as good as an answer: it is what arrives that counts, not what it means.
TEST_F(Idle, AnythingThatArrivesKeepsTheConnection) {
    start();
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(withoutId(bus.receive()), kHeartbeat);
        bus.sendRaw("0");  // part of the next frame's length
    }
    bus.sendRaw("2:ab;");  // which ends that frame
    EXPECT_THAT(sentUntilNow(), IsEmpty());
    stop();
    EXPECT_EQ(daemon->error().waitForEnd(), "");
}

class IdleWithPolls : public Idle {
  protected:
    IdleWithPolls() : Idle("Quorane") {}

    void waitForHeartbeat() {
        while (withoutId(bus.receive()) != kHeartbeat) {
        }
    }
};

// The old connection would have had its next one about two seconds after the new one began.
TEST_F(IdleWithPolls, HeartbeatsBeginAnewFiveSecondsAfterAReconnect) {
    start();
    waitForHeartbeat();
    for (const bool cableIsIn : {false, true}) {  // a second or two go by
        pallframe::simulation::setCable(frame.tree(), "eth0", cableIsIn);
        log.waitFor("ETHERNET STATUS CHANGED : eth0");
    }
    greeted();
    const Clock::time_point connected = Clock::now();
    waitForHeartbeat();
    EXPECT_GT(Clock::now() - connected, 3500ms);
}

TEST_F(Idle, ACommandOfTwelveSecondsCostsNothing) {
    pallframe::simulation::setPause(frame.tree(), "briskel", 12);
    start();
    set(R"({"generateReport":1})");
    EXPECT_EQ(withoutId(bus.receive()), announced(R"({"generateReport":1})"));
    EXPECT_EQ(withoutId(bus.receive()), announced(R"({"generateReport":0})"));
    EXPECT_EQ(withoutId(bus.receive()), answered(200, "OK"));
    answerHeartbeat();
    answerHeartbeat();
    EXPECT_THAT(sentUntilNow(), IsEmpty());
    stop();
    EXPECT_EQ(daemon->error().waitForEnd(), "");
}

}  // namespace
