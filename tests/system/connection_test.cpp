// The connection to the bus: how it begins, how it comes back, and what does not survive it.

#include <linux/seccomp.h>
#include <netinet/tcp.h>
#include <signal.h>
#include <sys/syscall.h>

#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <thread>

#include "bus/full_listener.h"
#include "harness/system_call_filter.h"
#include "on_bus.h"
#include "pallframe/simulation/devices.h"

using namespace harness;
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using Clock = std::chrono::steady_clock;

constexpr const char* kLogin =
    R"(["SET", "system.connection", 8, 0, 0] {"id":"*","param":{"login":{"name":"Pallwatch","connID":8,"version":1}}})";
constexpr const char* kQuestion =
    R"(["GET", "system", 8, 0, 0] {"id":"*","param":{"objectName":["kelMasterSystemDetails"]}})";

std::string subscriptions(const std::string& list) {
    return R"(["SET", "system.connection", 8, 0, 0] {"id":"*","param":{"subscribeList":)" + list +
           "}}";
}

const std::string kRefused =
    "Pallwatch - connectHandler Error: Connection refused to 127.0.0.1:15000\n";

std::string repeated(const std::string& text, size_t count) {
    std::string all;
    for (size_t i = 0; i < count; ++i) {
        all += text;
    }
    return all;
}

std::vector<std::string> withoutIds(const std::vector<BusMessage>& messages) {
    std::vector<std::string> texts;
    for (const BusMessage& message : messages) {
        texts.push_back(withoutId(message));
    }
    return texts;
}

class Connection : public OnBus {
  protected:
    using OnBus::OnBus;

    std::vector<std::string> greeting() { return withoutIds(greeted()); }
};

// The kernel has no other port for the daemon's end than the one that the bus is to listen at.
TEST_F(Connection, IsNeverMadeToItself) {
    bus.stopListening();
    std::ofstream("/proc/sys/net/ipv4/ip_local_port_range") << "15000 15001";
    daemon.emplace();
    daemon->error().waitFor(repeated(kRefused, 2));
    bus.listen();
    EXPECT_THAT(greeted(), testing::SizeIs(4));
}

// From here on this thread and the programs that it starts cannot write TCP_NODELAY.
void forbidNoDelay() {
    constexpr unsigned kLevel = offsetof(seccomp_data, args) + sizeof(uint64_t);
    constexpr unsigned kOption = kLevel + sizeof(uint64_t);
    sock_filter steps[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_setsockopt, 0, 5),
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, kLevel),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, IPPROTO_TCP, 0, 3),
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, kOption),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, TCP_NODELAY, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | ENOPROTOOPT),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    filterSystemCalls(steps);
}

// Where the option cannot be written nothing has left yet.
TEST_F(Connection, HasItsOptionBeforeTheLoginLeaves) {
    std::thread([this] {
        forbidNoDelay();
        daemon.emplace();
    }).join();
    bus.accept();
    EXPECT_THAT([this] { bus.receivePayload(); },
                testing::ThrowsMessage<std::runtime_error>(
                    testing::StartsWith("the daemon left the bus; the last bytes: ''")));
    EXPECT_EQ(daemon->waitForEnd(), EXIT_FAILURE);
    EXPECT_THAT(daemon->error().waitForEnd(), testing::HasSubstr("set_option"));
}

TEST_F(Connection, BeginsWithLoginSubscriptionsQuestionAndName) {
    daemon.emplace();
    EXPECT_THAT(greeting(), ElementsAre(kLogin, subscriptions(R"([{"path":"system"}])"), kQuestion,
                                        announced(R"({"frameName":"QuoraneBrio"})")));
    EXPECT_THAT(sentUntilNow(), IsEmpty());
}

// Number 0 went to the subscription that was made before there was a connection.
TEST_F(Connection, NumbersItsMessages) {
    daemon.emplace();
    const std::string sender = "@" + std::to_string(daemon->pid()) + ".001122334455";
    int number = 1;
    for (const BusMessage& message : greeted()) {
        EXPECT_EQ(message.id(), std::to_string(number++) + sender);
    }
}

TEST_F(Connection, WithoutAnAddressIdsEndAtTheirAt) {
    frame.remove("/sys/class/net/eth0/address");
    daemon.emplace();
    EXPECT_EQ(greeted()[0].id(), "1@");
    EXPECT_EQ(greeted()[0].id(), "5@") << "and go on in the next connection";
}

// A bus that hangs takes as many connections as its backlog holds; the next attempt hangs with it.
TEST_F(Connection, IsBackAtOnceWhenABusThatHungIsRestarted) {
    bus.stopListening();
    std::optional<FullListener> hung(std::in_place, 15000);
    daemon.emplace();
    const std::string timedOut =
        "Pallwatch - connectHandler Error: Connection timed out to 127.0.0.1:15000\n";
    daemon->error().waitFor(timedOut);
    daemon->error().waitFor(timedOut + timedOut);
    hung.reset();
    bus.listen();
    EXPECT_EQ(greeting().at(0), kLogin);
}

TEST_F(Connection, SubscribesThroughThePrefixToo) {
    daemon.emplace(std::vector<std::string>{"-p", "a", "--prefix", "frameB"});
    EXPECT_EQ(greeting()[1], subscriptions(R"([{"path":"system"},{"path":"frameB.system"}])"));
    daemon->output().waitFor("run added subscription to: frameB.system\n");
}

