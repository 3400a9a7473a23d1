// The object "system" on the bus: whom it answers, in which order, and in how many pieces. Every
// single exchange is in doc/bus-protocol.md, which is replayed by another test.

#include "harness/held_program.h"
#include "on_bus.h"

using namespace harness;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr const char* kUnknownMember = R"({"id":"1@5","param":{"nothing":1}})";
constexpr const char* kKnownName = R"({"id":"2@5","param":{"objectName":["systemName"]}})";

std::string valueAnswer(const std::string& param, const std::string& objectName = "system") {
    return R"(["RSP", ")" + objectName +
           R"(", 8, 5, 0] {"id":"*","requestCommand":"GET","statusCode":200,"statusMsg":"OK","param":)" +
           param + "}";
}

using Service = OnBus;

TEST_F(Service, IgnoresObjectsOfOthers) {
    start();
    for (const char* name : {"other.system", "systems", "System", "connection", "frameB.system",
                             " system", "systemname.system"}) {
        SCOPED_TRACE(name);
        bus.get(name, kKnownName);
        bus.set(name, kUnknownMember);
        EXPECT_THAT(sentUntilNow(), IsEmpty());
    }
}

// An unknown member is answered by whoever takes the message.
TEST_F(Service, TakesItsOwnObjectAndThoseBelow) {
    start();
    for (const char* name : {"system", "system.connection", "system.a.b", "system."}) {
        SCOPED_TRACE(name);
        bus.set(name, kUnknownMember);
        EXPECT_THAT(sentUntilNow(), ElementsAre(answered(404, "Not Found", name)));
    }
}

TEST_F(Service, TakesObjectsWithoutAFirstNameWhileThereIsNoPrefix) {
    start();
    for (const char* name : {"", ".", ".system"}) {
        SCOPED_TRACE(name);
        bus.set(name, kUnknownMember);
        EXPECT_THAT(sentUntilNow(), ElementsAre(answered(404, "Not Found", name)));
    }
}

TEST_F(Service, WithAPrefixTakesWhatBeginsWithIt) {
    start({"-p", "frameB"});
    for (const char* name : {"system", "frameB", "frameB.system", "frameB.other"}) {
        SCOPED_TRACE(name);
        bus.set(name, kUnknownMember);
        EXPECT_THAT(sentUntilNow(), ElementsAre(answered(404, "Not Found", name)));
    }
    for (const char* name : {"", ".system", "frameBB.system", "frame.system", "frameb.system"}) {
        SCOPED_TRACE(name);
        bus.set(name, kUnknownMember);
        EXPECT_THAT(sentUntilNow(), IsEmpty());
    }
}

// Only the first name of a path is compared, so such a prefix never matches.
TEST_F(Service, WithAPrefixOfTwoNamesStillServesItsOwn) {
    start({"-p", "rack.frameB"});
    bus.set("rack.frameB.system", kUnknownMember);
    bus.set("system", kUnknownMember);
    EXPECT_THAT(sentUntilNow(), ElementsAre(answered(404, "Not Found")));
}

TEST_F(Service, ValuesAreNotReadThroughThePrefix) {
    start({"-p", "frameB"});
    bus.get("frameB.system", kKnownName);
    bus.get("frameB.system", R"({"paramDescriptor":{"objectName":["systemName"]}})");
    EXPECT_EQ(bus.receive().objectName, "frameB.system");  // the descriptor, which renames
    bus.get("frameB.system", kKnownName);
    EXPECT_THAT(sentUntilNow(), IsEmpty());
}

// The descriptor that is asked for through the prefix renames the parameter, not its key.
TEST_F(Service, ASetIsLoggedWithTheNameThatWasLookedUp) {
    start({"-p", "frameB"});
    bus.get("frameB.system", R"({"id":"1@5","paramDescriptor":{"objectName":["systemName"]}})");
    EXPECT_EQ(bus.waitFor("RSP", "frameB.system")
                  .at({"paramDescriptor", "d_frameB.system.systemName", "oid"}),
              "\"frameB.system.systemName\"");
    for (const char* object : {"system", "frameB.system"}) {
        bus.set(object, R"({"id":"1@5","param":{"systemName":"Studio"}})");
        EXPECT_EQ(log.waitFor("System param Set: ").text,
                  "System param Set: system.systemName = Studio\n");
    }
}

TEST_F(Service, IgnoresMessagesOfOtherTypes) {
    start();
    for (const char* type : {"CMD", "CMDRSP", "CMDNOT", "ACK", "NAK", "DEL", "UPDATE"}) {
        SCOPED_TRACE(type);
        bus.send(type, "system", 5, 0, kUnknownMember);
        bus.send(type, "system", 5, 0, kKnownName);
        EXPECT_THAT(sentUntilNow(), IsEmpty());
    }
}

