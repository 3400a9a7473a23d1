// The pair of controllers, as the bus tells of it and as the daemon follows.

#include "harness/held_program.h"
#include "on_product.h"

using namespace harness;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

namespace {

constexpr const char* kScript = "/vantor/bin/keli-ip-changed-restart.sh";
constexpr const char* kControlMode = "/vantor/etc/keliControlMode";
constexpr const char* kRemoteMode = "/vantor/etc/remoteQuoraneControlMode";

const std::string kQuestion =
    R"(["GET", "system", 8, 0, 0] {"id":"*","param":{"objectName":["kelMasterSystemDetails"]}})";

const LogLine kAddressChanged =
    info("keliIpAdressChanged message received. Restarting processes with updated Keli IP.\n");

std::string toldActive(const std::string& controller) {
    return R"(["SET", "system", 8, 0, 0] {"id":"*","param":{"kelActiveMaster":")" + controller +
           "\"}}";
}

const std::string kPrimaryLeads =
    R"({"primary":{"ipAddress":"10.0.0.1","present":true,"active":true,"version":"1.2"},)"
    R"("secondary":{"ipAddress":"10.0.0.2","present":true,"active":false,"version":"1.1"}})";
const std::string kSecondaryLeads =
    R"({"primary":{"ipAddress":"10.0.0.1","present":true,"active":false,"version":"1.2"},)"
    R"("secondary":{"ipAddress":"10.0.0.2","present":true,"active":true,"version":"1.1"}})";

class Redundancy : public OnProduct {
  protected:
    explicit Redundancy(std::string_view name = "Tessara-5ru") : OnProduct(name) { silencePoll(); }

    // As an answer to the daemon's question, or unasked.
    void answer(const std::string& details) const { tell("RSP", 8, details); }
    void announce(const std::string& details) const { tell("NOT", 0, details); }

    std::vector<std::string> valuesOf(const std::vector<std::string>& names) {
        std::vector<std::string> values;
        for (const std::string& name : names) {
            values.push_back(valueOf(name));
        }
        return values;
    }

  private:
    void tell(const char* type, int destination, const std::string& details) const {
        bus.send(type, "system", 0, destination,
                 R"({"id":"9@bus","param":{"kelMasterSystemDetails":)" + details + "}}");
    }
};

TEST_F(Redundancy, DetailsAreShownAndTheActiveControllerIsToldOf) {
    startAndSettle();
    answer(kPrimaryLeads);
    EXPECT_THAT(sentUntilNow(), ElementsAre(announced(R"({"activeKeli":0})"), toldActive("primary"),
                                            announced(R"({"primaryIPAddress":"10.0.0.1"})"),
                                            announced(R"({"primaryPresent":1})"),
                                            announced(R"({"primaryActive":1})"),
                                            announced(R"({"primaryVersion":"1.2"})"),
                                            announced(R"({"secondaryIPAddress":"10.0.0.2"})"),
                                            announced(R"({"secondaryPresent":1})"),
                                            announced(R"({"secondaryVersion":"1.1"})")));
    EXPECT_EQ(valueOf("secondaryActive"), "0");
    EXPECT_THAT(newCommands(), IsEmpty());
}

TEST_F(Redundancy, DetailsAreLogged) {
    startAndSettle();
    announce(R"({"primary":{"active":true}})");
    sentUntilNow();
    const std::string shown =
        R"({"primary":{"ipAddress":"","present":false,"active":true,"version":""},)"
        R"("secondary":{"ipAddress":"","present":false,"active":false,"version":""}})";
    EXPECT_THAT(
        newLog(),
        ElementsAreArray(joined(
            joined({debug("PallwatchService::handleSystemRsp - got paramObj"),
                    debug("PallwatchService::handleSystemRsp - recvd kelMasterSystemDetails : " +
                          shown)},
                   logOfChange("activeKeli", "0")),
            joined({debug("currentSystemState  activeKeli change detected")},
                   logOfChange("primaryActive", "1")))));
}

TEST_F(Redundancy, OnlyWhatChangedIsAnnounced) {
    startAndSettle();
    answer(kPrimaryLeads);
    EXPECT_THAT(sentUntilNow(), testing::SizeIs(9));
    announce(kPrimaryLeads);
    EXPECT_THAT(sentUntilNow(), IsEmpty());
    announce(kSecondaryLeads);
    EXPECT_THAT(
        sentUntilNow(),
        ElementsAre(announced(R"({"activeKeli":1})"), toldActive("secondary"),
                    announced(R"({"primaryActive":0})"), announced(R"({"secondaryActive":1})")));
}

