// The client from outside: the real program, on the real simulated bus, with a scripted device.

#include <gmock/gmock.h>

#include "program_process.h"
#include "scripted_device.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

constexpr const char* kSwitch = R"("constraint":{"type":"INT_CHOICE","choices":)"
                                R"([{"value":0,"name":"Disabled"},{"value":1,"name":"Enabled"}]},)";

ScriptedDevice::Parameters frame() {
    return {
        {"frameName", parameterJSON("frameName", "STRING", false, "", "\"Rack 4\"")},
        {"ipAddress", parameterJSON("ipAddress", "INT32", false, R"("widget":"WIDGET_IP_ADDRESS",)",
                                    "3232235777")},
        {"version", parameterJSON("version", "STRING", true, "", "\"1.0\"")},
        {"psu1Voltage", parameterJSON("psu1Voltage", "FLOAT", true, R"("precision":2,)", "11.987")},
        {"sshEnabled", parameterJSON("sshEnabled", "INT32", false, kSwitch, "1")},
        {"serial0", parameterJSON("serial0", "STRUCT", false, "",
                                  R"({"_d_name":{"type":"STRING","value":"COM1"}})")},
        {"extra", parameterJSON("extra", "INT32", false, "", "5")},
    };
}

class PallctlTest : public testing::Test {
  protected:
    Outcome run(const std::vector<std::string>& words) { return pallctl(bus_.port(), words); }

    BusProcess bus_;
    ScriptedDevice device_{bus_.port(), frame(), {"extra", "frameName"}};
};

TEST_F(PallctlTest, ListsTheCatalogueAndWhatElseTheDeviceShows) {
    const Outcome outcome = run({"list"});
    EXPECT_EQ(outcome.output,
              "NAME                VALUE        TYPE    READ-ONLY\n"
              "system.frameName    Rack 4       STRING  no\n"
              "system.ipAddress    192.168.1.1  INT32   no\n"
              "system.version      1.0          STRING  yes\n"
              "system.psu1Voltage  11.99        FLOAT   yes\n"
              "system.sshEnabled   Enabled      INT32   no\n"
              "system.serial0      name=COM1    STRUCT  no\n"
              "system.extra        5            INT32   no\n");
    EXPECT_EQ(outcome.errors, "");
    EXPECT_EQ(outcome.status, 0);
}

TEST_F(PallctlTest, GetsValuesInHumanFormInTheOrderAsked) {
    const Outcome outcome = run({"get", "sshEnabled", "system.ipAddress", "psu1Voltage"});
    EXPECT_EQ(outcome.output, "Enabled\n192.168.1.1\n11.99\n");
    EXPECT_EQ(outcome.status, 0);
}

TEST_F(PallctlTest, GetsWhatThereIsAndNamesWhatIsNot) {
    const Outcome outcome = run({"get", "nosuch", "version", "system.neither"});
    EXPECT_EQ(outcome.output, "1.0\n");
    EXPECT_EQ(outcome.errors,
              "pallctl: system.nosuch: not found\npallctl: system.neither: not found\n");
    EXPECT_EQ(outcome.status, 4);
}

TEST_F(PallctlTest, SetsOneAfterTheOtherInWireForm) {
    const Outcome outcome =
        run({"set", "ipAddress=10.1.2.3", "system.sshEnabled=disabled", "frameName=a=b"});
    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_EQ(outcome.output, "");
    const auto sets = device_.sets();
    ASSERT_EQ(sets.size(), 3u);
    EXPECT_THAT(sets[0], testing::EndsWith(R"({"ipAddress":167838211})"));
    EXPECT_THAT(sets[1], testing::EndsWith(R"({"sshEnabled":0})"));
    EXPECT_THAT(sets[2], testing::EndsWith(R"({"frameName":"a=b"})"));
}

