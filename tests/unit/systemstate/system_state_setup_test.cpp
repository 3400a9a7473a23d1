// Building the device: what the state file brings, what is made, what the services are told.

#include <gmock/gmock.h>

#include "system_state_fixture.h"

namespace systemstate {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// The state file for a device of these parameters.
std::string fileOf(const std::string& params) {
    return R"({"version":0,"systemState":{"devices":[{"type":"device","slot":0,"params":{)" +
           params + "}}]}}";
}

constexpr const char* kAllFive =
    R"("a":{"oid":"system.frameName","type":"STRING","value":"Rack 7"},)"
    R"("b":{"oid":"system.systemName","type":"STRING","value":"Studio"},)"
    R"("c":{"oid":"system.active","type":"INT32","value":0},)"
    R"("d":{"oid":"system.quoraneProfilesEnabled","type":"INT32","value":1},)"
    R"("e":{"oid":"system.quoraneUsersEnabled","type":"INT32","value":0})";

class IdentityGroup : public SystemStateTest {
  protected:
    // Loads the file and takes it away, so that only a save brings one back.
    void load(const std::string& product, const std::string& file) {
        root.write(kStateFile, file);
        construct(product);
        state->load();
        root.remove(kStateFile);
        log.take();
    }

    void build(const std::string& label = "") { state->buildIdentityGroup(label); }

