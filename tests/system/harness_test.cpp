#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/socket.h>
#include <syslog.h>
#include <unistd.h>

#include <chrono>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "harness/bus_peer.h"
#include "harness/process.h"
#include "harness/syslog_receiver.h"

using namespace harness;
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::ThrowsMessage;

namespace {

Process shell(const std::string& script) {
    return Process({"sh", "-c", script});
}

TEST(Process, CollectsBothOutputsAndTheStatus) {
    Process process = shell("echo out; echo error >&2; exit 7");
    EXPECT_EQ(process.waitForEnd(), 7);
    EXPECT_EQ(process.output().waitForEnd(), "out\n");
    EXPECT_EQ(process.error().waitForEnd(), "error\n");
}

TEST(Process, WaitsForATextWhileItRuns) {
    Process process = shell("echo ready; exec sleep 100");
    process.output().waitFor("ready\n");
    process.signal(SIGTERM);
    EXPECT_EQ(process.waitForEnd(), 128 + SIGTERM);
}

TEST(Process, AProgramThatIsNotThereEndsWith127) {
    Process process({"/no/such/program"});
    EXPECT_EQ(process.waitForEnd(), 127);
}

TEST(Process, AMissingTextIsReportedWithWhatCame) {
    Process process = shell("echo something else");
    EXPECT_THAT([&] { process.output().waitFor("this"); },
                ThrowsMessage<TimedOut>(HasSubstr("something else")));
}

TEST(Process, WaitingForTheEndHasADeadline) {
    Process process = shell("exec sleep 100");
    EXPECT_THROW(process.waitForEnd(Deadline(10ms)), TimedOut);
}

TEST(Process, ADescendantThatRunsOnHoldsNobodyUp) {
    Process process = shell("sleep 1000 & echo started");
    EXPECT_EQ(process.waitForEnd(), 0);
    process.output().waitFor("started");
    EXPECT_THROW(process.output().waitForEnd(Deadline(10ms)), TimedOut);
}

TEST(Process, ShowsItsDescriptors) {
    Process process = shell("exec 5</etc/hosts; echo ready; exec sleep 100");
    process.output().waitFor("ready");
    waitUntil([&] { return process.descriptors().size() == 4; }, "four descriptors");
    EXPECT_THAT(process.descriptors(),
                ElementsAre("/dev/null", HasSubstr("pipe:"), HasSubstr("pipe:"), "/etc/hosts"));
}

TEST(LogLine, IsTakenApart) {
    const LogLine line = parseLogLine("<150>Nov 21 12:00:00 Pallwatch: ok\n");
    EXPECT_EQ(line, (LogLine{LOG_INFO, LOG_LOCAL2, "Pallwatch", "ok\n"}));
    EXPECT_EQ(parseLogLine("<11>Jan  1 00:00:00 prog[12]: a: b"),
              (LogLine{LOG_ERR, LOG_USER, "prog", "a: b"}));
}

TEST(LogLine, WhatIsNoneIsText) {
    EXPECT_EQ(parseLogLine("nonsense"), (LogLine{-1, -1, "", "nonsense"}));
    EXPECT_EQ(parseLogLine("<x>"), (LogLine{-1, -1, "", "<x>"}));
    EXPECT_EQ(parseLogLine("<12>"), (LogLine{LOG_WARNING, LOG_USER, "", ""}));
    EXPECT_EQ(parseLogLine(""), LogLine{});
}

TEST(SyslogReceiver, KeepsPriorityFacilityIdentAndText) {
    SyslogReceiver log;
    ::openlog("tester", 0, LOG_LOCAL2);
    ::syslog(LOG_INFO, "%s\n", "one");
    ::syslog(LOG_USER | LOG_CRIT, "two");
    log.waitFor("two");
    EXPECT_THAT(log.lines(), ElementsAre(LogLine{LOG_INFO, LOG_LOCAL2, "tester", "one\n"},
                                         LogLine{LOG_CRIT, LOG_USER, "tester", "two"}));
}

TEST(SyslogReceiver, WaitsInOrder) {
    SyslogReceiver log;
    ::syslog(LOG_INFO, "first");
    ::syslog(LOG_INFO, "second");
    EXPECT_EQ(log.waitFor("second").text, "second");
    EXPECT_THAT([&] { log.waitFor("first", Deadline(10ms)); },
                ThrowsMessage<TimedOut>(HasSubstr("second")));
}

TEST(SyslogReceiver, NoProgramWaitsOnAFullLog) {
    SyslogReceiver log;
    for (int i = 0; i < 5000; ++i) {
        ::syslog(LOG_DEBUG, "line %d", i);
    }
    log.waitFor("line 4999");
    EXPECT_EQ(log.lines().size(), 5000U);
}

TEST(SyslogReceiver, KnowsWhatWasNotLogged) {
    SyslogReceiver log;
    EXPECT_THAT(log.linesUntilNow(), IsEmpty());
    ::openlog("tester", 0, LOG_USER);
    for (int i = 0; i < 100; ++i) {
        ::syslog(LOG_INFO, "line");
        ASSERT_EQ(log.linesUntilNow().size(), static_cast<size_t>(i) + 1);
    }
}

TEST(SyslogReceiver, OnlyOneOwnsTheLog) {
    const SyslogReceiver log;
    EXPECT_THROW(SyslogReceiver(), std::system_error);
}

// A plain client of 127.0.0.1:15000.
class Client {
  public:
    Client() {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(15000);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        pallframe::simulation::check(
            ::connect(fd(), reinterpret_cast<sockaddr*>(&address), sizeof(address)), "connect");
    }
    int fd() const { return socket_.get(); }
    void send(const std::string& text) const {
        ASSERT_EQ(::send(fd(), text.data(), text.size(), MSG_NOSIGNAL),
                  static_cast<ssize_t>(text.size()));
    }
    void close() { socket_.close(); }