TEST_F(PallctlTest, PrintsInADryRunWhatItWouldSend) {
    const Outcome outcome = run({"set", "-n", "ipAddress=10.1.2.3", "sshEnabled=on", "extra=6"});
    EXPECT_EQ(outcome.output,
              "would set system.ipAddress from 192.168.1.1 to 10.1.2.3\n"
              "would set system.extra from 5 to 6\n");
    EXPECT_EQ(outcome.errors, "pallctl: system.sshEnabled: is Enabled already; not sent\n");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(run({"-j", "set", "--dry-run", "extra=6"}).output,
              R"({"system.extra":{"name":"system.extra","outcome":"wouldSet","statusCode":null,)"
              R"("problem":null,"value":6}})"
              "\n");
    EXPECT_EQ(run({"set", "-n", "--force", "nosuch=x"}).output,
              "would set system.nosuch from - to x\n");
    EXPECT_THAT(device_.sets(), IsEmpty());
}

TEST_F(PallctlTest, FindsTheMistakesOfASetInADryRun) {
    const Outcome outcome = run({"set", "-n", "extra=6", "sshEnabled=maybe", "nosuch=1"});
    EXPECT_EQ(outcome.output, "");
    EXPECT_EQ(outcome.errors,
              "pallctl: system.sshEnabled: must be one of: Disabled, Enabled\n"
              "pallctl: system.nosuch: not found\n");
    EXPECT_EQ(outcome.status, 4);
}

TEST_F(PallctlTest, LogsInWithAMillionAndItsProcessID) {
    ProgramProcess process(pallctlCommand(bus_.port(), {"set", "extra=7"}));
    EXPECT_EQ(process.wait(), 0);
    EXPECT_THAT(device_.sets(),
                ElementsAre("[\"SET\", \"system\", " + std::to_string(1'000'000 + process.id()) +
                            ", 0, 0]{\"extra\":7}"));
}

TEST_F(PallctlTest, TellsRefusedFromNotFound) {
    device_.answerSets("extra", 400);
    const Outcome refused = run({"set", "extra=7"});
    EXPECT_EQ(refused.errors, "pallctl: system.extra: 400 Bad Request\n");
    EXPECT_EQ(refused.status, 3);

    const Outcome unknown = run({"set", "--force", "nosuch=active"});
    EXPECT_EQ(unknown.errors, "pallctl: system.nosuch: 404 Not Found\n");
    EXPECT_EQ(unknown.status, 4);
    EXPECT_THAT(device_.sets(), testing::Contains(testing::EndsWith(R"({"nosuch":"active"})")));
}

TEST_F(PallctlTest, SendsNothingWhenThereIsNoSuchParameter) {
    const Outcome outcome = run({"set", "extra=7", "nosuch=1"});
    EXPECT_EQ(outcome.errors, "pallctl: system.nosuch: not found\n");
    EXPECT_EQ(outcome.status, 4);
    EXPECT_THAT(device_.sets(), IsEmpty());
}

TEST_F(PallctlTest, GoesOnAfterARefusalAndEndsWithTheHighestStatus) {
    device_.answerSets("extra", 400);
    EXPECT_EQ(run({"set", "--force", "nosuch=1", "extra=7", "frameName=x"}).status, 4);
    EXPECT_EQ(device_.sets().size(), 3u);
}

TEST_F(PallctlTest, SendsNothingMoreAfterASetThatIsNotAnswered) {
    device_.answerSets("extra", 0);
    const Outcome outcome =
        run({"--timeout=0.2", "set", "extra=7", "frameName=x", "ipAddress=10.1.2.3"});
    EXPECT_EQ(outcome.errors,
              "pallctl: system.extra: no answer; the set may still take effect\n"
              "pallctl: system.frameName: not sent\n"
              "pallctl: system.ipAddress: not sent\n");
    EXPECT_EQ(outcome.status, 5);
    EXPECT_EQ(device_.sets().size(), 1u);
}

TEST_F(PallctlTest, SendsOnlyWhatDiffers) {
    const Outcome outcome = run({"set", "sshEnabled=enabled", "extra=5", "frameName=rack 4"});
    EXPECT_EQ(outcome.errors,
              "pallctl: system.sshEnabled: is Enabled already; not sent\n"
              "pallctl: system.extra: is 5 already; not sent\n");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(device_.sets(), ElementsAre(testing::EndsWith(R"({"frameName":"rack 4"})")));
}