    bool saved() const { return root.holds(kStateFile); }
};

TEST_F(IdentityGroup, IsNamedSystemStateInItsFile) {
    construct();
    EXPECT_STREQ(state->getName(), "systemState");
}

TEST_F(IdentityGroup, NoDeviceBeforeItIsBuilt) {
    construct();
    EXPECT_EQ(state->device(), nullptr);
    EXPECT_EQ(state->findParam("system.frameName"), nullptr);
    state->parameters().setInteger("system.active", 1);
    build();
    EXPECT_NE(state->device(), nullptr);
}

TEST_F(IdentityGroup, FreshStartMakesAndSavesTheFive) {
    construct();
    state->load();
    build();
    const std::string file = root.read(kStateFile);
    const std::string choices = R"("constraint":{"type":"INT_CHOICE","choices":[)"
                                R"({"value":0,"name":"Disabled"},{"value":1,"name":"Enabled"}]},)";
    EXPECT_EQ(util::renderJSON(parse(file).get(), false),
              R"({"version":0,"systemState":{"devices":[{"type":"device","slot":0,"params":{)"
              R"("d_system.active":{"oid":"system.active","name":"Active",)"
              R"("type":"INT32","readonly":false,"value":1},)"
              R"("d_system.frameName":{"oid":"system.frameName","name":"Frame Name",)"
              R"("type":"STRING","readonly":false,"value":"Quorane"},)"
              R"("d_system.quoraneProfilesEnabled":{"oid":"system.quoraneProfilesEnabled",)"
              R"("name":"Quo-Profiles","type":"INT32","readonly":false,)" +
                  choices +
                  R"("value":0},)"
                  R"("d_system.quoraneUsersEnabled":{"oid":"system.quoraneUsersEnabled",)"
                  R"("name":"Quo-Credentials","type":"INT32","readonly":false,)" +
                  choices +
                  R"("value":1},)"
                  R"("d_system.systemName":{"oid":"system.systemName","name":"System Name",)"
                  R"("type":"STRING","readonly":false,"value":"System"}}}]}})");
}

TEST_F(IdentityGroup, SaveKeepsNoOldCopy) {
    root.write(kStateFile, fileOf(""));
    construct();
    state->load();
    build();
    EXPECT_TRUE(root.holds(kStateFile));
    EXPECT_FALSE(root.holds(std::string(kStateFile) + ".old"));
}

TEST_F(IdentityGroup, RestartWithAllFiveHeldWritesNothing) {
    load("Quorane", fileOf(kAllFive));
    build("Some label");
    EXPECT_FALSE(saved());
    EXPECT_THAT(log.take(), IsEmpty());
}

TEST_F(IdentityGroup, HeldSettingsKeepTheirValuesAndAreListenedTo) {
    load("Quorane", fileOf(kAllFive));
    build();
    EXPECT_EQ(valueOf("system.frameName"), "Rack 7");
    EXPECT_EQ(valueOf("system.systemName"), "Studio");
    EXPECT_EQ(valueOf("system.active"), "0");
    EXPECT_EQ(valueOf("system.quoraneProfilesEnabled"), "1");
    EXPECT_EQ(valueOf("system.quoraneUsersEnabled"), "0");
    for (const auto& [key, param] : state->device()->params()) {
        EXPECT_EQ(param->listener(), state.get()) << key;
        EXPECT_TRUE(param->published()) << key;
    }
}

TEST_F(IdentityGroup, SettingSavedUnderATunnelledNameComesHome) {
    load("Quorane",
         fileOf(R"("a":{"oid":"frameB.system.frameName","type":"STRING","value":"Rack 7"},)"
                R"("b":{"oid":"frameB.system.sshEnabled","type":"INT32","value":0})"));
    build();
    EXPECT_EQ(valueOf("system.frameName"), "Rack 7");
    EXPECT_EQ(valueOf("system.sshEnabled"), "0");
    EXPECT_EQ(state->findParam("system.frameName")->oid().toString(), "system.frameName");
    EXPECT_EQ(state->findParam("frameB.system.frameName"), nullptr);
}

TEST_F(IdentityGroup, TunnelledNameGivesWayToTheOwnOne) {
    load("Quorane", fileOf(R"("a":{"oid":"frameB.system.frameName","type":"STRING","value":"Old"},)"
                           R"("b":{"oid":"system.frameName","type":"STRING","value":"Rack 7"})"));
    build();
    EXPECT_EQ(valueOf("system.frameName"), "Rack 7");
}

TEST_F(IdentityGroup, OneMissingSettingIsMadeAndSaved) {
    load("Quorane", fileOf(R"("a":{"oid":"system.systemName","type":"STRING","value":"Studio"})"));
    build();
    EXPECT_TRUE(saved());
    EXPECT_EQ(valueOf("system.systemName"), "Studio");
    EXPECT_EQ(valueOf("system.frameName"), "Quorane");
}

TEST_F(IdentityGroup, TessaraFrameTakesTheNameOnItsLabel) {
    load("Tessara-5ru", fileOf(kAllFive));
    build("Bay 3");
    EXPECT_EQ(valueOf("system.frameName"), "Bay 3");
    EXPECT_TRUE(saved());
    EXPECT_EQ(linesAboveDebug().front(),
              (Line{LOG_INFO, "*DEBUG* Device Name is mismatched: device[Rack 7] label[Bay 3]\n"}));
}

// The name comes from the bus and goes into the log at the next start.
TEST_F(IdentityGroup, HeldNameCannotForgeALineOfTheLog) {
    construct("Tessara");
    build();
    state->parameters().setText("system.frameName", "A]\n<129>\x1b[2J");
    log.take();
    build("Bay 3");
    EXPECT_THAT(log.take(), testing::Contains(Line{LOG_INFO,
                                                   "*DEBUG* Device Name is mismatched: "
                                                   "device[A]\\x0a<129>\\x1b[2J] label[Bay 3]\n"}));
}

TEST_F(IdentityGroup, NewFrameNameOfATessaraFrameIsCorrectedToo) {
    construct("tessara");
    build("Bay 3");
    EXPECT_EQ(valueOf("system.frameName"), "Bay 3");
    EXPECT_THAT(
        log.take(),
        testing::Contains(
            Line{LOG_INFO, "*DEBUG* Device Name is mismatched: device[tessara] label[Bay 3]\n"}));
}

TEST_F(IdentityGroup, MatchingLabelWritesNothing) {
    load("Tessara", fileOf(kAllFive));
    build("Rack 7");
    EXPECT_FALSE(saved());
    EXPECT_THAT(log.take(), IsEmpty());
}

TEST_F(IdentityGroup, EmptyLabelIsNoLabel) {
    load("Tessara", fileOf(kAllFive));
    build("");
    EXPECT_EQ(valueOf("system.frameName"), "Rack 7");
    EXPECT_FALSE(saved());
}

TEST_F(IdentityGroup, OnlyTessaraFramesHaveLabels) {
    for (const char* const product : {"Quorane", "QuoraneBrio", "KELI", "Tessara-9ru"}) {
        load(product, fileOf(kAllFive));
        build("Bay 3");
        EXPECT_EQ(valueOf("system.frameName"), "Rack 7") << product;
        EXPECT_FALSE(saved()) << product;
    }
}

TEST_F(IdentityGroup, FrameNameThatIsNoTextMakesWayForTheLabel) {
    load("Tessara", fileOf(R"("a":{"oid":"system.frameName","type":"INT32","value":7})"));
    build("Bay 3");
    EXPECT_EQ(valueOf("system.frameName"), "Bay 3");
    EXPECT_EQ(state->findParam("system.frameName")->type(), model::kTypeString);
    EXPECT_EQ(state->findParam("system.frameName")->listener(), state.get());
}

TEST_F(IdentityGroup, FrameNameWithoutValueTakesTheLabel) {
    load("Tessara", fileOf(R"("a":{"oid":"system.frameName","type":"STRING"})"));
    build("Bay 3");
    EXPECT_EQ(valueOf("system.frameName"), "Bay 3");
}

TEST_F(IdentityGroup, FrameNameWhoseTypeHasNoValuesTakesTheLabel) {
    printedBy([this] {
        load("Tessara",
             fileOf(R"("a":{"oid":"system.frameName","type":"INT32_ARRAY","value":[7]})"));
        build("Bay 3");
    });
    EXPECT_EQ(valueOf("system.frameName"), "Bay 3");
}

TEST_F(IdentityGroup, MalformedDevicesAreFilled) {
    for (const char* const devices : {"[5]", "[{}]", "[null]", "[]", "7",
                                      R"([{"slot":0,"params":{"a":7,"b":{"type":"INT32"}}}])"}) {
        load("Quorane", std::string(R"({"version":0,"systemState":{"devices":)") + devices + "}}");
        build();
        EXPECT_EQ(valueOf("system.systemName"), "System") << devices;
    }
}

TEST_F(IdentityGroup, FileThatIsNoStateIsReplaced) {
    for (const char* const file : {"", "junk", "[]", "{}", R"({"systemState":7})"}) {
        load("Quorane", file);
        build();
        EXPECT_EQ(valueOf("system.systemName"), "System") << file;
        EXPECT_TRUE(saved()) << file;
    }
}

TEST_F(IdentityGroup, FirstDeviceIsTheDeviceAndTheOthersAreWrittenBack) {
    load("Quorane",
         R"({"version":0,"systemState":{"devices":[{"type":"device","slot":1},)"
         R"({"type":"device","slot":2,"params":{)"
         R"("a":{"oid":"other.x","name":"X","type":"INT32","readonly":false,"value":7}}}]}})");
    build();
    EXPECT_EQ(state->device()->slot(), 1);
    EXPECT_NE(state->device()->findParam("system.frameName"), nullptr);
    EXPECT_EQ(state->findParam("other.x"), nullptr);
    EXPECT_THAT(
        util::renderJSON(parse(root.read(kStateFile)).get(), false),
        testing::HasSubstr(
            R"({"type":"device","slot":2,"params":{"d_other.x":)"
            R"({"oid":"other.x","name":"X","type":"INT32","readonly":false,"value":7}}}]}})"));
}

using MainCatalogue = SystemStateTest;

TEST_F(MainCatalogue, RestoredParametersAreReplacedExceptForTheSwitches) {
    root.write(
        kStateFile,
        fileOf(R"("a":{"oid":"system.activeEthernet","name":"Old","type":"INT32","value":1},)"
               R"("b":{"oid":"system.restartNetwork","name":"Old","type":"STRING","value":"1"},)"
               R"("c":{"oid":"system.generateReport","name":"Old","type":"INT32","value":1},)"
               R"("d":{"oid":"system.serial0","name":"Old","type":"INT32","value":1})"));
    boot();
    EXPECT_EQ(valueOf("system.activeEthernet"), "0");
    EXPECT_EQ(valueOf("system.restartNetwork"), "0");
    EXPECT_EQ(valueOf("system.generateReport"), "0");
    EXPECT_EQ(state->device()->findParamByName("Old"), nullptr);
}

TEST_F(MainCatalogue, ParameterThatOnlyTheFileKnowsIsKeptAndListenedTo) {
    root.write(kStateFile, fileOf(R"("a":{"oid":"system.extra","type":"INT32","value":7})"));
    run();
    EXPECT_EQ(valueOf("system.extra"), "7");
    EXPECT_EQ(set("system.extra", "8"), 0);
    EXPECT_THAT(announced, ElementsAre("system.extra=8"));
}

TEST_F(MainCatalogue, CardWithoutProductIsAQuorane) {
    boot("");
    EXPECT_EQ(bootOutput.substr(0, 28), "ERROR reading product string");
    EXPECT_EQ(state->productName(), "Quorane");
    EXPECT_EQ(valueOf("system.frameName"), "Quorane");
    machine->take();
    EXPECT_EQ(set("system.activeEthernet", "1"), 0);
    EXPECT_THAT(machine->take(), ElementsAre("/sbin/ifenslave --change-active bond0 eth1"));
}

TEST_F(MainCatalogue, FrameKinds) {
    construct("Tessara-5ru");
    EXPECT_TRUE(state->isTessaraFrame());
    construct("QuoraneBrio");
    EXPECT_TRUE(state->isBrio());
    construct("KELI");
    EXPECT_TRUE(state->isKeli());
    EXPECT_FALSE(state->isTessaraFrame());
    EXPECT_FALSE(state->isBrio());
}

TEST_F(MainCatalogue, ActiveFlagStartsSet) {
    construct();
    EXPECT_TRUE(state->active());
    state->setActive(false);
    EXPECT_FALSE(state->active());
}

}  // namespace

}  // namespace systemstate