TEST_F(Redundancy, WhatTheDetailsLeaveOutIsEmptyAndOff) {
    startAndSettle();
    answer(kSecondaryLeads);
    sentUntilNow();
    announce(R"({"primary":{"present":1,"active":"true","version":7},"secondary":7})");
    EXPECT_THAT(
        sentUntilNow(),
        ElementsAre(announced(R"({"primaryIPAddress":""})"), announced(R"({"primaryPresent":0})"),
                    announced(R"({"primaryVersion":""})"),
                    announced(R"({"secondaryIPAddress":""})"),
                    announced(R"({"secondaryPresent":0})"), announced(R"({"secondaryActive":0})"),
                    announced(R"({"secondaryVersion":""})")));
}

TEST_F(Redundancy, DetailsThatAreNoneChangeNothing) {
    startAndSettle();
    answer(kPrimaryLeads);
    sentUntilNow();
    mark();
    for (const char* details : {"null", "7", "\"primary\"", "[]", "true"}) {
        announce(details);
    }
    bus.send("NOT", "system", 0, 0, R"({"id":"9@bus","param":{"other":1}})");
    bus.send("NOT", "system", 0, 0, R"({"id":"9@bus"})");
    EXPECT_THAT(sentUntilNow(), IsEmpty());
    EXPECT_THAT(
        newLog(),
        testing::AllOf(testing::SizeIs(6),
                       testing::Each(debug("PallwatchService::handleSystemRsp - got paramObj"))));
    EXPECT_THAT(valuesOf({"activeKeli", "primaryVersion"}), ElementsAre("0", "\"1.2\""));
}

TEST_F(Redundancy, ACardThatBecomesActiveAsksAgainAndShowsWhatItKnew) {
    startAndSettle();
    answer(kPrimaryLeads);
    sentUntilNow();
    set(R"({"kelMasterState":"active"})");
    EXPECT_THAT(sentUntilNow(), ElementsAre(kQuestion, answered(404, "Not Found")));
    EXPECT_THAT(valuesOf({"activeKeli", "primaryIPAddress", "secondaryVersion"}),
                ElementsAre("0", "\"10.0.0.1\"", "\"1.1\""));
    answer(kPrimaryLeads);
    EXPECT_THAT(sentUntilNow(), IsEmpty());
}

TEST_F(Redundancy, WithAPrefixItShowsItsIdentityThere) {
    startAndSettle({"-p", "frameB"});
    set(R"({"kelMasterState":"active"})");
    EXPECT_THAT(sentUntilNow(),
                ElementsAre(kQuestion, announced(R"({"ipAddress":167772165})", "frameB.system"),
                            announced(R"({"frameName":"Studio frame"})", "frameB.system"),
                            answered(404, "Not Found")));
}

TEST_F(Redundancy, AnyOtherStateDoesNothing) {
    startAndSettle({"-p", "frameB"});
    for (const char* state : {"\"standby\"", "\"Active\"", "\"\"", "1", "true", "null"}) {
        set(std::string(R"({"kelMasterState":)") + state + "}");
        EXPECT_THAT(sentUntilNow(), ElementsAre(answered(404, "Not Found"))) << state;
    }
}

// The other card's address matters to a Tessara-5ru that both files make its partner.
class RemoteAddress : public Redundancy {
  protected:
    explicit RemoteAddress(std::string_view name = "Tessara-5ru") : Redundancy(name) {
        frame.write(kControlMode, "");
        frame.write(kRemoteMode, "");
    }

    // Tells of a change; gives what is logged of it. On the bus there is no sign of it.
    std::vector<LogLine> logOfChangedAddress(const std::string& value = "true") {
        mark();
        set(R"({"keliIpAdressChanged":)" + value + "}");
        EXPECT_THAT(sentUntilNow(), ElementsAre(answered(404, "Not Found")));
        std::vector<LogLine> lines = newLog();
        std::erase_if(lines, [](const LogLine& line) {
            return line.text.starts_with("AsyncTarnInternalClient::");
        });
        return lines;
    }
};

