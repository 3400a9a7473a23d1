// pallctl's verbs that read, on the real bus with the real daemon.

#include <algorithm>
#include <fstream>
#include <iterator>
#include <string>

#include "harness/terminal.h"
#include "on_pallbus.h"
#include "systemstate/catalogue.h"
#include "util/json.h"

using harness::Result;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

util::UniqueJSON json(const std::string& text) {
    return util::parseJSON(text.data(), text.size());
}

// A member of a member, as JSON.
std::string at(const util::UniqueJSON& object, const char* name, const char* key) {
    return util::renderJSON(util::jsonMember(util::jsonMember(object.get(), name), key), false);
}

// What a shell has in a variable after evaluating what the program prints.
std::string evaluated(const Words& words, const std::string& variable) {
    std::string command;
    for (const std::string& word : program("pallctl", words)) {
        command += "'" + word + "' ";
    }
    return harness::run(
               {"sh", "-c", "eval \"$(" + command + ")\"; printf %s \"$" + variable + "\""})
        .output;
}

class PallctlRead : public OnPallbus {
  protected:
    PallctlRead() { start(); }
};

TEST_F(PallctlRead, ListsTheWholeCatalogue) {
    const Result result = pallctl({"list"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.error, "");
    EXPECT_EQ(std::count(result.output.begin(), result.output.end(), '\n'),
              1 + std::ssize(systemstate::catalogue()));
    EXPECT_THAT(result.output, HasSubstr("\nsystem.ipAddress "));
}

TEST_F(PallctlRead, ListsTheSameForPrograms) {
    const Result result = pallctl({"list", "--json"});
    EXPECT_EQ(result.status, 0);
    const util::UniqueJSON listed = json(result.output);
    EXPECT_EQ(cJSON_GetArraySize(listed.get()), std::ssize(systemstate::catalogue()));
    EXPECT_EQ(at(listed, "system.ipAddress", "value"), "167772165");
    EXPECT_EQ(at(listed, "system.ipAddress", "text"), "\"10.0.0.5\"");
    EXPECT_EQ(at(listed, "system.version", "readOnly"), "true");
    EXPECT_EQ(at(listed, "system.serial0", "type"), "\"STRUCT\"");
}

TEST_F(PallctlRead, ListsTheSameForShells) {
    EXPECT_EQ(evaluated({"list", "--keyvalue"}, "system_ipAddress"), "10.0.0.5");
    EXPECT_EQ(evaluated({"list", "--keyvalue", "--raw"}, "system_sshEnabled"), "1");
}

TEST_F(PallctlRead, GetsValuesInEitherForm) {
    EXPECT_EQ(pallctl({"get", "ipAddress", "system.sshEnabled", "psu1Voltage"}).output,
              "10.0.0.5\nEnabled\n0.00\n");
    EXPECT_EQ(pallctl({"get", "--raw", "ipAddress", "sshEnabled", "systemName"}).output,
              "167772165\n1\n\"System\"\n");
}

TEST_F(PallctlRead, GetsATextThatAShellWouldObeyUnharmed) {
    const std::string hostile = "it's $(touch /tmp/harm) `id`;\n\"&\\";
    ASSERT_EQ(pallctl({"set", "systemName=" + hostile}).status, 0);
    EXPECT_EQ(evaluated({"get", "systemName", "-k"}, "system_systemName"), hostile);
    EXPECT_FALSE(frame.exists("/tmp/harm"));
    EXPECT_EQ(pallctl({"get", "systemName"}).output, "it's $(touch /tmp/harm) `id`;\\n\"&\\\n");
    const util::UniqueJSON got = json(pallctl({"get", "systemName", "-j"}).output);
    EXPECT_EQ(
        util::jsonText(util::jsonMember(util::jsonMember(got.get(), "system.systemName"), "value")),
        hostile);
}

TEST_F(PallctlRead, GetsJSONAlsoOfATextThatIsNone) {
    ASSERT_EQ(pallctl({"set", "--force", "systemName=a\xff"}).status, 0);
    EXPECT_THAT(pallctl({"get", "systemName", "-j"}).output,
                HasSubstr("\"text\":\"a\xef\xbf\xbd\""));
    EXPECT_EQ(pallctl({"get", "systemName"}).output, "a\\xff\n");
}

TEST_F(PallctlRead, EndsWith4WhenOneIsNotFound) {
    const Result result = pallctl({"get", "nosuch", "systemName"});
    EXPECT_EQ(result.status, 4);
    EXPECT_EQ(result.output, "System\n");
    EXPECT_EQ(result.error, "pallctl: system.nosuch: not found\n");
    EXPECT_EQ(pallctl({"describe", "nosuch"}).status, 4);
}

TEST_F(PallctlRead, TakesNamesInAnyCase) {
    EXPECT_EQ(pallctl({"get", "IPADDRESS", "System.sshenabled"}).output, "10.0.0.5\nEnabled\n");
    EXPECT_EQ(pallctl({"set", "SYSTEMNAME=Rack 4"}).status, 0);
    EXPECT_EQ(pallctl({"wait", "systemname=Rack 4", "--timeout=5"}).status, 0);
    EXPECT_THAT(pallctl({"describe", "systemname"}).output, StartsWith("system.systemName\n"));
    EXPECT_THAT(pallctl({"set", "sshEnabled=0", "SSHENABLED=1"}).error,
                HasSubstr("system.sshEnabled: given more than once"));
}

TEST_F(PallctlRead, SuggestsSimilarNames) {
    const std::string problem = "system.sshEnable: not found; did you mean 'sshEnabled'?\n";
    for (const Words& words :
         {Words{"get", "sshEnable"}, Words{"describe", "sshEnable"}, Words{"list", "sshEnable"},
          Words{"watch", "sshEnable"}, Words{"set", "sshEnable=1"}, Words{"wait", "sshEnable=1"}}) {
        const Result result = pallctl(words);
        EXPECT_EQ(result.status, 4) << words.front();
        EXPECT_EQ(result.error, "pallctl: " + problem) << words.front();
    }
    EXPECT_EQ(pallctl({"watch", "nosuch", "gatway"}).error,
              "pallctl: system.nosuch: not found\n"
              "pallctl: system.gatway: not found; did you mean 'gateway'?\n");
    EXPECT_EQ(pallctl({"get", "voltage"}).error,
              "pallctl: system.voltage: not found; did you mean 'battVoltage', 'psu1Voltage' or "
              "'psu2Voltage'?\n");
}

TEST_F(PallctlRead, InventsNoDevice) {
    for (const Words& words : {Words{"list"}, Words{"describe"}, Words{"get", "ipAddress"},
                               Words{"set", "systemName=x"}, Words{"watch"}}) {
        Words below{"--object=system.foo", "--wait=20"};
        below.insert(below.end(), words.begin(), words.end());
        const Result result = pallctl(below);
        EXPECT_EQ(result.status, 4) << words.front();
        EXPECT_EQ(result.output, "") << words.front();
        EXPECT_EQ(result.error, "pallctl: system.foo: no such device; only 'system' answers\n")
            << words.front();
    }
    EXPECT_EQ(pallctl({"get", "systemName"}).output, "System\n");
}

TEST_F(PallctlRead, DescribesAnEmptyText) {
    ASSERT_EQ(pallctl({"set", "systemName="}).status, 0);
    EXPECT_THAT(pallctl({"describe", "systemName"}).output,
                HasSubstr("\n  value           \"\"\n"));
    EXPECT_EQ(pallctl({"get", "systemName"}).output, "\n");
    EXPECT_EQ(evaluated({"describe", "systemName", "-k"}, "system_systemName"), "");
}

TEST_F(PallctlRead, ReadsMoreNamesThanOneRequestMayHold) {
    Words words{"get"};
    std::string expected;
    for (int name = 0; name < 1000; ++name) {
        words.emplace_back(name % 2 == 0 ? "systemName" : "ipAddress");
        expected += name % 2 == 0 ? "System\n" : "10.0.0.5\n";
    }
    const Result result = pallctl(words);
    EXPECT_EQ(result.status, 0) << result.error;
    EXPECT_TRUE(result.output == expected) << result.output.substr(0, 100);
}

TEST_F(PallctlRead, TakesPatternsOfNames) {
    EXPECT_EQ(pallctl({"get", "ETH*Status", "ipA*", "system.systemNam?"}).output,
              "0\n0\n10.0.0.5\nSystem\n");
    EXPECT_EQ(pallctl({"-k", "list", "psu*", "gateway"}).output,
              "system_psu1Voltage='0.00'\nsystem_psu2Voltage='0.00'\nsystem_gateway='10.0.0.1'\n");
    EXPECT_THAT(pallctl({"describe", "batt*"}).output, StartsWith("system.battVoltage\n"));
    const Result none = pallctl({"list", "psx*", "gateway"});
    EXPECT_EQ(none.status, 4);
    EXPECT_EQ(none.error, "pallctl: system.psx*: not found\n");
    EXPECT_THAT(none.output, HasSubstr("\nsystem.gateway "));
}

TEST_F(PallctlRead, DescribesWhatTheDeviceSays) {
    EXPECT_EQ(pallctl({"describe", "sshEnabled", "battVoltage"}).output,
              "system.sshEnabled\n"
              "  label           SSH Server\n"
              "  value           Enabled\n"
              "  type            INT32\n"
              "  read-only       no\n"
              "  constraint      INT_CHOICE\n"
              "  choices         0 Disabled, 1 Enabled\n"
              "system.battVoltage\n"
              "  label           Battery Voltage\n"
              "  value           -1.00000\n"
              "  type            FLOAT\n"
              "  read-only       yes\n"
              "  decimals        5\n"
              "  usual minimum   2.50000\n"
              "  usual maximum   3.40000\n"
              "  critical below  2.00000\n");
    const util::UniqueJSON all = json(pallctl({"describe", "--json"}).output);
    EXPECT_EQ(cJSON_GetArraySize(all.get()), std::ssize(systemstate::catalogue()));
    EXPECT_EQ(at(all, "system.ipAddress", "widget"), "\"WIDGET_IP_ADDRESS\"");
    EXPECT_EQ(at(all, "system.psu1Voltage", "usualMinimum"), "11.4");
    EXPECT_EQ(at(all, "system.psu1Voltage", "criticalAbove"), "13.2");
}

TEST_F(PallctlRead, TellsTheVersionsOfProgramAndFrame) {
    const std::string properties = frame.read("/etc/build.prop");
    const Result result = pallctl({"version"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.error, "");
    EXPECT_THAT(result.output, HasSubstr("\npallctl           "));
    EXPECT_THAT(result.output, HasSubstr("\nsystem.version    4.2.1(31415)\n")) << properties;
    EXPECT_THAT(result.output, EndsWith("\nsystem.frameName  QuoraneBrio\n"));
    const util::UniqueJSON versions = json(pallctl({"version", "--json"}).output);
    EXPECT_EQ(at(versions, "pallwatch.file", "value"),
              '"' + (harness::programDirectory() / "pallwatch").string() + '"');
    EXPECT_EQ(at(versions, "system.version", "value"), "\"4.2.1(31415)\"");
}

// The note is a head with the owner's name, and then the ID.
TEST_F(PallctlRead, TellsTheBuildOfTheRunningDaemon) {
    const Result result = pallctl({"-k", "version"});
    const std::string mark = "pallwatch_build='";
    const size_t begin = result.output.find(mark);
    ASSERT_NE(begin, std::string::npos) << result.output << result.error;
    std::string bytes("GNU\0", 4);
    for (size_t digit = begin + mark.size(); result.output[digit] != '\''; digit += 2) {
        bytes += static_cast<char>(std::stoi(result.output.substr(digit, 2), nullptr, 16));
    }
    EXPECT_GE(bytes.size(), 4u + 16) << result.output;
    std::ifstream program(harness::programDirectory() / "pallwatch", std::ios::binary);
    const std::string content{std::istreambuf_iterator<char>(program), {}};
    EXPECT_NE(content.find(bytes), std::string::npos) << result.output;
    stopDaemon();
    EXPECT_THAT(pallctl({"version"}).output, testing::Not(HasSubstr("pallwatch")));
}

TEST_F(PallctlRead, PaintsNothingThatIsNoTerminal) {
    for (const char* verb : {"list", "describe", "version"}) {
        EXPECT_EQ(pallctl({verb}).output.find('\x1b'), std::string::npos) << verb;
    }
}

std::string onTerminal(const std::string& setting) {
    Words words{"env", "TERM=xterm", setting};
    const Words list = program("pallctl", {"list"});
    words.insert(words.end(), list.begin(), list.end());
    harness::Terminal terminal(words);
    EXPECT_EQ(terminal.waitForEnd(), 0);
    return terminal.screen().waitForEnd();
}

TEST_F(PallctlRead, PaintsForATerminalUnlessToldNotTo) {
    EXPECT_THAT(onTerminal("NO_COLOR="), StartsWith("\x1b[1mNAME\x1b[0m "));
    EXPECT_THAT(onTerminal("NO_COLOR=1"), StartsWith("NAME "));
    EXPECT_THAT(onTerminal("TERM=dumb"), StartsWith("NAME "));
}

TEST_F(PallctlRead, EndsQuietlyWhenNobodyReadsItsOutput) {
    const std::string list = program("pallctl", {"list"})[0] + " list";
    const Result result = harness::run({"sh", "-c", list + " | true"});
    EXPECT_EQ(result.error, "");
}

TEST_F(PallctlRead, SaysThatItsOutputCannotBeWritten) {
    const std::string list = program("pallctl", {"list"})[0] + " list";
    const Result result = harness::run({"sh", "-c", list + " >/dev/full"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.error, "pallctl: standard output: No space left on device\n");
}

TEST_F(OnPallbus, VersionNeedsNoDevice) {
    const Result alone = pallctl({"version"});
    EXPECT_EQ(alone.status, 0);
    EXPECT_THAT(alone.output, StartsWith("NAME     VALUE\npallctl  "));
    EXPECT_EQ(alone.error, "pallctl: no bus on 127.0.0.1:15000: connect: Connection refused\n");
    startBus();
    const Result unanswered = pallctl({"version", "--timeout=0.1"});
    EXPECT_EQ(unanswered.status, 0);
    EXPECT_EQ(unanswered.output, alone.output);
    EXPECT_EQ(unanswered.error, "pallctl: system: no answer\n");
}

}  // namespace