TEST_F(Connection, AnEmptyPrefixIsNone) {
    daemon.emplace(std::vector<std::string>{"-p", ""});
    EXPECT_EQ(greeting()[1], subscriptions(R"([{"path":"system"}])"));
}

TEST_F(Connection, GreetsAgainAfterEachLossWithTheNameAsItIsNow) {
    start();
    set(R"({"frameName":"Studio"})");
    sentUntilNow();
    for (int i = 0; i < 2; ++i) {
        EXPECT_THAT(greeting(), ElementsAre(kLogin, subscriptions(R"([{"path":"system"}])"),
                                            kQuestion, announced(R"({"frameName":"Studio"})")));
        EXPECT_THAT(sentUntilNow(), IsEmpty());
    }
    stop();
    EXPECT_EQ(daemon->error().waitForEnd(), "");
}

TEST_F(Connection, IsClosedByAResetAsWell) {
    start();
    set(R"({"systemName":"unread"})");
    bus.waitUntilRead();
    EXPECT_EQ(greeting().front(), kLogin);  // dropping the old one resets it
    EXPECT_THAT(sentUntilNow(), IsEmpty());
}

class NoBus : public Connection {
  protected:
    NoBus() : Connection("Quorane") {}

    // Each failed attempt is one line, and nothing else is ever written.
    int attempts() {
        const std::string text = daemon->error().text();
        const auto count = text.size() / kRefused.size();
        EXPECT_EQ(text, repeated(kRefused, count));
        return static_cast<int>(count);
    }

    void waitForAttempt() {
        const int before = attempts();
        waitUntil([&] { return attempts() > before; }, "an attempt to connect");
    }

    Clock::duration timeOfAttempts(int count) {
        waitForAttempt();
        const Clock::time_point first = Clock::now();
        for (int i = 1; i < count; ++i) {
            waitForAttempt();
        }
        return Clock::now() - first;
    }

    // Has the next poll find something to announce.
    void moveCable() {
        cableIsIn_ = !cableIsIn_;
        pallframe::simulation::setCable(frame.tree(), "eth0", cableIsIn_);
        log.waitFor("ETHERNET STATUS CHANGED : eth0");
    }

  private:
    bool cableIsIn_ = true;
};

TEST_F(NoBus, IsTriedOnceASecondAndSaysWhyNot) {
    bus.stopListening();
    daemon.emplace();
    EXPECT_GT(timeOfAttempts(4), 2500ms);
}

// A burst of requests is answered into a socket that nobody listens to any more, and then each poll
// has something to announce: one a second, as the attempts.
TEST_F(NoBus, IsTriedOnceASecondWhateverIsSent) {
    start();
    log.waitFor("ETHERNET STATUS CHANGED : eth0, was:0, now:1");
    std::string requests;
    for (int i = 0; i < 2000; ++i) {
        requests += busFrame("[\"SET\", \"system\", 5, 0, 0]\n{\"param\":{\"active\":1}}");
    }
    bus.sendRaw(requests);
    bus.stopListening();
    bus.close();
    waitForAttempt();
    const int before = attempts();
    constexpr int kPolls = 5;
    for (int i = 0; i < kPolls; ++i) {
        moveCable();
    }
    EXPECT_GE(attempts() - before, kPolls - 2);
}

TEST_F(NoBus, IsFoundWithinTwoSecondsOfItsReturn) {
    start();
    log.waitFor("ETHERNET STATUS CHANGED : eth0, was:0, now:1");
    Clock::duration fastest = Clock::duration::max();
    for (int i = 0; i < 3; ++i) {  // the machine may be slow once
        bus.stopListening();
        bus.close();
        waitForAttempt();
        moveCable();
        bus.listen();
        const Clock::time_point back = Clock::now();
        EXPECT_EQ(greeting().front(), kLogin);
        fastest = std::min(fastest, Clock::now() - back);
    }
    EXPECT_LT(fastest, 2s);
}

TEST_F(NoBus, WhatChangedWithoutItIsNotAnnouncedLater) {
    bus.stopListening();
    daemon.emplace();
    log.waitFor("ETHERNET STATUS CHANGED : eth1, was:0, now:2");
    log.waitFor("oid=system.psu1Voltage");  // the next poll: all of the first has been announced
    bus.listen();
    EXPECT_EQ(greeting().front(), kLogin);
    std::vector<std::string> sent = sentUntilNow();
    for (const std::string& message : sent) {
        EXPECT_THAT(message, testing::Not(testing::HasSubstr("ethPort")));
    }
    EXPECT_EQ(valueOf("ethPort2Status"), "2");
}

// With a peer that takes in little and reads nothing, answers pile up on this side.
TEST_F(Connection, WhatIsQueuedDoesNotReachTheNextOne) {
    bus.setReceiveBuffer(4096);
    start();
    for (int i = 0; i < 2000; ++i) {
        bus.get("system", R"({"id":"old@5","param":{"objectName":["paramDescriptor"]}})");
    }
    bus.waitUntilRead();
    EXPECT_THAT(greeting(), ElementsAre(kLogin, subscriptions(R"([{"path":"system"}])"), kQuestion,
                                        announced(R"({"frameName":"QuoraneBrio"})")));
    EXPECT_THAT(sentUntilNow(), IsEmpty());
}

}  // namespace