const LogLine kScriptFailed = error("Error restarting Tessara modules with new KELI IP - Success");
const LogLine kNotInControl =
    error("Received keliIpAdressChanged when not in KELI Control mode. Ignoring.");

TEST_F(RemoteAddress, RestartsTheModules) {
    startAndSettle();
    EXPECT_THAT(logOfChangedAddress(), ElementsAre(kAddressChanged));
    EXPECT_THAT(newCommands(), ElementsAre(kScript));
}

TEST_F(RemoteAddress, RestartsThemWhateverTheCaseOfTheProduct) {
    frame.write("/tmp/eeprom", "PRODUCT=tessara-5RU\n");
    startAndSettle();
    EXPECT_THAT(logOfChangedAddress(), ElementsAre(kAddressChanged));
    EXPECT_THAT(newCommands(), ElementsAre(kScript));
}

TEST_F(RemoteAddress, TellsOfAScriptThatFails) {
    makeFail(frame, kScript);
    startAndSettle();
    EXPECT_THAT(logOfChangedAddress(), ElementsAre(kAddressChanged, kScriptFailed));
    EXPECT_THAT(newCommands(), ElementsAre(kScript)) << "once";
}

TEST_F(RemoteAddress, TellsOfAScriptThatIsMissing) {
    frame.remove(kScript);
    startAndSettle();
    EXPECT_THAT(logOfChangedAddress(), ElementsAre(kAddressChanged, kScriptFailed));
}

TEST_F(RemoteAddress, IsIgnoredWithoutTheControlMode) {
    frame.remove(kControlMode);
    startAndSettle();
    EXPECT_THAT(logOfChangedAddress(), ElementsAre(kAddressChanged, kNotInControl));
    EXPECT_THAT(newCommands(), IsEmpty());
}

TEST_F(RemoteAddress, IsIgnoredWithoutTheRemoteMode) {
    frame.remove(kRemoteMode);
    startAndSettle();
    EXPECT_THAT(logOfChangedAddress(), ElementsAre(kAddressChanged, kNotInControl));
    EXPECT_THAT(newCommands(), IsEmpty());
}

TEST_F(RemoteAddress, HasToBeTrue) {
    startAndSettle();
    for (const char* value : {"false", "1", "\"true\"", "null", "{}"}) {
        EXPECT_THAT(logOfChangedAddress(value), IsEmpty()) << value;
        EXPECT_THAT(newCommands(), IsEmpty()) << value;
    }
}

TEST_F(RemoteAddress, IsAnsweredWhenTheScriptHasEnded) {
    startAndSettle();
    const HeldProgram script(frame, kScript);
    set(R"({"keliIpAdressChanged":true})");
    script.waitForCalls(1);
    EXPECT_THROW(bus.receive(Deadline(std::chrono::milliseconds(0))), TimedOut);
    EXPECT_EQ(newLog().back(), kAddressChanged);
    script.release();
    EXPECT_EQ(withoutId(bus.receive()), answered(404, "Not Found"));
}

// Whatever their places in the request are.
TEST_F(RemoteAddress, ComesAfterTheMasterStateAndBeforeTheParameters) {
    startAndSettle();
    set(R"({"systemState":{"active":true},"sshEnabled":0,"keliIpAdressChanged":true,)"
        R"("kelMasterState":"active"})");
    EXPECT_THAT(sentUntilNow(),
                ElementsAre(kQuestion, answered(404, "Not Found"), announced(R"({"sshEnabled":0})"),
                            answered(200, "OK"), answered(404, "Not Found"),
                            answered(404, "Not Found"), answered(200, "OK")));
    EXPECT_THAT(newCommands(), ElementsAre(kScript, "/etc/init.d/S50dropbear stop"));
}

class RemoteAddressElsewhere : public RemoteAddress,
                               public testing::WithParamInterface<const char*> {
  protected:
    RemoteAddressElsewhere() : RemoteAddress(GetParam()) {}
};

INSTANTIATE_TEST_SUITE_P(On, RemoteAddressElsewhere,
                         testing::Values("Quorane", "Tessara", "QuoraneBrio", "KELI"),
                         [](const auto& one) { return identifierOf(one.param); });

TEST_P(RemoteAddressElsewhere, IsLoggedOnly) {
    startAndSettle();
    EXPECT_THAT(logOfChangedAddress(), ElementsAre(kAddressChanged));
    EXPECT_THAT(newCommands(), IsEmpty());
}

}  // namespace
