// What a set of each parameter does to the machine, seen from the listener's side.

#include <limits>

#include <gmock/gmock.h>

#include "system_state_fixture.h"

namespace systemstate {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

class Reactions : public SystemStateTest {
  protected:
    // Everything that happens from now on, in its order.
    void keepDiary() {
        state->setParamChanged_cb([this](const ToskParam& param) {
            noteLines();
            diary.push_back("announce " + param.oid().toString() + "=" + param.valueToString());
        });
        machine->setOnCommand([this](const std::string& command) {
            noteLines();
            diary.push_back("run " + command);
        });
    }

    std::vector<std::string> takeDiary() {
        noteLines();
        return std::exchange(diary, {});
    }

    void noteLines() {
        for (const Line& line : log.take()) {
            if (!line.text.starts_with("ToskParam::")) {
                diary.push_back("log " + line.text);
            }
        }
    }

    void setPort(std::size_t position, PortStatus status) {
        state->ethernetPorts()[position].status.set(status);
    }

    std::vector<std::string> diary;
};

TEST_F(Reactions, TraceThenAnnouncementThenCommand) {
    run();
    keepDiary();
    set("system.sshEnabled", "0");
    EXPECT_THAT(takeDiary(),
                ElementsAre("log SystemState::valueChanged, "
                            "oid=system.sshEnabled, val=0",
                            "announce system.sshEnabled=0", "run /etc/init.d/S50dropbear stop",
                            "log SSH server stopped in Tessara, rv: 0\n"));
}

TEST_F(Reactions, TraceIsADebugLine) {
    run();
    set("system.systemName", "\"Studio\"");
    EXPECT_THAT(log.take(),
                testing::Contains(Line{
                    LOG_DEBUG, "SystemState::valueChanged, oid=system.systemName, val=Studio"}));
}

TEST_F(Reactions, WithoutObserverTheChangeIsCarriedOutAllTheSame) {
    boot();
    machine->take();
    set("system.sshEnabled", "0");
    EXPECT_THAT(machine->take(), ElementsAre("/etc/init.d/S50dropbear stop"));
}

TEST_F(Reactions, TextFromTheBusReachesTheLogAsItIs) {
    run();
    set("system.systemName", "\"%s%n%m\"");
    EXPECT_THAT(log.take(),
                testing::Contains(Line{
                    LOG_DEBUG, "SystemState::valueChanged, oid=system.systemName, val=%s%n%m"}));
}

TEST_F(Reactions, MostParametersAreOnlyAnnounced) {
    run();
    for (const auto& [key, json] : std::initializer_list<std::pair<const char*, const char*>>{
             {"system.frameName", "\"Bay 3\""},
             {"system.systemName", "\"Studio\""},
             {"system.active", "0"},
             {"system.quoraneProfilesEnabled", "1"},
             {"system.quoraneUsersEnabled", "0"},
             {"system.version", "\"9\""},
             {"system.frameType", "9"},
             {"system.ethPort1Status", "2"},
             {"system.psu1Voltage", "12.5"},
             {"system.battVoltage", "3"},
             {"system.pcbRevision", "9"},
             {"system.activeKeli", "0"},
             {"system.primaryVersion", "\"9\""}}) {
        EXPECT_EQ(printedBySet(key, json), "") << key;
        EXPECT_EQ(announced.size(), 1U) << key;
        announced.clear();
    }
    EXPECT_THAT(machine->take(), IsEmpty());
    EXPECT_THAT(linesAboveDebug(), IsEmpty());
}

// Reactions go by the identifier that a parameter carries.
TEST_F(Reactions, RenamedParameterIsOnlyAnnounced) {
    run();
    state->findParam("system.sshEnabled")
        ->setOid(ToskOID::fromParts("frameB.system", "sshEnabled"));
    set("system.sshEnabled", "0");
    EXPECT_THAT(announced, ElementsAre("frameB.system.sshEnabled=0"));
    EXPECT_THAT(machine->take(), IsEmpty());
}

TEST_F(Reactions, ActiveEthernetAsksForTheSwap) {
    run();
    setPort(0, PortStatus::active);
    setPort(1, PortStatus::linkUp);
    set("system.activeEthernet", "1");
    EXPECT_THAT(machine->take(), ElementsAre("/sbin/ifenslave --change-active bond0 eth1"));
    EXPECT_EQ(valueOf("system.activeEthernet"), "1");
}

TEST_F(Reactions, ActiveEthernetAsksAlsoForAPortThatIsDown) {
    run();
    set("system.activeEthernet", "0");
    EXPECT_THAT(machine->take(), ElementsAre("/sbin/ifenslave --change-active bond0 eth0"));
}

TEST_F(Reactions, ActiveEthernetOfTheActivePortAsksForNothing) {
    run();
    setPort(1, PortStatus::active);
    set("system.activeEthernet", "1");
    EXPECT_THAT(machine->take(), IsEmpty());
    EXPECT_THAT(announced, ElementsAre("system.activeEthernet=1"));
}

TEST_F(Reactions, ActiveEthernetOnAnotherProductKeepsTheValueAndLogs) {
    run("Tessara");
    set("system.activeEthernet", "1");
    EXPECT_THAT(machine->take(), IsEmpty());
    EXPECT_EQ(valueOf("system.activeEthernet"), "1");
    EXPECT_THAT(
        linesAboveDebug(),
        ElementsAre(Line{LOG_ERR, "Active ethernet port swapover not supported on Tessara\n"}));
}

class InvalidActiveEthernet : public Reactions, public testing::WithParamInterface<const char*> {};

TEST_P(InvalidActiveEthernet, IsPutBackAndAnnouncedAgain) {
    run();
    setPort(1, PortStatus::active);
    keepDiary();
    set("system.activeEthernet", GetParam());
    const std::string asked = std::to_string(std::stoll(GetParam()));
    EXPECT_THAT(
        takeDiary(),
        ElementsAre("log SystemState::valueChanged, oid=system.activeEthernet, val=" + asked,
                    "announce system.activeEthernet=" + asked,
                    "log Set Active Ethernet invalid interface index: " + asked + "\n",
                    "announce system.activeEthernet=1"));
    EXPECT_EQ(valueOf("system.activeEthernet"), "1");
}

TEST_P(InvalidActiveEthernet, IsLoggedAsInformation) {
    run();
    set("system.activeEthernet", GetParam());
    EXPECT_THAT(linesAboveDebug(),
                ElementsAre(Line{LOG_INFO, "Set Active Ethernet invalid interface index: " +
                                               std::to_string(std::stoll(GetParam())) + "\n"}));
    EXPECT_EQ(valueOf("system.activeEthernet"), "0");
}

INSTANTIATE_TEST_SUITE_P(Indices, InvalidActiveEthernet,
                         testing::Values("2", "-1", "4294967296", "-9223372036854775808"));

struct SwitchCase {
    const char* name;
    const char* product;
    const char* key;
    const char* json;
    std::vector<std::string> commands;
};

class SwitchReaction : public Reactions, public testing::WithParamInterface<SwitchCase> {};

TEST_P(SwitchReaction, RunsTheCommandsOfTheEdition) {
    run(GetParam().product);
    set(GetParam().key, GetParam().json);
    EXPECT_EQ(machine->take(), GetParam().commands);
}

const std::vector<std::string> kStopBrioAmbrix = {"pkill ambrixsrvtst", "pkill brio-ambrix-shu"};
const std::vector<std::string> kStopTessaraAmbrix = {
    "/etc/init.d/S81ambrix stop", "pkill -f '/bin/sh /vantor/bin/ambrix-shutoff.sh'"};
const std::vector<std::string> kStartBrioAmbrix = {"pkill ambrixsrvtst", "pkill brio-ambrix-shu",
                                                   "/vantor/bin/ambrixsrvlaunch.sh &",
                                                   "/vantor/bin/brio-ambrix-shutoff.sh &"};
const std::vector<std::string> kStartTessaraAmbrix = {
    "/etc/init.d/S81ambrix stop", "pkill -f '/bin/sh /vantor/bin/ambrix-shutoff.sh'",
    "/etc/init.d/S81ambrix start &", "/vantor/bin/ambrix-shutoff.sh &"};

std::string switchName(const testing::TestParamInfo<SwitchCase>& info) {
    return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(
    Table, SwitchReaction,
    testing::Values(
        SwitchCase{
            "SshOffBrio", "quoranebrio", "system.sshEnabled", "0", {"sudo systemctl stop ssh"}},
        SwitchCase{
            "SshOnBrio", "QuoraneBrio", "system.sshEnabled", "1", {"sudo systemctl start ssh"}},
        SwitchCase{
            "SshOffQuorane", "Quorane", "system.sshEnabled", "0", {"/etc/init.d/S50dropbear stop"}},
        SwitchCase{
            "SshOnKeli", "KELI", "system.sshEnabled", "1", {"/etc/init.d/S50dropbear restart"}},
        SwitchCase{"SshOnByAnyNumberButZero",
                   "Tessara",
                   "system.sshEnabled",
                   "-4294967296",
                   {"/etc/init.d/S50dropbear restart"}},
        SwitchCase{
            "FtpOffBrio", "QuoraneBrio", "system.ftpEnabled", "0", {"sudo systemctl stop vsftpd"}},
        SwitchCase{
            "FtpOnBrio", "QuoraneBrio", "system.ftpEnabled", "1", {"sudo systemctl start vsftpd"}},
        SwitchCase{
            "FtpOffTessara", "Tessara", "system.ftpEnabled", "0", {"/etc/init.d/S56tcpsvd stop"}},
        SwitchCase{"FtpOnTessara",
                   "Tessara-5ru",
                   "system.ftpEnabled",
                   "1",
                   {"/etc/init.d/S56tcpsvd restart"}},
        SwitchCase{"AmbrixOffBrio", "QuoraneBrio", "system.ambrixEnabled", "0", kStopBrioAmbrix},
        SwitchCase{"AmbrixOnBrio", "QuoraneBrio", "system.ambrixEnabled", "1", kStartBrioAmbrix},
        SwitchCase{"AmbrixOffTessara", "Tessara", "system.ambrixEnabled", "0", kStopTessaraAmbrix},
        SwitchCase{"AmbrixOnQuorane", "Quorane", "system.ambrixEnabled", "1", kStartTessaraAmbrix}),
    switchName);

TEST_F(Reactions, FailedSwitchKeepsTheValue) {
    run();
    machine->setResult("/etc/init.d/S50dropbear stop", 256, ENOENT);
    EXPECT_EQ(set("system.sshEnabled", "0"), 0);
    EXPECT_EQ(valueOf("system.sshEnabled"), "0");
    EXPECT_THAT(
        linesAboveDebug(),
        ElementsAre(Line{LOG_INFO, "SSH server stopped in Tessara, rv: 256\n"},
                    Line{LOG_ERR, "Error stopping SSH Server - No such file or directory"}));
}

TEST_F(Reactions, AmbrixStartedIsRememberedUntilThePollFindsItDisabled) {
    root.write("/vantor/etc/ambrixDisabled", "");
    run();
    EXPECT_FALSE(state->services().ambrixStarted());
    set("system.ambrixEnabled", "1");
    EXPECT_TRUE(state->services().ambrixStarted());
    set("system.ambrixEnabled", "0");
    EXPECT_TRUE(state->services().ambrixStarted());
    state->poll();
    EXPECT_FALSE(state->services().ambrixStarted());
}

TEST_F(Reactions, AmbrixIsMarkedAsStartedBeforeItIs) {
    root.write("/vantor/etc/ambrixDisabled", "");
    run();
    std::vector<bool> marked;
    machine->setOnCommand(
        [&](const std::string&) { marked.push_back(state->services().ambrixStarted()); });
    set("system.ambrixEnabled", "1");
    EXPECT_THAT(marked, ElementsAre(false, false, true, true));
}

TEST_F(Reactions, RestartNetworkSetTo0OnlyPrints) {
    run();
    EXPECT_EQ(printedBySet("system.restartNetwork", "0"),
              "system.restartNetwork changed, value:0\n");
    EXPECT_THAT(machine->take(), IsEmpty());
}

TEST_F(Reactions, RestartNetworkRunsAndGoesBackInPlace) {
    run();
    keepDiary();
    EXPECT_EQ(printedBySet("system.restartNetwork", "1"),
              "system.restartNetwork changed, value:1\n");
    EXPECT_THAT(takeDiary(), ElementsAre(StartsWith("log SystemState::valueChanged"),
                                         "announce system.restartNetwork=1",
                                         "run /vantor/bin/restartNetworking.sh"));
    EXPECT_EQ(valueOf("system.restartNetwork"), "0");
}

TEST_F(Reactions, RestartNetworkFailureIsLoggedAndTheValueGoesBackAllTheSame) {
    run();
    machine->setResult("/vantor/bin/restartNetworking.sh", 32512, ENOENT);
    EXPECT_EQ(printedBySet("system.restartNetwork", "-7"),
              "system.restartNetwork changed, value:-7\n");
    EXPECT_THAT(
        linesAboveDebug(),
        ElementsAre(Line{LOG_ERR, "Error restarting networking - No such file or directory"}));
    EXPECT_EQ(valueOf("system.restartNetwork"), "0");
}

TEST_F(Reactions, GenerateReportSetTo0OnlyPrints) {
    run();
    EXPECT_EQ(printedBySet("system.generateReport", "0"),
              "system.generateReport changed, value:0\n");
    EXPECT_THAT(machine->take(), IsEmpty());
}

TEST_F(Reactions, GenerateReportRunsAndGoesBackThroughTheModel) {
    run();
    keepDiary();
    EXPECT_EQ(printedBySet("system.generateReport", "1"),
              "system.generateReport changed, value:1\n"
              "system.generateReport changed, value:0\n");
    EXPECT_THAT(takeDiary(),
                ElementsAre("log SystemState::valueChanged, oid=system.generateReport, val=1",
                            "announce system.generateReport=1", "run /vantor/bin/briskel easy",
                            "log SystemState::valueChanged, oid=system.generateReport, val=0",
                            "announce system.generateReport=0"));
    EXPECT_EQ(valueOf("system.generateReport"), "0");
}

TEST_F(Reactions, GenerateReportFailureIsLogged) {
    run();
    machine->setResult("/vantor/bin/briskel easy", -1, EAGAIN);
    printedBySet("system.generateReport", "1");
    EXPECT_THAT(linesAboveDebug(),
                ElementsAre(Line{
                    LOG_ERR, "Error calling generateReport - Resource temporarily unavailable"}));
    EXPECT_EQ(valueOf("system.generateReport"), "0");
}

class SerialReaction : public Reactions, public testing::WithParamInterface<std::size_t> {};

TEST_P(SerialReaction, TakesTheConnection) {
    run();
    const std::string oid = state->serialPorts()[GetParam()].oid;
    EXPECT_EQ(printedBySet(oid, R"({"_d_connectionPoint":{"type":"STRING","value":"Router A"}})"),
              oid + " == " + oid + "\n");
    for (std::size_t i = 0; i < state->serialPorts().size(); ++i) {
        EXPECT_EQ(state->serialPorts()[i].connectionPoint, i == GetParam() ? "Router A" : "");
    }
    EXPECT_THAT(announced, ElementsAre(oid + "="));
}

INSTANTIATE_TEST_SUITE_P(Table, SerialReaction, testing::Values(0U, 1U, 2U));

// A state file can bring a switch with a value of another kind; it cannot bring anything down.
TEST_F(Reactions, SwitchRestoredAsAFloatWorksLikeAnyOther) {
    run();
    auto odd = std::make_unique<ToskParam>();
    odd->setOid(ToskOID("system.ambrixEnabled", 1));
    odd->setType(model::kTypeFloat);
    odd->setListener(state.get());
    state->device()->addParam(std::move(odd));
    EXPECT_EQ(set("system.ambrixEnabled", "0"), 0);
    EXPECT_THAT(machine->take(), SizeIs(2)) << "stopped";
    EXPECT_EQ(set("system.ambrixEnabled", "1"), 0);
    EXPECT_THAT(machine->take(), SizeIs(4)) << "stopped and started";
}

TEST_F(Reactions, SwitchThatIsNoNumberSwitchesNothing) {
    run();
    auto odd = std::make_unique<ToskParam>();
    odd->setOid(ToskOID("system.ambrixEnabled", 1));
    odd->setType(model::kTypeString);
    odd->setListener(state.get());
    state->device()->addParam(std::move(odd));
    EXPECT_EQ(set("system.ambrixEnabled", "\"on\""), 0);
    EXPECT_THAT(announced, ElementsAre("system.ambrixEnabled=on"));
    EXPECT_THAT(machine->take(), IsEmpty());
}

}  // namespace

}  // namespace systemstate