TEST_F(PallctlTest, SendsEqualValuesWhenToldTo) {
    const Outcome outcome = run({"set", "--always", "sshEnabled=enabled"});
    EXPECT_EQ(outcome.errors, "");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(device_.sets(), ElementsAre(testing::EndsWith(R"({"sshEnabled":1})")));
}

TEST_F(PallctlTest, SendsWhatDoesNotFitWhenForced) {
    EXPECT_EQ(run({"set", "-f", "version=2", "sshEnabled=9", "ipAddress=none"}).status, 0);
    EXPECT_THAT(device_.sets(), ElementsAre(testing::EndsWith(R"({"version":"2"})"),
                                            testing::EndsWith(R"({"sshEnabled":9})"),
                                            testing::EndsWith(R"({"ipAddress":"none"})")));
}

TEST_F(PallctlTest, TakesWireFormWhenTold) {
    EXPECT_EQ(run({"set", "-r", "ipAddress=167838211", "frameName=\"b\"", "extra=null"}).status, 2);
    EXPECT_THAT(device_.sets(), IsEmpty());
    EXPECT_EQ(run({"set", "-r", "ipAddress=167838211", "frameName=\"b\""}).status, 0);
    EXPECT_THAT(device_.sets(), ElementsAre(testing::EndsWith(R"({"ipAddress":167838211})"),
                                            testing::EndsWith(R"({"frameName":"b"})")));
}

TEST_F(PallctlTest, TellsProgramsWhatCameOfEachSet) {
    device_.answerSets("extra", 400);
    const Outcome json = run({"set", "-j", "sshEnabled=1", "frameName=x", "extra=7"});
    EXPECT_EQ(json.output,
              R"({"system.sshEnabled":{"name":"system.sshEnabled","outcome":"unchanged",)"
              R"("statusCode":null,"problem":null},)"
              R"("system.frameName":{"name":"system.frameName","outcome":"set",)"
              R"("statusCode":200,"problem":null},)"
              R"("system.extra":{"name":"system.extra","outcome":"refused",)"
              R"("statusCode":400,"problem":"400 Bad Request"}})"
              "\n");
    EXPECT_EQ(json.errors, "pallctl: system.extra: 400 Bad Request\n");
    EXPECT_EQ(json.status, 3);

    device_.answerSets("extra", 0);
    const Outcome lines = run({"set", "-k", "--timeout=0.2", "extra=7", "frameName=x"});
    EXPECT_EQ(lines.output, "system_extra='noAnswer'\nsystem_frameName='notSent'\n");
}

TEST_F(PallctlTest, SendsNothingThatDoesNotFitItsParameter) {
    struct Case {
        const char* assignment;
        const char* complaint;
    };
    for (const Case& bad :
         {Case{"version=2", "system.version: is read-only"},
          Case{"sshEnabled=maybe", "system.sshEnabled: must be one of: Disabled, Enabled"},
          Case{"ipAddress=10.1.2", "must be an address"},
          Case{"serial0=x", "needs member=value with members: name"},
          Case{"frameName", "frameName: needs the form NAME=VALUE"},
          Case{"=x", "=x: needs the form NAME=VALUE"}}) {
        const Outcome outcome = run({"set", "extra=7", bad.assignment});
        EXPECT_EQ(outcome.status, 2) << bad.assignment;
        EXPECT_THAT(outcome.errors, StartsWith("pallctl: "));
        EXPECT_THAT(outcome.errors, HasSubstr(bad.complaint));
    }
    EXPECT_THAT(device_.sets(), IsEmpty());
}

TEST_F(PallctlTest, WaitsForAnAnswerForALimitedTime) {
    device_.answerSets("extra", 0);
    const Outcome outcome = run({"--timeout=0.2", "set", "extra=7"});
    EXPECT_EQ(outcome.errors, "pallctl: system.extra: no answer; the set may still take effect\n");
    EXPECT_EQ(outcome.status, 5);
}

