#include "bus/tarn_internal_header.h"

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "local_zone.h"
#include "support/captured_log.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using namespace std::string_literals;

constexpr timespec kNow = {1'800'000'000, 0};  // 2027-01-15T08:00:00 UTC

std::optional<TarnInternalHeader> decode(const std::string& line) {
    const auto decoded = lumo::decodeHeader(line.c_str(), kNow);
    return decoded ? std::optional(decoded->header) : std::nullopt;
}

TarnInternalHeader header(MessageType type, const std::string& objectName) {
    TarnInternalHeader header;
    header.type = type;
    header.objectName = objectName;
    return header;
}

// The header whose source is written like this, as JSON.
TarnInternalHeader withSource(const std::string& source) {
    return decode("[\"GET\", \"system\", " + source + ", 0, 0]").value();
}

TEST(HeaderEncoding, WritesTheFieldsInOrder) {
    TarnInternalHeader login = header(MessageType::SET, "system.connection");
    login.source = 8;
    login.destination = -3;
    EXPECT_EQ(login.encode(), "[\"SET\", \"system.connection\", 8, -3, 0]\n");
}

TEST(HeaderEncoding, AScheduledTimeIsWrittenAsDatehere) {
    TarnInternalHeader line = header(MessageType::GET, "system");
    line.scheduled = {1'800'000'000, 0};
    EXPECT_EQ(line.encode(), "[\"GET\", \"system\", 0, 0, \"datehere\"]\n");
    line.scheduled = {0, 1};
    EXPECT_EQ(line.encode(), "[\"GET\", \"system\", 0, 0, \"datehere\"]\n");
}

TEST(HeaderEncoding, TheObjectNameIsNotEscaped) {
    EXPECT_EQ(header(MessageType::NOT, "a\"b\\c").encode(), "[\"NOT\", \"a\"b\\c\", 0, 0, 0]\n");
}

TEST(HeaderEncoding, ATypeBeyondTheTableIsEmpty) {
    EXPECT_EQ(header(MessageType::none, "x").encode(), "[\"\", \"x\", 0, 0, 0]\n");
    EXPECT_EQ(header(static_cast<MessageType>(12), "x").encode(), "[\"\", \"x\", 0, 0, 0]\n");
}

TEST(HeaderEncoding, ALineOf255BytesIsWhole) {
    const std::string name(234, 'x');
    const std::string line = header(MessageType::GET, name).encode();
    EXPECT_EQ(line, "[\"GET\", \"" + name + "\", 0, 0, 0]\n");
    EXPECT_EQ(line.size(), 255U);
}

TEST(HeaderEncoding, ALongerLineIsCut) {
    EXPECT_EQ(header(MessageType::GET, std::string(235, 'x')).encode(),
              "[\"GET\", \"" + std::string(235, 'x') + "\", 0, 0, 0]");
    EXPECT_EQ(header(MessageType::GET, std::string(1000, 'x')).encode(),
              "[\"GET\", \"" + std::string(246, 'x'));
}

TEST(HeaderDecoding, ReadsTheFieldsInOrder) {
    const TarnInternalHeader line = decode("[\"RSP\", \"system.connection\", 1, 8, 0]").value();
    EXPECT_EQ(line.type, MessageType::RSP);
    EXPECT_EQ(line.objectName, "system.connection");
    EXPECT_EQ(line.source, 1);
    EXPECT_EQ(line.destination, 8);
    EXPECT_FALSE(line.scheduled.isScheduled());
    EXPECT_THAT(line.objectPath, IsEmpty());
}

// The tab sends the line to the JSON library, whatever is in it.
TEST(HeaderDecoding, TheUsualLineIsReadAsTheLibraryReadsIt) {
    for (const std::string rest :
         {R"("GET", "system", 5, 0, 0])", R"("SET","frameB.system",-7,2147483647,-1] and more)",
          R"( "RSP" , "" , 0005, -0, 0 ])", R"("NOT", "é / \u00e9", 1, 2, 0])"}) {
        const TarnInternalHeader line = decode("[" + rest).value();
        const TarnInternalHeader same = decode("[\t" + rest).value();
        EXPECT_EQ(line.type, same.type) << rest;
        EXPECT_EQ(line.objectName, same.objectName) << rest;
        EXPECT_EQ(line.source, same.source) << rest;
        EXPECT_EQ(line.destination, same.destination) << rest;
    }
}

TEST(HeaderDecoding, TheScheduledTimeMayBeMissing) {
    EXPECT_TRUE(decode("[\"GET\", \"system\", 1, 8]"));
}

TEST(HeaderDecoding, ThreeItemsAreNotEnough) {
    EXPECT_FALSE(decode("[\"GET\", \"system\", 1]"));
    EXPECT_FALSE(decode("[]"));
}

TEST(HeaderDecoding, ALineBeyondAllMeasureIsNotEvenParsed) {
    const std::string start = "[\"GET\", \"";
    const std::string end = "\", 1, 2, 0]";
    const size_t most = 64 * 1024 - start.size() - end.size();
    EXPECT_TRUE(decode(start + std::string(most, 'x') + end).has_value());
    EXPECT_FALSE(decode(start + std::string(most + 1, 'x') + end).has_value());
}

TEST(HeaderDecoding, AnUnknownTypeFails) {
    EXPECT_FALSE(decode("[\"FOO\", \"system\", 0, 0, 0]"));
    EXPECT_FALSE(decode("[\"get\", \"system\", 0, 0, 0]"));
    EXPECT_FALSE(decode("[\"\", \"system\", 0, 0, 0]"));
}

TEST(HeaderDecoding, TypeAndObjectNameMustBeTexts) {
    EXPECT_FALSE(decode("[7, \"system\", 0, 0, 0]"));
    EXPECT_FALSE(decode("[null, \"system\", 0, 0, 0]"));
    EXPECT_FALSE(decode("[\"GET\", 1, 0, 0, 0]"));
    EXPECT_FALSE(decode("[\"GET\", null, 0, 0, 0]"));
    EXPECT_TRUE(decode("[\"GET\", \"\", 0, 0, 0]"));
}

TEST(HeaderDecoding, AnythingButAnArrayFails) {
    for (const std::string line : {"", "x", "{}", "\"GET\"", "1", "null", "[\"GET\", \"system\"",
                                   "{\"a\":\"GET\",\"b\":\"system\",\"c\":1,\"d\":8}"}) {
        EXPECT_FALSE(decode(line)) << line;
    }
}

TEST(HeaderDecoding, NestingWithoutEndFails) {
    EXPECT_FALSE(decode(std::string(1'000'000, '[')));
}

TEST(HeaderDecoding, ASourceMayBeANumberWithAQualifier) {
    const TarnInternalHeader line = withSource("\"8@left\"");
    EXPECT_EQ(line.source, 8);
    EXPECT_EQ(line.sourceQualifier, "left");
}

TEST(HeaderDecoding, ADestinationMayBeANumberWithAQualifier) {
    const TarnInternalHeader line = decode("[\"GET\", \"system\", 3, \"9@right\", 0]").value();
    EXPECT_EQ(line.source, 3);
    EXPECT_EQ(line.sourceQualifier, "");
    EXPECT_EQ(line.destination, 9);
    EXPECT_EQ(line.destinationQualifier, "right");
}

TEST(HeaderDecoding, TheQualifierBeginsBehindTheFirstAt) {
    EXPECT_EQ(withSource("\"8@a@b\"").sourceQualifier, "a@b");
    EXPECT_EQ(withSource("\"8@\"").source, 8);
    EXPECT_EQ(withSource("\"8@\"").sourceQualifier, "");
}

TEST(HeaderDecoding, TheNumberBeforeTheAtHasItsBasePrefix) {
    EXPECT_EQ(withSource("\"0x10@q\"").source, 16);
    EXPECT_EQ(withSource("\"010@q\"").source, 8);
    EXPECT_EQ(withSource("\"-1@q\"").source, -1);
}

TEST(HeaderDecoding, TheNumberBeforeTheAtHasFewerThanSixteenCharacters) {
    EXPECT_EQ(withSource("\"000000000000007@q\"").source, 7);
    EXPECT_EQ(withSource("\"0000000000000007@q\"").source, 0);
}

TEST(HeaderDecoding, ASourceInAnyOtherFormChangesNothing) {
    for (const std::string source : {"\"8\"", "\"@q\"", "\"8x@q\"", "\" @q\"", "\"2147483648@q\"",
                                     "\"\"", "null", "true", "[8]", "{}"}) {
        const TarnInternalHeader line = withSource(source);
        EXPECT_EQ(line.source, 0) << source;
        EXPECT_EQ(line.sourceQualifier, "") << source;
    }
}

TEST(HeaderDecoding, NumbersAreTruncatedAndSaturate) {
    EXPECT_EQ(withSource("2.9").source, 2);
    EXPECT_EQ(withSource("-2.9").source, -2);
    EXPECT_EQ(withSource("2147483648").source, INT32_MAX);
    EXPECT_EQ(withSource("1e300").source, INT32_MAX);
    EXPECT_EQ(withSource("-1e300").source, INT32_MIN);
}

TEST(HeaderDecoding, ATimeToComeIsKept) {
    const LocalZone utc(kUtc);
    CapturedLog log;
    const lumo::ScheduledTime time =
        decode("[\"SET\", \"system\", 1, 0, \"+00:00:05.250\"]").value().scheduled;
    EXPECT_EQ(time.seconds, kNow.tv_sec + 5);
    EXPECT_EQ(time.nanoseconds, 250'000'000);
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST(HeaderDecoding, GivesTheFaultOfATimeAndItsText) {
    const auto fault = [](const std::string& time) {
        const auto line = R"(["SET", "system", 1, 0, ")" + time + R"("])";
        const auto decoded = lumo::decodeHeader(line.c_str(), kNow).value();
        return std::pair(decoded.timeFault, decoded.timeText);
    };
    EXPECT_EQ(fault("+x"), std::pair(lumo::TimeFault::delay, "+x"s));
    EXPECT_EQ(fault("+00:00:05.x"), std::pair(lumo::TimeFault::milliseconds, "+00:00:05.x"s));
    EXPECT_EQ(fault("+00:00:05"), std::pair(lumo::TimeFault::none, ""s));
    EXPECT_EQ(fault("datehere"), std::pair(lumo::TimeFault::none, ""s));
}

TEST(HeaderDecoding, AnythingElseInPlaceOfATimeIsNotScheduled) {
    CapturedLog log;
    for (const std::string time : {"0", "1800000100", "null", "\"datehere\"", "[\"+00:00:05\"]",
                                   "\"2001-01-01T00:00:00\""}) {
        const auto line = decode("[\"SET\", \"system\", 1, 0, " + time + "]");
        ASSERT_TRUE(line) << time;
        EXPECT_FALSE(line->scheduled.isScheduled()) << time;
    }
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST(ObjectPath, IsTheNameSplitAtEveryDot) {
    TarnInternalHeader line = header(MessageType::GET, "a.b.c");
    line.splitObjectName();
    EXPECT_THAT(line.objectPath, ElementsAre("a", "b", "c"));
    line.splitObjectName();
    EXPECT_THAT(line.objectPath, ElementsAre("a", "b", "c"));
}

TEST(ObjectPath, EmptyPartsCount) {
    TarnInternalHeader line = header(MessageType::GET, "");
    line.splitObjectName();
    EXPECT_THAT(line.objectPath, ElementsAre(""));
    line.objectName = ".a..";
    line.splitObjectName();
    EXPECT_THAT(line.objectPath, ElementsAre("", "a", "", ""));
}

}  // namespace