// The bus's own questions are answered by the client, and reach the object like all others.
TEST_F(Service, IsAskedWhetherItIsReadyBesidesItsValues) {
    start();
    bus.get("system", R"({"id":"1@5","param":{"objectName":["systemName","moduleReady"]}})");
    EXPECT_EQ(bus.receive().at({"param", "moduleReady", "ready"}), "false");
    EXPECT_THAT(sentUntilNow(), ElementsAre(valueAnswer(R"({"systemName":"System"})")));
    bus.get("system.connection", R"({"id":"1@5","param":{"objectName":["moduleReady"]}})");
    bus.get("system", R"({"id":"1@5","param":{"objectName":["ModuleReady"]}})");
    bus.get("system", R"({"id":"1@5","paramDescriptor":{"objectName":["moduleReady"]}})");
    EXPECT_THAT(sentUntilNow(), IsEmpty());
}

TEST_F(Service, HasNoAnswerToABareMasterState) {
    start();
    for (const char* type : {"RSP", "NOT"}) {
        bus.send(type, "system", 0, 8, R"({"id":"1@bus","param":{"kelMasterState":"active"}})");
        bus.send(type, "system", 0, 8, R"({"id":"1@bus","param":{"kelMasterState":7}})");
        bus.send(type, "system", 0, 8, R"({"id":"1@bus"})");
    }
    EXPECT_THAT(sentUntilNow(), IsEmpty());
    log.waitFor("handleSystemKelMasterStateRspMsg: [\"RSP\", \"system\", 0, 8, 0]\n");
}

TEST_F(Service, AnswersEachMemberInItsTurn) {
    start();
    set(R"({"systemState":{"active":false},"systemName":"Studio","nothing":1,)"
        R"("kelMasterState":"standby","frameName":7,"systemName":"Control"})");
    EXPECT_THAT(sentUntilNow(),
                ElementsAre(answered(404, "Not Found"),                                     //
                            announced(R"({"systemName":"Studio"})"), answered(200, "OK"),   //
                            answered(404, "Not Found"), answered(404, "Not Found"),         //
                            answered(400, "Bad Request"),                                   //
                            announced(R"({"systemName":"Control"})"), answered(200, "OK"),  //
                            answered(200, "OK")));
}

TEST_F(Service, AnswersWithTheRequestsId) {
    start();
    bus.set("system", R"({"id":"a \"b\"@c","param":{"nothing":1,"nobody":2}})");
    bus.set("system", R"({"param":{"nothing":1}})");
    EXPECT_EQ(bus.receive().at({"id"}), R"("a \"b\"@c")");
    EXPECT_EQ(bus.receive().at({"id"}), R"("a \"b\"@c")");
    EXPECT_EQ(bus.receive().id(), "");
}

TEST_F(Service, AnnouncesBeforeTheCommandAndAnswersAfterIt) {
    const HeldProgram report(frame, "/vantor/bin/briskel");
    start();
    set(R"({"generateReport":1})");
    report.waitForCalls(1);
    EXPECT_EQ(withoutId(bus.receive()), announced(R"({"generateReport":1})"));
    EXPECT_EQ(report.ended(), 0U);
    report.release();
    EXPECT_THAT(sentUntilNow(),
                ElementsAre(announced(R"({"generateReport":0})"), answered(200, "OK")));
    EXPECT_EQ(report.ended(), 1U);
}

// The command itself looks at what has come to the bus, which reads nothing meanwhile.
TEST_F(Service, TheAnnouncementIsWithTheBusWhenTheCommandBegins) {
    start();
    frame.writeProgram("/vantor/bin/briskel", "#!/bin/sh\ncat /proc/net/tcp >/run/connections\n");
    set(R"({"generateReport":1})");
    log.waitFor("System param Set: system.generateReport");  // the command is over
    const std::string announcement = bus.receivePayload();
    EXPECT_EQ(withoutId(parseBusMessage(announcement)), announced(R"({"generateReport":1})"));
    EXPECT_EQ(bus.unreadBytes(frame.read("/run/connections")),
              static_cast<long>(busFrame(announcement).size()));
}

