#include "service/redundant_controllers.h"

#include <syslog.h>

#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "service_fixture.h"

namespace pallwatch {

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;
using Line = CapturedLog::Line;

constexpr const char* kAskForDetails =
    "[\"GET\", \"system\", 0, 0, 0]\n"
    R"({"id":"own","param":{"objectName":["kelMasterSystemDetails"]}})";
constexpr const char* kNotFound =
    "[\"RSP\", \"system\", 0, 5, 0]\n"
    R"({"id":"7@x","requestCommand":"SET","statusCode":404,"statusMsg":"Not Found"})";

std::string notification(const std::string& object, const std::string& param) {
    return "[\"NOT\", \"" + object + "\", 0, 0, 0]\n{\"id\":\"own\",\"param\":" + param + "}";
}

std::string activeMaster(const std::string& which) {
    return "[\"SET\", \"system\", 0, 0, 0]\n{\"id\":\"own\",\"param\":{\"kelActiveMaster\":\"" +
           which + "\"}}";
}

class RedundantControllersTest : public ServiceFixture {
  protected:
    void SetUp() override { start("Quorane", ""); }

    void details(const std::string& text, const std::string& type = "RSP") {
        controllers().handleSystemRsp(received(
            type, "system", R"({"id":"9@bus","param":{"kelMasterSystemDetails":)" + text + "}}"));
    }
    std::string value(const std::string& leaf) {
        return state().findParam("system." + leaf)->valueToString();
    }
};

TEST_F(RedundantControllersTest, DetailsOfAnActivePrimaryAlone) {
    details(R"({"primary":{"ipAddress":"10.0.0.1","present":true,"active":true,"version":"1.2"}})");
    EXPECT_EQ(value("activeKeli"), "0");
    EXPECT_EQ(value("primaryIPAddress"), "10.0.0.1");
    EXPECT_EQ(value("primaryPresent"), "1");
    EXPECT_EQ(value("primaryActive"), "1");
    EXPECT_EQ(value("primaryVersion"), "1.2");
    EXPECT_EQ(value("secondaryIPAddress"), "");
    EXPECT_EQ(value("secondaryPresent"), "0");
    EXPECT_EQ(value("secondaryActive"), "0");
    EXPECT_EQ(value("secondaryVersion"), "");
    // At the start nobody is active, which reads as the secondary: the primary is a change, told to
    // the bus behind its announcement.
    EXPECT_THAT(takeSent(),
                ElementsAre(notification("system", R"({"activeKeli":0})"), activeMaster("primary"),
                            notification("system", R"({"primaryIPAddress":"10.0.0.1"})"),
                            notification("system", R"({"primaryPresent":1})"),
                            notification("system", R"({"primaryActive":1})"),
                            notification("system", R"({"primaryVersion":"1.2"})")));
}

TEST_F(RedundantControllersTest, TakeoverByTheSecondaryIsAnnouncedAndAskedFor) {
    details(R"({"primary":{"present":true,"active":true}})");
    takeSent();
    details(R"({"primary":{"present":true},"secondary":{"present":true,"active":true}})", "NOT");
    EXPECT_THAT(takeSent(), ElementsAre(notification("system", R"({"activeKeli":1})"),
                                        activeMaster("secondary"),
                                        notification("system", R"({"primaryActive":0})"),
                                        notification("system", R"({"secondaryPresent":1})"),
                                        notification("system", R"({"secondaryActive":1})")));
}

TEST_F(RedundantControllersTest, SameDetailsAgainChangeNothing) {
    details(R"({"primary":{"active":true}})");
    takeSent();
    details(R"({"primary":{"active":true}})");
    EXPECT_THAT(takeSent(), IsEmpty());
}

TEST_F(RedundantControllersTest, NumberIsNotTrue) {
    details(R"({"primary":{"present":1,"active":1}})");
    EXPECT_EQ(value("primaryPresent"), "0");
    EXPECT_EQ(value("activeKeli"), "1");
}

TEST_F(RedundantControllersTest, DetailsAreLoggedAsTheyWereUnderstood) {
    details(R"({"secondary":{"version":"2"}})");
    EXPECT_THAT(
        logged(LOG_DEBUG),
        Contains(
            Line{LOG_DEBUG,
                 "PallwatchService::handleSystemRsp - recvd kelMasterSystemDetails : "
                 R"({"primary":{"ipAddress":"","present":false,"active":false,"version":""},)"
                 R"("secondary":{"ipAddress":"","present":false,"active":false,"version":"2"}})"}));
}

TEST_F(RedundantControllersTest, OtherAnswersEndSilentlyBehindTheFirstTrace) {
    controllers().handleSystemRsp(received("RSP", "system", R"({"param":{"somethingElse":1}})"));
    EXPECT_THAT(log_.take(),
                ElementsAre(Line{LOG_DEBUG, "PallwatchService::handleSystemRsp - got paramObj"}));
    controllers().handleSystemRsp(received("RSP", "system", R"({"id":"1"})"));
    controllers().handleSystemRsp(received("RSP", "system", "garbage"));
    EXPECT_THAT(takeSent(), IsEmpty());
}

TEST_F(RedundantControllersTest, DetailsThatAreNoObjectEndSilently) {
    details(R"({"primary":{"active":true}})");
    takeSent();
    for (const char* text : {"null", "[]", "\"primary\"", "true", "1"}) {
        details(text);
    }
    EXPECT_THAT(takeSent(), IsEmpty());
    EXPECT_EQ(value("primaryActive"), "1");
}

TEST_F(RedundantControllersTest, StandbyOnlyGetsTheResponseForItsMember) {
    set("system", R"({"kelMasterState":"standby"})");
    EXPECT_THAT(takeSent(), ElementsAre(kNotFound));
}

TEST_F(RedundantControllersTest, BecomingActiveAsksForTheDetailsAndForgetsThePair) {
    details(R"({"primary":{"active":true,"version":"1"}})");
    takeSent();
    set("system", R"({"kelMasterState":"active"})");
    EXPECT_THAT(takeSent(), ElementsAre(kAskForDetails, kNotFound));
    EXPECT_EQ(state().masterDetails().primary.version, "");
    EXPECT_EQ(value("primaryVersion"), "1") << "what is published stays until the next details";
}

TEST_F(RedundantControllersTest, OnlyTheExactTextBecomesActive) {
    set("system", R"({"kelMasterState":"Active"})");
    set("system", R"({"kelMasterState":true})");
    set("system", R"({"KelMasterState":"active"})");
    EXPECT_THAT(takeSent(), ElementsAre(kNotFound, kNotFound, kNotFound));
}

class RedundantControllersTunnelled : public ServiceFixture {
  protected:
    void SetUp() override { start("Quorane", "frameB"); }
};

TEST_F(RedundantControllersTunnelled, BecomingActiveAnnouncesTheIdentityUnderTheTunnelledName) {
    set("system", R"({"kelMasterState":"active"})");
    EXPECT_THAT(
        takeSent(),
        ElementsAre(kAskForDetails, notification("frameB.system", R"({"ipAddress":167772165})"),
                    notification("frameB.system", R"({"frameName":"Quorane"})"), kNotFound));
}

TEST_F(RedundantControllersTunnelled, ActiveControllerFollowsBothAnnouncements) {
    set("system", R"({"activeKeli":0})");
    EXPECT_THAT(takeSent(), ElementsAre(notification("system", R"({"activeKeli":0})"),
                                        notification("frameB.system", R"({"activeKeli":0})"),
                                        activeMaster("primary"), testing::HasSubstr("200")));
}

TEST_F(RedundantControllersTest, AnyOtherNumberIsTheSecondary) {
    set("system", R"({"activeKeli":-3})");
    EXPECT_THAT(takeSent(), Contains(activeMaster("secondary")));
    EXPECT_THAT(log_.lines(),
                Contains(Line{LOG_DEBUG, "currentSystemState  activeKeli change detected"}));
}

TEST_F(RedundantControllersTest, ValueThatIsNoIntegerTellsTheBusNothing) {
    ToskParam param;
    param.setOid(ToskOID("system.activeKeli", 1));
    controllers().announceActiveController(param);
    param.setValue(std::make_shared<ToskStringValue>("0"));
    controllers().announceActiveController(param);
    EXPECT_THAT(takeSent(), IsEmpty());
}

TEST_F(RedundantControllersTest, LeafAloneTellsTheActiveController) {
    ToskParam param;
    param.setOid(ToskOID("elsewhere.activeKeli", 1));
    param.setValue(std::make_shared<ToskIntegerValue>(0));
    controllers().announceActiveController(param);
    EXPECT_THAT(takeSent(), ElementsAre(activeMaster("primary")));
}

// A change of the remote controller's address.
class RemoteAddress : public ServiceFixture {
  protected:
    void startInControlMode(const std::string& product) {
        root_.write("/vantor/etc/keliControlMode", "");
        root_.write("/vantor/etc/remoteQuoraneControlMode", "");
        start(product, "");
    }
    void change(const std::string& value = "true") {
        set("system", "{\"keliIpAdressChanged\":" + value + "}");
    }

