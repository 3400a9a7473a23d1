#include "service/system_object.h"

#include <sys/stat.h>
#include <syslog.h>

#include <new>
#include <set>
#include <string>
#include <tuple>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "model/tosk_device.h"
#include "service_fixture.h"

namespace pallwatch {

namespace {

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;
using testing::StartsWith;
using Line = CapturedLog::Line;

std::string response(const std::string& command, const std::string& rest,
                     const std::string& object = "system") {
    return "[\"RSP\", \"" + object + "\", 0, 5, 0]\n{\"id\":\"7@x\",\"requestCommand\":\"" +
           command + "\"," + rest + "}";
}

std::string status(int code, const std::string& text) {
    return "\"statusCode\":" + std::to_string(code) + ",\"statusMsg\":\"" + text + "\"";
}

std::string setResponse(int code, const std::string& text, const std::string& object = "system") {
    return response("SET", status(code, text), object);
}

std::string notification(const std::string& object, const std::string& param) {
    return "[\"NOT\", \"" + object + "\", 0, 0, 0]\n{\"id\":\"own\",\"param\":" + param + "}";
}

class SystemObjectGet : public ServiceFixture {
  protected:
    void SetUp() override { start("Quorane", ""); }
};

TEST_F(SystemObjectGet, KnownNameIsAnsweredUnderItsLeaf) {
    get("system", R"({"id":"7@x","param":{"objectName":["ipAddress"]}})");
    EXPECT_THAT(takeSent(), ElementsAre(response(
                                "GET", status(200, "OK") + R"(,"param":{"ipAddress":167772165})")));
}

TEST_F(SystemObjectGet, EachNameHasItsOwnResponseInTheOrderOfTheRequest) {
    get("system", R"({"id":"7@x","param":{"objectName":["restartNetwork","systemName"]}})");
    EXPECT_THAT(
        takeSent(),
        ElementsAre(response("GET", status(200, "OK") + R"(,"param":{"restartNetwork":0})"),
                    response("GET", status(200, "OK") + R"(,"param":{"systemName":"System"})")));
}

TEST_F(SystemObjectGet, UnknownNamesAndItemsThatAreNoTextsGetNoAnswer) {
    get("system", R"({"id":"7@x","param":{"objectName":["nothing",7,null,["ipAddress"]]}})");
    EXPECT_THAT(takeSent(), IsEmpty());
}

TEST_F(SystemObjectGet, ListThatIsNoArrayGivesNothing) {
    get("system", R"({"id":"7@x","param":{"objectName":"ipAddress"}})");
    get("system", R"({"id":"7@x","param":{"objectName":{"a":"ipAddress"}}})");
    get("system", R"({"id":"7@x","param":["ipAddress"]})");
    get("system", R"({"id":"7@x"})");
    get("system", "no data at all");
    EXPECT_THAT(takeSent(), IsEmpty());
}

TEST_F(SystemObjectGet, EachNameIsAnsweredOnceHoweverOftenItIsListed) {
    get("system", R"({"id":"7@x","param":{"objectName":["netmask","systemName","netmask"]}})");
    EXPECT_THAT(takeSent(), ElementsAre(HasSubstr("netmask"), HasSubstr("systemName")));
    get("system", R"({"id":"7@x","paramDescriptor":{"objectName":["netmask","netmask"]}})");
    EXPECT_THAT(takeSent(), ElementsAre(AllOf(HasSubstr(R"({"d_system.netmask":)"),
                                              Not(HasSubstr(R"(,"d_system.netmask":)")))));
}

TEST_F(SystemObjectGet, NameParamDescriptorGivesTheWholeDevice) {
    get("system", R"({"id":"7@x","param":{"objectName":["paramDescriptor"]}})");
    const std::vector<std::string> sent = takeSent();
    ASSERT_THAT(sent, SizeIs(1));
    EXPECT_THAT(sent[0], StartsWith(response("GET", status(200, "OK")).substr(0, 60)));
    EXPECT_THAT(sent[0], HasSubstr(R"("param":{"paramDescriptor":{"type":"device","slot":0,)"));
    EXPECT_THAT(sent[0], HasSubstr(R"("d_system.frameName":{"oid":"system.frameName")"));
    EXPECT_THAT(sent[0], Not(HasSubstr("d_system.version")))
        << "live state is not in the descriptor";
}

TEST_F(SystemObjectGet, DescriptorsOfKnownNamesComeInOneResponse) {
    get("system",
        R"({"id":"7@x","paramDescriptor":{"objectName":["version","nothing","netmask"]}})");
    const std::vector<std::string> sent = takeSent();
    ASSERT_THAT(sent, SizeIs(1));
    EXPECT_THAT(sent[0],
                HasSubstr(R"("statusMsg":"OK","paramDescriptor":{"d_system.version":{"oid")"));
    EXPECT_THAT(sent[0], HasSubstr(R"(,"d_system.netmask":{"oid":"system.netmask")"));
}

TEST_F(SystemObjectGet, DescriptorsOfUnknownNamesOnlyGetNoAnswer) {
    get("system", R"({"id":"7@x","paramDescriptor":{"objectName":["nothing"]}})");
    EXPECT_THAT(takeSent(), IsEmpty());
}

TEST_F(SystemObjectGet, DescriptorFoundInTheFirstPassLetsTheSecondAnswerWithNothingInIt) {
    get("system", R"({"id":"7@x","param":{"objectName":["paramDescriptor"]},)"
                  R"("paramDescriptor":{"objectName":["nothing"]}})");
    EXPECT_THAT(takeSent(),
                ElementsAre(HasSubstr(R"("type":"device")"),
                            response("GET", status(200, "OK") + R"(,"paramDescriptor":{})")));
}

TEST_F(SystemObjectGet, ParameterOfATypeWithoutValueClassIsServedAsNull) {
    auto odd = std::make_unique<ToskParam>();
    odd->setOid(ToskOID("system.odd", 1));
    odd->setType(4);
    state().device()->addParam(std::move(odd));
    get("system", R"({"id":"7@x","param":{"objectName":["odd"]}})");
    EXPECT_THAT(takeSent(),
                ElementsAre(response("GET", status(200, "OK") + R"(,"param":{"odd":null})")));
}

class SystemObjectTunnelled : public ServiceFixture {
  protected:
    void SetUp() override { start("Quorane", "frameB"); }
};

TEST_F(SystemObjectTunnelled, DescriptorCarriesTheTunnelledNameAndTheParameterKeepsIt) {
    get("frameB.system", R"({"id":"7@x","paramDescriptor":{"objectName":["ipAddress"]}})");
    const std::vector<std::string> sent = takeSent();
    ASSERT_THAT(sent, SizeIs(1));
    EXPECT_THAT(sent[0], StartsWith("[\"RSP\", \"frameB.system\", 0, 5, 0]\n"));
    EXPECT_THAT(sent[0],
                HasSubstr(R"("d_frameB.system.ipAddress":{"oid":"frameB.system.ipAddress")"));
    ASSERT_NE(state().findParam("system.ipAddress"), nullptr) << "found under its old key";
    EXPECT_EQ(state().findParam("system.ipAddress")->oid().toString(), "frameB.system.ipAddress");
}

TEST_F(SystemObjectTunnelled, RenamedParameterIsStillFoundAndAnswersUnderItsNewLeaf) {
    get("frameB.system", R"({"id":"7@x","paramDescriptor":{"objectName":["ipAddress"]}})");
    takeSent();
    get("system", R"({"id":"7@x","param":{"objectName":["ipAddress"]}})");
    EXPECT_THAT(takeSent(), SizeIs(1));
    get("system", R"({"id":"7@x","paramDescriptor":{"objectName":["ipAddress"]}})");
    EXPECT_THAT(takeSent(),
                ElementsAre(HasSubstr(R"("d_system.ipAddress":{"oid":"system.ipAddress")")));
}

TEST_F(SystemObjectTunnelled, ValuesAreLookedUpUnderTheNameAsItWasAskedFor) {
    get("frameB.system", R"({"id":"7@x","param":{"objectName":["ipAddress"]}})");
    EXPECT_THAT(takeSent(), IsEmpty());
}

TEST_F(SystemObjectTunnelled, SetReachesTheLocalParameterAndAnswersOnTheTunnelledObject) {
    set("frameB.system", R"({"systemName":"Tunnel"})");
    EXPECT_THAT(takeSent(), ElementsAre(notification("system", R"({"systemName":"Tunnel"})"),
                                        notification("frameB.system", R"({"systemName":"Tunnel"})"),
                                        setResponse(200, "OK", "frameB.system")));
}

TEST_F(SystemObjectTunnelled, SetIsLoggedUnderTheNameThatWasLookedUp) {
    get("frameB.system", R"({"id":"7@x","paramDescriptor":{"objectName":["systemName"]}})");
    set("frameB.system", R"({"systemName":"Tunnel"})");
    EXPECT_THAT(logged(LOG_INFO),
                Contains(Line{LOG_INFO, "System param Set: system.systemName = Tunnel\n"}));
}

TEST_F(SystemObjectTunnelled, OnlyAWholeLeadingElementIsThePrefix) {
    set("frameBsystem", R"({"systemName":"x"})");
    set("frameB", R"({"systemName":"x"})");
    EXPECT_THAT(takeSent(), ElementsAre(setResponse(404, "Not Found", "frameBsystem"),
                                        setResponse(404, "Not Found", "frameB")));
}

class SystemObjectSet : public ServiceFixture {
  protected:
    void SetUp() override { start("Quorane", ""); }
};

TEST_F(SystemObjectSet, ExistingParameterIsSetAnnouncedLoggedAndAnsweredWith200) {
    set("system", R"({"systemName":"Studio"})");
    EXPECT_THAT(takeSent(), ElementsAre(notification("system", R"({"systemName":"Studio"})"),
                                        setResponse(200, "OK")));
    EXPECT_THAT(logged(LOG_INFO),
                Contains(Line{LOG_INFO, "System param Set: system.systemName = Studio\n"}));
}

TEST_F(SystemObjectSet, AnnouncementIsLoggedWithNameAndValue) {
    set("system", R"({"systemName":"Studio"})");
    EXPECT_THAT(logged(LOG_DEBUG),
                Contains(Line{LOG_DEBUG,
                              "currentSystemState.setParamChanged_cb: param:system.systemName, "
                              "val:Studio"}));
}

TEST_F(SystemObjectSet, UnknownKeyIsAnsweredWith404AndTheRestStillSet) {
    set("system", R"({"nothing":1,"systemName":"Studio"})");
    EXPECT_THAT(takeSent(), ElementsAre(setResponse(404, "Not Found"),
                                        notification("system", R"({"systemName":"Studio"})"),
                                        setResponse(200, "OK")));
}

TEST_F(SystemObjectSet, ValueThatDoesNotFitIsAnsweredWith400AndNotLoggedAsSet) {
    set("system", R"({"systemName":5})");
    EXPECT_THAT(takeSent(), ElementsAre(setResponse(400, "Bad Request")));
    EXPECT_THAT(logged(LOG_INFO), IsEmpty());
    EXPECT_EQ(state().findParam("system.systemName")->valueToString(), "System");
}

TEST_F(SystemObjectSet, EveryMemberHasAResponseOfItsOwnWithTheSameId) {
    set("system", R"({"a":1,"b":2,"c":3})");
    EXPECT_THAT(takeSent(),
                ElementsAre(setResponse(404, "Not Found"), setResponse(404, "Not Found"),
                            setResponse(404, "Not Found")));
}

TEST_F(SystemObjectSet, EqualValueIsAnnouncedAndAnsweredAllTheSame) {
    set("system", R"({"systemName":"System"})");
    EXPECT_THAT(takeSent(), SizeIs(2));
}

TEST_F(SystemObjectSet, ReadOnlyAndChoicesDescribeButDoNotRefuse) {
    set("system", R"({"version":"9","sshEnabled":7})");
    EXPECT_THAT(takeSent(),
                ElementsAre(notification("system", R"({"version":"9"})"), setResponse(200, "OK"),
                            notification("system", R"({"sshEnabled":7})"), setResponse(200, "OK")));
}

TEST_F(SystemObjectSet, PublishedParameterIsSavedAndAnUnpublishedOneIsNot) {
    root_.remove("/vantor/etc/state.json");
    set("system", R"({"activeKeli":1})");
    EXPECT_EQ(root_.read("/vantor/etc/state.json"), "");
    set("system", R"({"systemName":"Saved"})");
    EXPECT_THAT(root_.read("/vantor/etc/state.json"), HasSubstr("\"Saved\""));
}

// How often the file was replaced: each save gives it a new inode.
class StateFileVersions {
  public:
    explicit StateFileVersions(std::string path) : path_(std::move(path)) {}

