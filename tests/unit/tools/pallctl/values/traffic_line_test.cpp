#include "pallctl/values/traffic_line.h"

#include <gmock/gmock.h>

#include "bus/local_zone.h"
#include "cli/table.h"
#include "support/captured_log.h"

namespace pallctl {
namespace {

using namespace std::chrono_literals;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

// 2026-11-21T15:04:05.250Z
const std::chrono::system_clock::time_point kMoment{1795273445250ms};

const std::string kAnnouncement =
    "[\"NOT\", \"system\", 8, 0, 0]\n{\"id\":\"17@4711.00\",\"param\":{\"psu1Voltage\":11.5}}";
const std::string kAnswer =
    "[\"RSP\", \"system\", 8, 1000042, 0]\n"
    "{\"id\":\"1@5\",\"requestCommand\":\"SET\",\"statusCode\":404,\"statusMsg\":\"Not Found\"}";

class Traffic : public testing::Test {
  protected:
    std::string line(const std::string& payload, size_t columns = 0, bool raw = false) const {
        return formatMessageLine(payload, kMoment, {Format::table, raw, false}, columns);
    }
    std::string json(const std::string& payload) const {
        return formatMessageLine(payload, kMoment, {Format::json, false, false}, 0);
    }
    std::string shell(const std::string& payload) const {
        return formatMessageLine(payload, kMoment, {Format::keyvalue, false, false}, 0);
    }