// Each member's announcement is out before its own command, and what came before it is answered.
TEST_F(Service, EachMemberIsDoneBeforeTheNextBegins) {
    const HeldProgram report(frame, "/vantor/bin/briskel");
    const HeldProgram restart(frame, "/vantor/bin/restartNetworking.sh");
    start();
    set(R"({"generateReport":1,"restartNetwork":1})");
    report.waitForCalls(1);
    EXPECT_EQ(withoutId(bus.receive()), announced(R"({"generateReport":1})"));
    report.release();
    restart.waitForCalls(1);
    EXPECT_EQ(withoutId(bus.receive()), announced(R"({"generateReport":0})"));
    EXPECT_EQ(withoutId(bus.receive()), answered(200, "OK"));
    EXPECT_EQ(withoutId(bus.receive()), announced(R"({"restartNetwork":1})"));
    EXPECT_EQ(restart.ended(), 0U);
    restart.release();
    EXPECT_THAT(sentUntilNow(), ElementsAre(answered(200, "OK")));
    EXPECT_EQ(valueOf("restartNetwork"), "0");
}

TEST_F(Service, WhatIsAskedDuringACommandIsAnsweredAfterItInOrder) {
    const HeldProgram report(frame, "/vantor/bin/briskel");
    start();
    set(R"({"generateReport":1})");
    report.waitForCalls(1);
    bus.get("system", kKnownName);
    set(R"({"systemName":"Studio"})");
    bus.get("system", kKnownName);
    report.release();
    EXPECT_THAT(
        sentUntilNow(),
        ElementsAre(announced(R"({"generateReport":1})"), announced(R"({"generateReport":0})"),
                    answered(200, "OK"), valueAnswer(R"({"systemName":"System"})"),
                    announced(R"({"systemName":"Studio"})"), answered(200, "OK"),
                    valueAnswer(R"({"systemName":"Studio"})")));
}

// With Nagle's algorithm on, a second small write would wait for the acknowledgement of the first.
// So each of these has to be one write, which the kernel sends as one segment.
class Pieces : public OnBus {
  protected:
    using OnBus::OnBus;

    void SetUp() override {
        start();
        bus.acknowledgeLate();
        before = bus.dataSegments();
    }

    unsigned segments() const { return bus.dataSegments() - before; }

    unsigned before = 0;
};

TEST_F(Pieces, AnnouncementAndAnswerOfASetAreOne) {
    set(R"({"systemName":"Studio"})");
    EXPECT_EQ(withoutId(bus.receive()), announced(R"({"systemName":"Studio"})"));
    EXPECT_EQ(withoutId(bus.receive()), answered(200, "OK"));
    EXPECT_EQ(segments(), 1U);
}

TEST_F(Pieces, TheValuesOfThreeNamesAreOne) {
    bus.get("system",
            R"({"id":"1@5","param":{"objectName":["systemName","active","quoraneUsersEnabled"]}})");
    EXPECT_EQ(withoutId(bus.receive()), valueAnswer(R"({"systemName":"System"})"));
    EXPECT_EQ(withoutId(bus.receive()), valueAnswer(R"({"active":1})"));
    EXPECT_EQ(withoutId(bus.receive()), valueAnswer(R"({"quoraneUsersEnabled":1})"));
    EXPECT_EQ(segments(), 1U);
}

TEST_F(Pieces, TheAnswersToABurstAreOne) {
    constexpr int kRequests = 64;
    std::string burst;
    for (int i = 0; i < kRequests; ++i) {
        burst += busFrame("[\"GET\", \"system\", 5, 0, 0]\n{\"id\":\"" + std::to_string(i) +
                          R"(","param":{"objectName":["systemName"]}})");
    }
    ASSERT_LT(burst.size(), 8192U) << "one chunk for the reader";
    bus.sendRaw(burst);
    for (int i = 0; i < kRequests; ++i) {
        EXPECT_EQ(bus.receive().id(), std::to_string(i));
    }
    EXPECT_EQ(segments(), 1U);
}

// What leaves before a command cannot wait for what comes after it.
TEST_F(Pieces, ACommandMakesTwo) {
    set(R"({"sshEnabled":0})");
    EXPECT_EQ(withoutId(bus.receive()), announced(R"({"sshEnabled":0})"));
    EXPECT_EQ(withoutId(bus.receive()), answered(200, "OK"));
    EXPECT_EQ(segments(), 2U);
}

class PiecesOfAPoll : public Pieces {
  protected:
    PiecesOfAPoll() : Pieces("Quorane") {}
};

// The first poll finds the ports, the second one the voltages.
TEST_F(PiecesOfAPoll, EachIsOne) {
    EXPECT_EQ(withoutId(bus.receive()), announced(R"({"ethPort1Status":1})"));
    EXPECT_EQ(withoutId(bus.receive()), announced(R"({"ethPort2Status":2})"));
    for (const char* name : {"battVoltage", "psu1Voltage", "psu2Voltage"}) {
        EXPECT_NE(bus.receive().at({"param", name}), "") << name;
    }
    EXPECT_LE(segments(), 2U);
}

}  // namespace
