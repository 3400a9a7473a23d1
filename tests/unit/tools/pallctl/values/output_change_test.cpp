#include <gtest/gtest.h>

#include "bus/local_zone.h"
#include "pallctl/values/output.h"

namespace pallctl {
namespace {

using namespace std::chrono_literals;

// 2026-11-21T15:04:05.250Z
const std::chrono::system_clock::time_point kMoment{1795273445250ms};

client::Parameter voltage() {
    client::Parameter made;
    made.descriptor.name = "system.psu1Voltage";
    made.descriptor.type = "FLOAT";
    made.descriptor.precision = 2;
    made.value = util::jsonNumber(11.504);
    return made;
}

client::Parameter name(const std::string& text) {
    client::Parameter made;
    made.descriptor.name = "system.systemName";
    made.descriptor.type = "STRING";
    made.value = util::jsonString(text);
    return made;
}

class ChangeLine : public testing::Test {
  protected:
    std::string line(const client::Parameter& parameter, Format format, bool raw = false,
                     bool colour = false) {
        return formatChange(parameter, kMoment, {format, raw, colour});
    }

    LocalZone zone_{kUtc};
};

TEST_F(ChangeLine, IsTimeNameAndValueForPeople) {
    EXPECT_EQ(line(voltage(), Format::table), "15:04:05.250\tsystem.psu1Voltage\t11.50\n");
    EXPECT_EQ(line(voltage(), Format::table, true), "15:04:05.250\tsystem.psu1Voltage\t11.504\n");
}

TEST_F(ChangeLine, FitsTheTerminal) {
    Style style;
    style.columns = 80;
    EXPECT_EQ(formatChange(voltage(), kMoment, style), "15:04:05.250\tsystem.psu1Voltage\t11.50\n");
    EXPECT_EQ(formatChange(name(std::string(100, 'x')), kMoment, style),
              "15:04:05.250\tsystem.systemName\t" + std::string(39, 'x') + "\u2026\n");
    style.columns = 40;
    EXPECT_EQ(formatChange(voltage(), kMoment, style), "15:04:05.250\tpsu1Voltage\t11.50\n");
    EXPECT_EQ(formatChange(name(std::string(100, 'x')), kMoment, style),
              "15:04:05.250\tsystemName\t" + std::string(7, 'x') + "\u2026\n");
}

client::Parameter secondaryAddress() {
    client::Parameter made = name("10.0.0.5");
    made.descriptor.name = "system.secondaryIPAddress";
    return made;
}

TEST_F(ChangeLine, CutsALongNameOnANarrowTerminal) {
    Style style;
    style.columns = 40;
    EXPECT_EQ(formatChange(secondaryAddress(), kMoment, style),
              "15:04:05.250\tsecondaryIPAdd\u2026\t10.0.0.5\n");
    style.columns = 48;
    EXPECT_EQ(formatChange(secondaryAddress(), kMoment, style),
              "15:04:05.250\tsecondaryIPAddress\t10.0.0.5\n");
}

TEST_F(ChangeLine, HasTheTimeOfDayWhereALongerTimeHasNoRoom) {
    Style style;
    for (const cli::TimeForm form : {cli::TimeForm::date, cli::TimeForm::iso}) {
        style.time = form;
        style.columns = 40;
        EXPECT_EQ(formatChange(secondaryAddress(), kMoment, style),
                  "15:04:05.250\tsecondaryIPAdd\u2026\t10.0.0.5\n");
    }
    style.columns = 64;
    EXPECT_EQ(formatChange(secondaryAddress(), kMoment, style),
              "2026-11-21T15:04:05.250+00:00\tsecondaryIPAddress\t10.0.0.5\n");
}

TEST_F(ChangeLine, IsAnObjectForPrograms) {
    EXPECT_EQ(line(voltage(), Format::json),
              R"({"time":"2026-11-21T15:04:05.250+00:00","name":"system.psu1Voltage",)"
              R"("value":11.504,"text":"11.50"})"
              "\n");
    EXPECT_EQ(line({voltage().descriptor, nullptr}, Format::json),
              R"({"time":"2026-11-21T15:04:05.250+00:00","name":"system.psu1Voltage",)"
              R"("value":null,"text":null})"
              "\n");
}

TEST_F(ChangeLine, IsThreeAssignmentsForAShell) {
    EXPECT_EQ(line(name("it's"), Format::keyvalue),
              "time='2026-11-21T15:04:05.250+00:00' name='system.systemName' value='it'\\''s'\n");
}

TEST_F(ChangeLine, GivesAShellTheValueExactly) {
    EXPECT_EQ(line(name("l1\nl2\t\x1b[0m"), Format::keyvalue),
              "time='2026-11-21T15:04:05.250+00:00' name='system.systemName' "
              "value='l1\nl2\t\x1b[0m'\n");
    EXPECT_EQ(line({voltage().descriptor, nullptr}, Format::keyvalue),
              "time='2026-11-21T15:04:05.250+00:00' name='system.psu1Voltage' value=''\n");
}

TEST_F(ChangeLine, IsOneLineWhateverTheValueHolds) {
    EXPECT_EQ(line(name("a\nb\x1b[2J"), Format::table),
              "15:04:05.250\tsystem.systemName\ta\\nb\\x1b[2J\n");
    EXPECT_EQ(line(name("a\nb"), Format::json),
              R"({"time":"2026-11-21T15:04:05.250+00:00","name":"system.systemName",)"
              R"("value":"a\nb","text":"a\nb"})"
              "\n");
}

TEST_F(ChangeLine, IsPaintedOnlyWhenAskedTo) {
    EXPECT_EQ(line(voltage(), Format::table, false, true),
              "\x1b[2m15:04:05.250\x1b[0m\tsystem.psu1Voltage\t\x1b[1m11.50\x1b[0m\n");
    EXPECT_EQ(line(voltage(), Format::json, false, true).find('\x1b'), std::string::npos);
}

}  // namespace
}  // namespace pallctl
