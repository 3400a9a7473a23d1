// pallctl check, as a monitoring system runs it, with a scripted device.

#include <gmock/gmock.h>

#include "program_process.h"
#include "scripted_device.h"

namespace {

using testing::MatchesRegex;
using testing::StartsWith;

std::string voltage(const std::string& leaf, const std::string& value) {
    return parameterJSON(leaf, "FLOAT", true, R"("precision":2,)", value);
}

std::string number(const std::string& leaf, const std::string& value,
                   const std::string& attributes = "") {
    return parameterJSON(leaf, "INT32", true, attributes, value);
}

ScriptedDevice::Parameters goodFrame() {
    return {
        {"ethPort1Status", number("ethPort1Status", "1")},
        {"ethPort2Status", number("ethPort2Status", "2")},
        {"psu1Voltage", voltage("psu1Voltage", "12.004")},
        {"psu2Voltage", voltage("psu2Voltage", "11.397")},  // shown as 11.40
        {"battVoltage", voltage("battVoltage", "3.1")},
        {"level", number("level", "7", R"("constraint":{"type":"INT_RANGE","min":0,"max":9},)")},
        {"frameName", parameterJSON("frameName", "STRING", false, "", "\"Rack 4\"")}};
}

class CheckTest : public testing::Test {
  protected:
    Outcome check(std::vector<std::string> words = {}) {
        words.insert(words.begin(), "check");
        Outcome outcome = pallctl(bus_.port(), words);
        EXPECT_EQ(outcome.errors, "") << testing::PrintToString(words);
        return outcome;
    }

    void expect(const Outcome& outcome, int status, const std::string& line) {
        EXPECT_EQ(outcome.output, line);
        EXPECT_EQ(outcome.status, status);
    }