    LocalZone zone_{kUtc};
    CapturedLog log_;
};

TEST_F(Traffic, TellsWhoSaysWhatToWhom) {
    EXPECT_EQ(
        line(kAnnouncement),
        "15:04:05.250  NOT             8 -> *          system  psu1Voltage=11.5  17@4711.00\n");
    EXPECT_EQ(line(kAnswer),
              "15:04:05.250  RSP             8 -> 1000042    system  404 Not Found  1@5\n");
}

TEST_F(Traffic, TellsTheNamesOfClients) {
    const auto nameClient = [](int32_t id) { return std::string(id == 8 ? "pallwatch" : ""); };
    EXPECT_EQ(formatMessageLine(kAnswer, kMoment, {}, 0, nameClient),
              "15:04:05.250  RSP     pallwatch -> 1000042    system  404 Not Found  1@5\n");
    EXPECT_THAT(formatMessageLine(kAnswer, kMoment, {Format::json, false, false}, 0, nameClient),
                HasSubstr(R"("from":8,"fromName":"pallwatch","to":1000042,"toName":null,)"));
    EXPECT_THAT(
        formatMessageLine(kAnswer, kMoment, {Format::keyvalue, false, false}, 0, nameClient),
        HasSubstr("from='8' fromName='pallwatch' to='1000042' toName='' "));
}

TEST_F(Traffic, HasTheTimeInTheChosenForm) {
    Style style;
    style.time = cli::TimeForm::date;
    EXPECT_THAT(formatMessageLine(kAnswer, kMoment, style, 0),
                StartsWith("2026-11-21 15:04:05.250  RSP "));
}

// An answer to nobody in particular is one to the bus.
TEST_F(Traffic, TellsAnAnswerToTheBusFromWhatIsForEverybody) {
    EXPECT_THAT(line("[\"RSP\", \"system\", 8, 0, 0]\n{}"), HasSubstr(" -> 0 "));
    EXPECT_THAT(line("[\"GET\", \"system\", 8, 0, 0]\n{}"), HasSubstr(" -> * "));
}

TEST_F(Traffic, ShowsTheDataAsTheyCameWhenRaw) {
    EXPECT_EQ(line(kAnnouncement, 0, true),
              "15:04:05.250  NOT             8 -> *          system  "
              R"({"id":"17@4711.00","param":{"psu1Voltage":11.5}})"
              "  17@4711.00\n");
}

TEST_F(Traffic, IsCutToTheTerminalWithTheIdLast) {
    const std::string text(200, 'x');
    const std::string payload =
        "[\"NOT\", \"system\", 8, 0, 0]\n{\"id\":\"7@1\",\"param\":{\"systemName\":\"" + text +
        "\"}}";
    for (const size_t columns : {80u, 75u, 200u}) {
        const std::string cut = line(payload, columns);
        EXPECT_EQ(cli::textWidth(cut), columns + 1) << cut;
        EXPECT_THAT(cut, EndsWith("x\u2026  7@1\n"));
    }
    EXPECT_THAT(line(payload, 64), EndsWith("  systemNam\u2026\n")) << "no room for the id";
    EXPECT_EQ(cli::textWidth(line(payload, 30)), 31u);
    EXPECT_EQ(line(kAnnouncement, 300), line(kAnnouncement));
}

TEST_F(Traffic, IsCutBetweenCharacters) {
    std::string text;
    for (int i = 0; i < 100; ++i) {
        text += "\u00e4";
    }
    const std::string payload =
        "[\"NOT\", \"system\", 8, 0, 0]\n{\"param\":{\"n\":\"" + text + "\"}}";
    const std::string cut = line(payload, 70);
    EXPECT_EQ(cli::textWidth(cut), 71u);
    EXPECT_THAT(cut, HasSubstr("\u00e4\u2026"));
}

TEST_F(Traffic, IsAnObjectForPrograms) {
    EXPECT_EQ(
        json(kAnnouncement),
        R"({"time":"2026-11-21T15:04:05.250+00:00","type":"NOT","from":8,)"
        R"("fromName":null,"to":0,"toName":null,"object":"system","data":{"id":"17@4711.00","param":{"psu1Voltage":11.5}}})"
        "\n");
}

TEST_F(Traffic, IsAssignmentsForAShell) {
    EXPECT_EQ(shell("[\"NOT\", \"it's\", 8, 0, 0]\n{\"a\":1}"),
              "time='2026-11-21T15:04:05.250+00:00' type='NOT' from='8' fromName='' to='0' "
              "toName='' object='it'\\''s' data='{\"a\":1}'\n");
}

TEST_F(Traffic, ShowsWhatIsNoMessage) {
    EXPECT_EQ(line("no header"), "15:04:05.250  ?       no header\n");
    EXPECT_EQ(json("no header"), R"({"time":"2026-11-21T15:04:05.250+00:00","payload":"no header"})"
                                 "\n");
    EXPECT_EQ(shell("no header"), "time='2026-11-21T15:04:05.250+00:00' payload='no header'\n");
    EXPECT_EQ(parseMessageHead("no header").type, "");
}

TEST_F(Traffic, GivesProgramsWhatIsNoMessageAsARecordingDoes) {
    EXPECT_EQ(json("a\nb"), R"({"time":"2026-11-21T15:04:05.250+00:00","payload":"a\nb"})"
                            "\n");
    EXPECT_EQ(json("\x1b\xff"), R"({"time":"2026-11-21T15:04:05.250+00:00","base64":"G/8="})"
                                "\n");
    EXPECT_EQ(shell("\x1b\xff"), "time='2026-11-21T15:04:05.250+00:00' base64='G/8='\n");
}

TEST_F(Traffic, ShowsDataThatAreNoJson) {
    EXPECT_THAT(line("[\"NOT\", \"system\", 8, 0, 0]\nwhat"), EndsWith("system  what\n"));
    EXPECT_THAT(json("[\"NOT\", \"system\", 8, 0, 0]\nwhat"), EndsWith(R"("data":"what"})"
                                                                       "\n"));
}

class HostileTraffic : public Traffic, public testing::WithParamInterface<std::string> {
  protected:
    static bool isSafe(const std::string& text) {
        return text.find('\n') == text.size() - 1 &&
               text.find_first_of(std::string("\x00\x07\x08\x0d\x1b\x7f\x9b", 7)) ==
                   std::string::npos &&
               text.find("\xc2\x9b") == std::string::npos;
    }
};

const std::string kHostile[] = {
    "\x1b[2J",
    "a\nb",
    "[\"NOT\", \"a\x1b[2Jb\", 8, 0, 0]\n{}",
    "[\"NOT\", \"s\", 8, 0, 0]\n{\"id\":\"\x1b[2J\",\"a\\u001b\":\"\\u001b[2J\\n\\u009b\\u007f\"}",
    "[\"NOT\", \"s\", 8, 0, 0]\n{\"param\":{\"a\\nb\":\"\xc2\x9b\x7f\"}}",
    "[\"NOT\", \"s\", 8, 0, 0]\n{\"param\":{\"objectName\":[\"\\u001b[2J\",7]}}",
    "[\"NOT\", \"s\", 8, 0, 0]\n{\"param\":\"\x9b\"}",
    "[\"NOT\", \"s\", 8, 0, 0]\nno \x1b JSON \r",
    std::string("[\"NOT\", \"s\", 8, 0, 0]\n{}\0\x1b", 26),
    std::string("\0\0", 2),
    "",
};

INSTANTIATE_TEST_SUITE_P(Each, HostileTraffic, testing::ValuesIn(kHostile));

TEST_P(HostileTraffic, NeitherBreaksALineNorCommandsATerminal) {
    for (const size_t columns : {0u, 40u, 80u}) {
        EXPECT_TRUE(isSafe(line(GetParam(), columns))) << line(GetParam(), columns);
        EXPECT_TRUE(isSafe(line(GetParam(), columns, true)));
    }
    EXPECT_TRUE(isSafe(shell(GetParam()))) << shell(GetParam());
    const std::string object = json(GetParam());
    EXPECT_TRUE(isSafe(object)) << object;
    EXPECT_NE(util::parseJSON(object.data(), object.size()), nullptr);
}

TEST_F(Traffic, HasAHeadToChooseBy) {
    const MessageHead head = parseMessageHead(kAnswer);
    EXPECT_EQ(head.type, "RSP");
    EXPECT_EQ(head.object, "system");
    EXPECT_EQ(head.from, 8);
    EXPECT_EQ(head.to, 1000042);
}

}  // namespace
}  // namespace pallctl