    const Line restarting_{
        LOG_INFO,
        "keliIpAdressChanged message received. Restarting processes with updated "
        "Keli IP.\n"};
    const Line ignoring_{LOG_ERR,
                         "Received keliIpAdressChanged when not in KELI Control mode. Ignoring."};
    static constexpr const char* kScript = "/vantor/bin/keli-ip-changed-restart.sh";
};

TEST_F(RemoteAddress, InControlModeTheModulesAreRestarted) {
    startInControlMode("tessara-5RU");
    change();
    EXPECT_THAT(machine_.take(), ElementsAre(kScript));
    EXPECT_THAT(logged(LOG_INFO), ElementsAre(restarting_));
    EXPECT_THAT(logged(LOG_ERR), IsEmpty());
    EXPECT_THAT(takeSent(), ElementsAre(kNotFound));
}

TEST_F(RemoteAddress, ScriptThatFailsIsLoggedAndNotTriedAgain) {
    startInControlMode("Tessara-5ru");
    machine_.setResult(kScript, 256);
    change();
    EXPECT_THAT(machine_.take(), SizeIs(1));
    ASSERT_THAT(logged(LOG_ERR), SizeIs(1));
    EXPECT_THAT(logged(LOG_ERR)[0].text,
                testing::StartsWith("Error restarting Tessara modules with new KELI IP - "));
}

TEST_F(RemoteAddress, EitherModeFileMissingIsLoggedAndIgnored) {
    for (const char* missing :
         {"/vantor/etc/keliControlMode", "/vantor/etc/remoteQuoraneControlMode"}) {
        startInControlMode("Tessara-5ru");
        root_.remove(missing);
        log_.take();
        change();
        EXPECT_THAT(logged(LOG_ERR), ElementsAre(ignoring_));
        EXPECT_THAT(machine_.take(), IsEmpty());
    }
}

TEST_F(RemoteAddress, OtherProductsOnlyLogTheMessage) {
    for (const char* product : {"Tessara", "Quorane", "QuoraneBrio", "KELI"}) {
        startInControlMode(product);
        change();
        EXPECT_THAT(logged(LOG_INFO), ElementsAre(restarting_));
        EXPECT_THAT(logged(LOG_ERR), IsEmpty());
        EXPECT_THAT(machine_.take(), IsEmpty());
    }
}

TEST_F(RemoteAddress, OnlyJsonTrueUnderTheExactKeyCounts) {
    startInControlMode("Tessara-5ru");
    change("1");
    change("\"true\"");
    change("false");
    set("system", R"({"keliIpAddressChanged":true})");
    EXPECT_THAT(logged(LOG_INFO), Not(Contains(restarting_)));
    EXPECT_THAT(takeSent(), ElementsAre(kNotFound, kNotFound, kNotFound, kNotFound));
}

TEST_F(RemoteAddress, MasterStateComesFirstThenTheAddressThenTheMembers) {
    startInControlMode("Tessara-5ru");
    set("system", R"({"systemName":"x","keliIpAdressChanged":true,"kelMasterState":"active"})");
    EXPECT_THAT(takeSent(),
                ElementsAre(kAskForDetails, notification("system", R"({"systemName":"x"})"),
                            testing::HasSubstr("200"), kNotFound, kNotFound));
}

}  // namespace

}  // namespace pallwatch