TEST_F(PallctlTest, LetsNoTextOfTheDeviceCommandTheTerminal) {
    device_.replace("frameName",
                    parameterJSON("frameName", "STRING", false, "", R"("a\u001b[2J\nb")"));
    EXPECT_EQ(run({"get", "frameName"}).output, "a\\x1b[2J\\nb\n");
}

TEST_F(PallctlTest, TakesOptionsBeforeAndAfterTheVerb) {
    EXPECT_EQ(run({"get", "extra", "--timeout", "3"}).output, "5\n");
    EXPECT_EQ(run({"--timeout", "3", "get", "extra"}).output, "5\n");
}

TEST_F(PallctlTest, TakesTimesInSecondsMinutesOrHours) {
    for (const char* time : {"100", "100s", "90000ms", "3m", "1h"}) {
        const Outcome outcome = run({"get", "extra", "--timeout", time, "--wait", time});
        EXPECT_EQ(outcome.output, "5\n") << time << outcome.errors;
    }
    EXPECT_EQ(run({"get", "extra", "--timeout=1d"}).errors,
              "pallctl: --timeout: invalid duration '1d'; use 500ms, 2s, 3m or 1h, from 1ms to 24 "
              "hours (--help tells more)\n");
}

TEST(PallctlProgram, SaysThatTheDeviceDoesNotAnswer) {
    BusProcess bus;
    for (const auto& words : std::vector<std::vector<std::string>>{
             {"list"}, {"get", "version"}, {"set", "extra=7"}, {"watch"}}) {
        std::vector<std::string> patient{"--timeout=0.1"};
        patient.insert(patient.end(), words.begin(), words.end());
        const Outcome outcome = pallctl(bus.port(), patient);
        EXPECT_EQ(outcome.status, 5) << words.front();
        EXPECT_EQ(outcome.errors, "pallctl: system: no answer\n");
        EXPECT_EQ(outcome.output, "");
    }
}

TEST(PallctlProgram, SaysThatThereIsNoBus) {
    const uint16_t port = BusProcess().port();
    const Outcome outcome = pallctl(port, {"list"});
    EXPECT_EQ(outcome.status, 6);
    EXPECT_EQ(outcome.errors, "pallctl: no bus on 127.0.0.1:" + std::to_string(port) +
                                  ": connect: Connection refused\n");
}

TEST(PallctlProgram, WaitsForBusAndDeviceToAppear) {
    const uint16_t port = BusProcess().port();
    ProgramProcess waiting(pallctlCommand(port, {"--wait=30", "get", "extra"}));
    // The port is free again for the bus; nothing else asks the kernel for this very one.
    ProgramProcess bus(pallbusCommand({"--port", std::to_string(port)}));
    ASSERT_EQ(portOf(bus.readLine()), port);
    {
        // The client is there, and has asked, before the device is.
        BusPeer witness(port, 21);
        witness.subscribe("system");
        ASSERT_THAT(witness.receive(), HasSubstr("\"extra\""));
    }
    const ScriptedDevice device(port, frame());
    EXPECT_EQ(waiting.wait(), 0);
    EXPECT_EQ(waiting.restOfOutput(), "5\n");
    EXPECT_EQ(waiting.errors(), "");
}

TEST(PallctlProgram, RefusesBadUsageInOneLine) {
    for (const auto& words : std::vector<std::vector<std::string>>{{},
                                                                   {"frobnicate"},
                                                                   {"get"},
                                                                   {"set"},
                                                                   {"version", "stray"},
                                                                   {"list", "--table"},
                                                                   {"--timeout=0", "list"},
                                                                   {"--timeout=x", "list"},
                                                                   {"--wait=-1", "list"},
                                                                   {"--port=99999", "list"}}) {
        const Outcome outcome = pallctl(1, words);
        EXPECT_EQ(outcome.status, 2) << testing::PrintToString(words);
        EXPECT_THAT(outcome.errors, StartsWith("pallctl: "));
        EXPECT_EQ(outcome.errors.find('\n'), outcome.errors.size() - 1) << outcome.errors;
    }
}

}  // namespace