    // Looks, and gives how many different files were seen so far.
    std::size_t look() {
        struct stat status {};
        const bool there = stat(path_.c_str(), &status) == 0;
        const auto seen =
            std::tuple(there, status.st_ino, status.st_mtim.tv_sec, status.st_mtim.tv_nsec);
        seen_.insert(seen);
        return seen_.size();
    }

  private:
    const std::string path_;
    std::set<std::tuple<bool, ino_t, time_t, long>> seen_;
};

TEST_F(SystemObjectSet, RequestOfManySavedMembersIsSavedOnceBeforeItEnds) {
    root_.remove("/vantor/etc/state.json");
    StateFileVersions versions(root_.path() + "/vantor/etc/state.json");
    std::vector<std::size_t> seen;
    object().beginSet(received("SET", "system",
                               R"({"id":"7@x","param":{"systemName":"a","frameName":"b",)"
                               R"("systemName":"c","active":2}})"));
    EXPECT_TRUE(object().workOnSet([&] {
        seen.push_back(versions.look());
        return false;
    }));
    EXPECT_THAT(seen, ElementsAre(1u, 1u, 1u)) << "not before the last member";
    EXPECT_EQ(versions.look(), 2u);
    EXPECT_THAT(root_.read("/vantor/etc/state.json"),
                AllOf(HasSubstr("\"c\""), HasSubstr("\"b\"")));
}

TEST_F(SystemObjectSet, WhatWasSetIsSavedBeforeACommandSendsItsAnswer) {
    std::string saved;
    machine_.setOnCommand([&](const std::string& command) {
        if (command == "/etc/init.d/S50dropbear stop") {
            saved = root_.read("/vantor/etc/state.json");
        }
    });
    set("system", R"({"systemName":"Studio","sshEnabled":0})");
    EXPECT_THAT(saved, HasSubstr("\"Studio\""));
}

TEST_F(SystemObjectSet, TurnThatIsOverLeavesTheRestAndSavesWhatWasSet) {
    object().beginSet(
        received("SET", "system", R"({"id":"7@x","param":{"systemName":"a","frameName":"b"}})"));
    EXPECT_FALSE(object().workOnSet([] { return true; }));
    EXPECT_THAT(takeSent(), ElementsAre(notification("system", R"({"systemName":"a"})"),
                                        setResponse(200, "OK")));
    EXPECT_THAT(root_.read("/vantor/etc/state.json"), HasSubstr("\"a\""));
    EXPECT_TRUE(object().workOnSet([] { return true; }));
    EXPECT_THAT(takeSent(), ElementsAre(notification("system", R"({"frameName":"b"})"),
                                        setResponse(200, "OK")));
    EXPECT_THAT(root_.read("/vantor/etc/state.json"), HasSubstr("\"b\""));
}

TEST_F(SystemObjectSet, SetThatRanOutOfMemoryEndsAndIsSavedAsFarAsItCame) {
    state().setParamChanged_cb([](const ToskParam&) { throw std::bad_alloc(); });
    object().beginSet(
        received("SET", "system", R"({"id":"7@x","param":{"systemName":"a","frameName":"b"}})"));
    EXPECT_THROW(object().workOnSet([] { return false; }), std::bad_alloc);
    EXPECT_THAT(root_.read("/vantor/etc/state.json"), HasSubstr("\"a\""));
    EXPECT_TRUE(object().workOnSet([] { return false; })) << "nothing is left of it";
    EXPECT_EQ(state().findParam("system.frameName")->valueToString(), "Quorane");
}

TEST_F(SystemObjectSet, DataWithoutAParamObjectIsLeftAlone) {
    handleSet(received("SET", "system", R"({"id":"7@x"})"));
    handleSet(received("SET", "system", R"({"id":"7@x","param":[1]})"));
    handleSet(received("SET", "system", R"({"id":"7@x","param":"text"})"));
    handleSet(received("SET", "system", "garbage"));
    EXPECT_THAT(takeSent(), IsEmpty());
}

TEST_F(SystemObjectSet, SystemStateWithABooleanActiveGets404And200WhateverItsValue) {
    for (const char* value : {"false", "true"}) {
        set("system", std::string(R"({"systemState":{"active":)") + value + "}}");
        EXPECT_THAT(takeSent(), ElementsAre(setResponse(404, "Not Found"), setResponse(200, "OK")));
        EXPECT_TRUE(state().active());
    }
}

TEST_F(SystemObjectSet, SystemStateWithoutABooleanActiveGetsOnlyThe404) {
    set("system", R"({"systemState":{"active":1}})");
    set("system", R"({"systemState":true})");
    EXPECT_THAT(takeSent(),
                ElementsAre(setResponse(404, "Not Found"), setResponse(404, "Not Found")));
}

TEST_F(SystemObjectSet, FalseAlsoSetsAClearedActiveFlagAndSaves) {
    state().setActive(false);
    root_.remove("/vantor/etc/state.json");
    set("system", R"({"systemState":{"active":false}})");
    EXPECT_TRUE(state().active());
    EXPECT_THAT(root_.read("/vantor/etc/state.json"), HasSubstr("systemState"));
}

TEST_F(SystemObjectSet, TextsOfOthersReachTheLogOnlyAsArguments) {
    set("system", R"({"systemName":"%s%n%m"})");
    EXPECT_THAT(logged(LOG_INFO),
                Contains(Line{LOG_INFO, "System param Set: system.systemName = %s%n%m\n"}));
}

// A line break in it would forge a line of the log, and the log takes no line of a mebibyte.
TEST_F(SystemObjectSet, LogShowsControlCharactersOfAValueAsEscapesAndItsFirstKibibyte) {
    set("system", R"({"systemName":"a\nb\u001b[2J"})");
    set("system", R"({"systemName":")" + std::string(2000, 'x') + "\"}");
    EXPECT_THAT(
        logged(LOG_INFO),
        ElementsAre(Line{LOG_INFO, "System param Set: system.systemName = a\\x0ab\\x1b[2J\n"},
                    Line{LOG_INFO, "System param Set: system.systemName = " +
                                       std::string(1024, 'x') + "... (2000 bytes)\n"}));
    for (const Line& line : logged(LOG_DEBUG)) {
        EXPECT_EQ(line.text.find('\x1b'), std::string::npos) << line.text;
        EXPECT_LT(line.text.size(), 1200U);
    }
}

TEST_F(SystemObjectSet, ThePollPublishesAnEditOfTheNetworkSettingsAfterAnyMember) {
    set("system", R"({"systemName":"a","nothing":1,"version":5,"gateway":"no number"})");
    root_.write("/vantor/etc/network.conf",
                "IPADDR=10.0.0.6\nNETMASK=255.255.255.0\nGATEWAY=10.0.0.1\n");
    state().poll();
    EXPECT_EQ(state().findParam("system.ipAddress")->valueToString(), "167772166");
}

}  // namespace

}  // namespace pallwatch