    BusProcess bus_;
    ScriptedDevice device_{bus_.port(), goodFrame()};
};

TEST_F(CheckTest, ShowsAllReadingsWithLimitsWhenTheyAreUsual) {
    expect(check(), 0,
           "OK: ethPort1Status 1, ethPort2Status 2, psu1Voltage 12.00 V, psu2Voltage 11.40 V, "
           "battVoltage 3.10 V | 'ethPort1Status'=1;1:2;;; 'ethPort2Status'=2;1:2;;; "
           "'psu1Voltage'=12.00;11.4:12.6;10.8:13.2;; 'psu2Voltage'=11.40;11.4:12.6;10.8:13.2;; "
           "'battVoltage'=3.10;2.5:3.4;2:;;\n");
}

TEST_F(CheckTest, WarnsOutsideTheUsualRange) {
    device_.replace("psu2Voltage", voltage("psu2Voltage", "11.39"));
    expect(check({"psu1Voltage", "system.psu2Voltage"}), 1,
           "WARNING: psu2Voltage 11.39 V (outside 11.4:12.6) | "
           "'psu1Voltage'=12.00;11.4:12.6;10.8:13.2;; "
           "'psu2Voltage'=11.39;11.4:12.6;10.8:13.2;;\n");
}

TEST_F(CheckTest, HasTheWorstFirst) {
    device_.replace("ethPort1Status", number("ethPort1Status", "0"));
    device_.replace("psu2Voltage", voltage("psu2Voltage", "0"));
    const Outcome outcome = check();
    EXPECT_EQ(outcome.status, 2);
    EXPECT_THAT(outcome.output, StartsWith("CRITICAL: psu2Voltage 0.00 V (outside 10.8:13.2), "
                                           "ethPort1Status 0 (outside 1:2) | 'ethPort1Status'=0;"));
    EXPECT_THAT(check({"nosuch", "ethPort1Status"}).output, StartsWith("WARNING: ethPort1Status"));
    EXPECT_EQ(check({"nosuch", "ethPort1Status"}).status, 1);
}

TEST_F(CheckTest, ComparesWithRangesOfItsOwn) {
    expect(check({"level", "--warning=5"}), 1,
           "WARNING: level 7 (outside 0:5) | 'level'=7;0:5;;0;9\n");
    expect(check({"level", "--warning", "5", "--critical", "@7:8"}), 2,
           "CRITICAL: level 7 (inside 7:8) | 'level'=7;0:5;@7:8;0;9\n");
    expect(check({"level", "--critical=~:7"}), 0, "OK: level 7 | 'level'=7;;~:7;0;9\n");
}

TEST_F(CheckTest, KeepsTheOtherRangeOfTheCatalogue) {
    expect(check({"psu1Voltage", "--warning=12.1:"}), 1,
           "WARNING: psu1Voltage 12.00 V (outside 12.1:) | "
           "'psu1Voltage'=12.00;12.1:;10.8:13.2;;\n");
}

TEST_F(CheckTest, TakesPatternsOfNames) {
    EXPECT_THAT(check({"psu*"}).output,
                StartsWith("OK: psu1Voltage 12.00 V, psu2Voltage 11.40 V |"));
    expect(check({"psx*"}), 3, "UNKNOWN: psx* not found\n");
}

TEST_F(CheckTest, IsUnknownForWhatCannotBeCompared) {
    expect(check({"nosuch"}), 3, "UNKNOWN: nosuch not found\n");
    expect(check({"psu1Voltag"}), 3,
           "UNKNOWN: psu1Voltag not found; did you mean 'psu1Voltage'?\n");
    expect(check({"frameName"}), 3, "UNKNOWN: frameName has no number\n");
    expect(check({"level"}), 3, "UNKNOWN: level has no limits, give --warning or --critical\n");
    expect(check({"no|such\n"}), 3, "UNKNOWN: no/such? not found\n");
}

TEST_F(CheckTest, IsUnknownUntilSomethingIsMeasured) {
    device_.replace("battVoltage", voltage("battVoltage", "-1"));
    device_.replace("psu1Voltage", voltage("psu1Voltage", "0"));
    expect(check({"psu1Voltage", "--critical=10:"}), 3, "UNKNOWN: psu1Voltage is not measured\n");
    EXPECT_EQ(check().status, 3);
}

TEST_F(CheckTest, IsUnknownWithoutAnAnswer) {
    expect(check({"-o", "nobody", "--timeout=0.1", "level"}), 3, "UNKNOWN: nobody: no answer\n");
}

TEST_F(CheckTest, IsUnknownAfterAMistakeInTheLine) {
    for (const std::vector<std::string>& words :
         {std::vector<std::string>{"--warning=20:10", "level"},
          {"--critical=x", "level"},
          {"--warning=5"},
          {"--json"},
          {"-o", "other"},
          {"--nosuch"}}) {
        std::vector<std::string> line{"check"};
        line.insert(line.end(), words.begin(), words.end());
        const Outcome outcome = pallctl(bus_.port(), line);
        EXPECT_EQ(outcome.status, 3) << testing::PrintToString(words);
        EXPECT_THAT(outcome.output, MatchesRegex("UNKNOWN: [^\n]+\n"));
        EXPECT_THAT(outcome.errors, StartsWith("pallctl: "));
    }
}

TEST(CheckWithoutOutput, IsUnknown) {
    const Outcome outcome =
        runProgram(inShell("exec \"$@\" >/dev/full", pallctlCommand(1, {"check"})));
    EXPECT_EQ(outcome.status, 3);
    EXPECT_EQ(outcome.errors, "pallctl: standard output: No space left on device\n");
}

TEST(CheckWithoutABus, IsUnknownInOneLine) {
    const Outcome outcome = pallctl(1, {"check"});
    EXPECT_EQ(outcome.output, "UNKNOWN: no bus on 127.0.0.1:1: connect: Connection refused\n");
    EXPECT_EQ(outcome.errors, "");
    EXPECT_EQ(outcome.status, 3);
}

}  // namespace
