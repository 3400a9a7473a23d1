// The daemon on a bus with faults of every kind: it survives, and works again afterwards.

#include "harness/bus_message.h"
#include "on_pallbus.h"

using namespace harness;
using testing::HasSubstr;
using testing::Not;

namespace {

constexpr int kNoAnswer = 5;  // what pallctl ends with

class Faults : public OnPallbus {
  protected:
    // With what goes over the bus kept in a file.
    void start(const Words& faults = {}) {
        Words arguments{"--verbose", "--seed=1", "--record", kRecord};
        arguments.insert(arguments.end(), faults.begin(), faults.end());
        startBus(arguments);
        startDaemon();
    }

    static void inject(const std::string& line) {
        const Result outcome = run(program("pallbus", {"inject", line}));
        ASSERT_EQ(outcome.status, 0) << outcome.error;
    }

    static void clearFaults() {
        const Result outcome = run(program("pallbus", {"clear"}));
        ASSERT_EQ(outcome.status, 0) << outcome.error;
    }

    static Result get(const std::string& timeout = "20") {
        return pallctl({"--timeout", timeout, "get", "systemName"});
    }

    // Everything works as if nothing had been.
    static void expectService() {
        const Result set = pallctl({"set", "systemName=" + freshName()});
        EXPECT_EQ(set.status, 0) << set.error;
        const Result got = get();
        EXPECT_EQ(got.status, 0) << got.error;
        EXPECT_THAT(got.output, HasSubstr(lastName()));
    }

    // Waits until the daemon has greeted the bus that many times, with its name as the last word.
    void waitForGreetings(size_t count) const {
        waitUntil(
            [&] {
                const std::string record = frame.read(kRecord);
                return occurrences(record, R"(\"login\":{\"name\":\"Pallwatch\")") == count &&
                       occurrences(record, R"(\"param\":{\"frameName\":\"QuoraneBrio\"}})") ==
                           count;
            },
            "greeting " + std::to_string(count));
    }

    static constexpr const char* kRecord = "/tmp/record";

  private:
    static size_t occurrences(const std::string& text, const std::string& part) {
        size_t count = 0;
        for (size_t at = 0; (at = text.find(part, at)) != std::string::npos; at += part.size()) {
            ++count;
        }
        return count;
    }

    static std::string freshName() {
        ++names_;
        return lastName();
    }
    static std::string lastName() { return "Name" + std::to_string(names_); }

    inline static int names_ = 0;
};

TEST_F(Faults, ASilentBusIsLeftAndGreetedAnew) {
    start();
    inject("blackhole daemon");
    daemon->error().waitFor("socket no response. Closing.\n");
    waitForGreetings(2);
    expectService();
}

TEST_F(Faults, BytesOneByOneAreAsGoodAsMessages) {
    start({"--fault", "fragment"});
    expectService();
    const Result list = pallctl({"list"});
    EXPECT_EQ(list.status, 0) << list.error;
    EXPECT_THAT(list.output, HasSubstr("systemName"));
    EXPECT_EQ(daemon->error().text(), "");
}

TEST_F(Faults, SeveralMessagesInOneSegmentAreAllAnswered) {
    start({"--fault", "coalesce 3 to daemon"});
    expectService();
    const Result got = pallctl({"get", "systemName", "frameName", "active", "sshEnabled"});
    EXPECT_EQ(got.status, 0) << got.error;
}

// Which of them it understands depends on the bytes that were hit. A length that was hit may
// swallow megabytes of what follows, so that only a new connection brings it back in step.
TEST_F(Faults, DamagedMessagesDoNotEndIt) {
    start();
    inject("corrupt 3 to daemon");
    int unanswered = 0;
    for (int i = 0; i < 20; ++i) {
        unanswered += get("0.05").status == kNoAnswer ? 1 : 0;
    }
    EXPECT_GT(unanswered, 0);
    clearFaults();
    inject("close daemon");
    waitForGreetings(2);
    expectService();
}

TEST_F(Faults, DamagedAnswersAreNotItsConcern) {
    start();
    inject("corrupt 3 from daemon");
    for (int i = 0; i < 5; ++i) {
        get("0.05");
    }
    clearFaults();
    expectService();
    EXPECT_EQ(daemon->error().text(), "");
}

TEST_F(Faults, HalfAMessageAndAnEndIsForgotten) {
    start();
    inject("truncate daemon");
    EXPECT_NE(pallctl({"--timeout=0.2", "set", "systemName=Cut"}).status, 0);
    bus->error().waitFor("truncated a message\n");
    waitForGreetings(2);
    EXPECT_THAT(get().output, Not(HasSubstr("Cut"))) << "it had only a part of it";
    expectService();
}

TEST_F(Faults, ABusThatRefusesIsTriedUntilItDoesNot) {
    start();
    inject("refuse");
    inject("close daemon");
    daemon->error().waitFor("Connection refused");
    clearFaults();
    waitForGreetings(2);
    expectService();
}

TEST_F(Faults, WhatPiledUpWhileTheBusDidNotReadIsAnsweredLater) {
    start();
    inject("stall daemon");
    EXPECT_EQ(get("0.3").status, kNoAnswer);
    Process patient(program("pallctl", {"--timeout=60", "get", "systemName"}));
    waitUntil([this] { return frame.read(kRecord).find("systemName") != std::string::npos; },
              "the request");
    clearFaults();
    EXPECT_EQ(patient.waitForEnd(), 0) << patient.error().text();
    expectService();
    waitForGreetings(1);  // the connection held
}

TEST_F(Faults, WhatIsLostOnTheWayCostsNoConnection) {
    start();
    inject("drop from daemon object system");
    EXPECT_EQ(get("0.3").status, kNoAnswer);
    clearFaults();
    expectService();
    waitForGreetings(1);
}

TEST_F(Faults, ALateBusIsABus) {
    start({"--fault", "delay 10ms-30ms"});
    expectService();
    clearFaults();
    expectService();
    waitForGreetings(1);
}

}  // namespace