  private:
    pallframe::simulation::Descriptor socket_{::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)};
};

constexpr const char* kLogin =
    "[\"SET\", \"system.connection\", 8, 0, 0]\n"
    "{\"id\":\"0@12.ff\",\"param\":{\"login\":{\"name\":\"Pallwatch\",\"connID\":8}}}";

TEST(BusPeer, TakesAMessageApart) {
    const BusMessage message = parseBusMessage(kLogin);
    EXPECT_EQ(message.type, "SET");
    EXPECT_EQ(message.objectName, "system.connection");
    EXPECT_EQ(message.source, 8);
    EXPECT_EQ(message.destination, 0);
    EXPECT_EQ(message.id(), "0@12.ff");
    EXPECT_EQ(message.at({"param", "login", "name"}), "\"Pallwatch\"");
    EXPECT_EQ(message.at({"param", "login", "connID"}), "8");
    EXPECT_EQ(message.at({"param", "Login"}), "");
}

TEST(BusPeer, WhatIsNoMessageIsRefused) {
    EXPECT_THROW(parseBusMessage(""), std::runtime_error);
    EXPECT_THROW(parseBusMessage("[\"SET\", \"x\", 8, 0, 0]"), std::runtime_error);
    EXPECT_THROW(parseBusMessage("[\"SET\", \"x\", 8]\n{}"), std::runtime_error);
    EXPECT_THROW(parseBusMessage("{}\n{}"), std::runtime_error);
}

TEST(BusPeer, FramesAreCountedInBytes) {
    EXPECT_EQ(busFrame("ab"), "2:ab;");
    EXPECT_EQ(busFrame(""), "0:;");
}

TEST(BusPeer, ReadsFramesWhateverTheirPieces) {
    BusPeer bus;
    Client client;
    bus.accept();
    client.send("2:ab;3:x");
    EXPECT_EQ(bus.receivePayload(), "ab");
    client.send("yz;" + busFrame(kLogin));
    EXPECT_EQ(bus.receivePayload(), "xyz");
    EXPECT_EQ(bus.receive().type, "SET");
}

TEST(BusPeer, PassesOverWhatIsNotWaitedFor) {
    BusPeer bus;
    Client client;
    bus.accept();
    client.send(busFrame(kLogin) + busFrame("[\"NOT\", \"system\", 8, 0, 0]\n{}"));
    EXPECT_EQ(bus.waitFor("NOT", "system").data, "{}");
}

TEST(BusPeer, RefusesAMalformedFrame) {
    for (const char* bytes : {"2:ab,", "x2:ab;", ":;", "-1:a;"}) {
        BusPeer bus;
        Client client;
        bus.accept();
        client.send(bytes);
        EXPECT_THROW(bus.receivePayload(), std::runtime_error) << bytes;
    }
}

TEST(BusPeer, NoMessageAndNoConnectionTimeOut) {
    BusPeer bus;
    EXPECT_THROW(bus.accept(Deadline(10ms)), TimedOut);
    const Client client;
    bus.accept();
    EXPECT_THROW(bus.receive(Deadline(10ms)), TimedOut);
}

TEST(BusPeer, SeesTheOtherSideLeave) {
    BusPeer bus;
    Client client;
    bus.accept();
    client.send("2:ab;");
    client.close();
    bus.waitForClose();
    EXPECT_THROW(bus.receivePayload(), std::runtime_error);
}

TEST(BusPeer, SendsMessages) {
    BusPeer bus;
    const Client client;
    bus.accept();
    bus.get("system", "{}");
    bus.set("system", "{}");
    const std::string expected =
        "29:[\"GET\", \"system\", 5, 0, 0]\n{};29:[\"SET\", \"system\", 5, 0, 0]\n{};";
    std::string received(expected.size(), '\0');
    ASSERT_EQ(::recv(client.fd(), received.data(), received.size(), MSG_WAITALL),
              static_cast<ssize_t>(expected.size()));
    EXPECT_EQ(received, expected);
}

TEST(BusPeer, RefusesConnectionsUntilItListensAgain) {
    BusPeer bus;
    bus.stopListening();
    EXPECT_THROW(Client(), std::system_error);
    bus.listen();
    const Client client;
    EXPECT_NO_THROW(bus.accept());
}

}  // namespace
