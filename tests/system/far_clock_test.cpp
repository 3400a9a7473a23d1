// The daemon when the clock is far ahead: at the end of 2037, and while the seconds since 1970
// outgrow 31 and 32 bits. libfaketime(1) moves the wall clock of the daemon alone; its monotonic
// clock is the kernel's. Each run begins seconds before the moment, so that the heartbeat, which
// comes five seconds after the login, is behind it.

#include <sys/socket.h>

#include <algorithm>
#include <cstdlib>
#include <ostream>
#include <string>
#include <vector>

#include "log_socket.h"
#include "on_bus.h"
#include "pallframe/simulation/devices.h"

using namespace harness;
using testing::Contains;
using testing::Field;
using testing::HasSubstr;
using testing::Not;

namespace {

struct Moment {
    const char* name;
    const char* start;      // as faketime(1) reads it
    const char* logTime;    // how a line of the log begins behind its priority, up to the hour
    const char* hour;       // of a printed time stamp
    const char* hourLater;  // what a date one hour ahead begins with

    friend void PrintTo(const Moment& moment, std::ostream* out) { *out << moment.name; }
};

const Moment kMoments[] = {
    {"TheEndOf2037", "@2037-12-31 23:59:56", "Jan  1 00:", "00:", "2038-01-01T01:"},
    {"TheEndOf31Bits", "@2038-01-19 03:14:04", "Jan 19 03:", "03:", "2038-01-19T04:"},
    {"TheEndOf32Bits", "@2106-02-07 06:28:12", "Feb  7 06:", "06:", "2106-02-07T07:"},
};

class FarClock : public OnBus, public testing::WithParamInterface<Moment> {
  protected:
    FarClock() : OnBus("Quorane") {
        setenv("TZ", "UTC0", 1);
        // The dynamic linker fills in the directory of its own libraries.
        setenv("LD_PRELOAD", "/usr/$LIB/faketime/libfaketime.so.1", 1);
        setenv("FAKETIME", GetParam().start, 1);
        setenv("FAKETIME_DONT_FAKE_MONOTONIC", "1", 1);
    }
    ~FarClock() override {
        for (const char* name : {"TZ", "LD_PRELOAD", "FAKETIME", "FAKETIME_DONT_FAKE_MONOTONIC"}) {
            unsetenv(name);
        }
    }

    void SetUp() override {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
        GTEST_SKIP() << "a sanitizer accepts no library in front of its own";
#endif
    }

    void startAndPassTheMoment() {
        start();
        answerHeartbeat();
    }

    void answerHeartbeat() {
        const BusMessage beat = bus.waitFor("SET", "");
        bus.send("RSP", "", 0, beat.source,
                 R"({"id":")" + beat.id() + R"(","statusCode":200,"statusMsg":"OK"})");
    }

    void waitForPoll() {
        cableIsIn_ = !cableIsIn_;
        pallframe::simulation::setCable(frame.tree(), "eth0", cableIsIn_);
        log.waitFor("ETHERNET STATUS CHANGED : eth0");
    }

    void setName(const std::string& name) {
        set(R"({"systemName":")" + name + "\"}");
        EXPECT_THAT(sentUntilNow(), Contains(answered(200, "OK")));
    }

  private:
    bool cableIsIn_ = true;
};

TEST_P(FarClock, PollAndHeartbeatGoOn) {
    startAndPassTheMoment();
    waitForPoll();
    answerHeartbeat();
    waitForPoll();
    stop();
}

TEST_P(FarClock, ALostBusIsGreetedAgain) {
    startAndPassTheMoment();
    bus.close();
    greeted();
    waitForPoll();
    answerHeartbeat();
}

TEST_P(FarClock, SettingsAreSavedAndFoundAtTheNextStart) {
    startAndPassTheMoment();
    setName("Studio");
    EXPECT_THAT(frame.read(kStateFile), HasSubstr("Studio"));
    stop();
    start();
    EXPECT_EQ(valueOf("systemName"), R"("Studio")");
}

TEST_P(FarClock, ScheduledMessagesAreDueOnTheRightDay) {
    startAndPassTheMoment();
    bus.sendRaw(busFrame("[\"GET\", \"system\", 5, 0, \"+01:00:00\"]\n{}"));
    EXPECT_THAT(log.waitFor("Message Scheduled").text,
                HasSubstr("Message Scheduled at " + std::string(GetParam().hourLater)));
    bus.sendRaw(busFrame("[\"GET\", \"system\", 5, 0, \"2107-12-01T12:00:00.250\"]\n{}"));
    EXPECT_EQ(log.waitFor("Message Scheduled").text,
              "Message Scheduled at 2107-12-01T12:00:00.250\n");
    bus.sendRaw(busFrame("[\"GET\", \"system\", 5, 0, \"2037-12-31T12:00:00\"]\n{}"));
    sentUntilNow();
    EXPECT_THAT(log.linesUntilNow(), Not(Contains(Field(&LogLine::text, HasSubstr("2037-12-31")))))
        << "that moment has gone by";
}

TEST_P(FarClock, LinesOfTheLogAndPrintedLinesHaveTheTime) {
    const LogSocket socket(SOCK_DGRAM);
    startAndPassTheMoment();
    setName("Studio");
    // The socket holds a dozen lines, and the daemon keeps what has no room there for a while.
    const std::string beginning = '>' + std::string(GetParam().logTime);
    waitUntil(
        [&] {
            const std::vector<std::string> lines = socket.take();
            return std::any_of(lines.begin(), lines.end(), [&](const std::string& line) {
                return line.find(beginning) != std::string::npos &&
                       line.find("Studio") != std::string::npos;
            });
        },
        "the line about the name");
    set(R"({"ipAddress":0})");
    sentUntilNow();
    daemon->output().waitFor("IP Error");
    EXPECT_THAT(daemon->output().text(),
                testing::ContainsRegex(std::string(GetParam().hour) +
                                       "[0-9][0-9]:[0-9][0-9][.][0-9]{3}\tIP Error"));
}

INSTANTIATE_TEST_SUITE_P(At, FarClock, testing::ValuesIn(kMoments),
                         [](const auto& moment) { return std::string(moment.param.name); });

}  // namespace
