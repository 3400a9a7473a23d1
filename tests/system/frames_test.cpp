// What the daemon makes of the bytes that come from the bus: whatever they are, it lives, keeps the
// connection, and handles the next frame.

#include <syslog.h>

#include "bus/local_zone.h"
#include "on_bus.h"
#include "support/seeded_random.h"

using namespace harness;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr size_t kLongest = 20'000'000;
// A length that cannot be used leaves its colon, and what follows is skipped until so many bytes
// have come together with it.
constexpr size_t kSkipped = 16;

const std::string kRequest = busFrame(
    "[\"SET\", \"system\", 5, 0, 0]\n{\"id\":\"1@5\",\"param\":{\"systemName\":\"Studio\"}}");

// A payload as a log line has it.
std::string shown(const std::string& payload) {
    constexpr size_t kMost = 1024;
    return payload.size() <= kMost
               ? payload
               : payload.substr(0, kMost) + "... (" + std::to_string(payload.size()) + " bytes)";
}

class Frames : public OnBus {
  protected:
    void SetUp() override { start(); }

    void expectHandled(int times = 1) {
        std::vector<std::string> expected;
        for (int i = 0; i < times; ++i) {
            expected.push_back(announced(R"({"systemName":"Studio"})"));
            expected.push_back(answered(200, "OK"));
        }
        EXPECT_EQ(sentUntilNow(), expected);
    }

    std::string errorsUntilTheEnd() {
        stop();
        return daemon->error().waitForEnd();
    }
};

TEST_F(Frames, AreWholeAgainWhereverTheyAreSplit) {
    for (size_t at = 1; at < kRequest.size(); ++at) {
        bus.sendRaw(kRequest.substr(0, at));
        bus.waitUntilRead();
        bus.sendRaw(kRequest.substr(at));
        expectHandled();
    }
}

TEST_F(Frames, AreWholeAgainByteByByte) {
    for (const char byte : kRequest) {
        bus.sendRaw({&byte, 1});
        bus.waitUntilRead();
    }
    expectHandled();
}

TEST_F(Frames, MayComeTogether) {
    bus.sendRaw(kRequest + kRequest);
    expectHandled(2);
    const size_t half = kRequest.size() / 2;
    bus.sendRaw(kRequest + kRequest.substr(0, half));
    bus.waitUntilRead();
    bus.sendRaw(kRequest.substr(half) + kRequest);
    expectHandled(3);
}

TEST_F(Frames, WithALengthOfManyDigitsAreFrames) {
    const size_t colon = kRequest.find(':');
    bus.sendRaw(std::string(15 - colon, '0') + kRequest);
    expectHandled();
}

TEST_F(Frames, WithAWrongEndAreShownOnStandardErrorAndDropped) {
    std::string wrong = kRequest;
    wrong.back() = ',';
    bus.sendRaw(wrong + kRequest + "2:ab3" + kRequest);
    expectHandled(2);
    const std::string payload = wrong.substr(wrong.find(':') + 1);
    EXPECT_EQ(errorsUntilTheEnd(), payload.substr(0, payload.size() - 1) + "\nab\n");
}

// The payload's text ends at a zero byte for whoever shows it, not for the frame.
TEST_F(Frames, CountTheirBytesAndNotTheirText) {
    bus.sendRaw("9:" + std::string("ab\0;\n:1:c", 9) + ";" + kRequest);
    expectHandled();
}

std::string skipped(const std::string& afterColon) {
    return ":" + afterColon + std::string(kSkipped - 1 - afterColon.size(), 'x');
}

TEST_F(Frames, WhatIsNoneIsSkippedWithoutAWord) {
    for (const std::string& bytes : {"0" + skipped(";"),                        //
                                     "-5" + skipped("abcde;"),                  //
                                     skipped(""),                               //
                                     "x5" + skipped("abcde;"),                  //
                                     "99999999999" + skipped(""),               //
                                     "999999999999999" + skipped(""),           //
                                     "0000000000000007" + skipped("abcdefg;"),  //
                                     "20000001" + skipped(""),                  //
                                     std::string(kSkipped, '5'),                //
                                     std::string(10 * kSkipped, '\0'),          //
                                     std::string(1000 * kSkipped, '\xff'),      //
                                     skipped("") + skipped(";;") + skipped("{")}) {
        SCOPED_TRACE(bytes.substr(0, 20));
        bus.sendRaw(bytes + kRequest);
        expectHandled();
    }
    EXPECT_EQ(errorsUntilTheEnd(), "");
}

// A frame that is handled at its end and not before.
TEST_F(Frames, OfTheGreatestLengthAreTaken) {
    std::string payload = kRequest.substr(kRequest.find(':') + 1);
    payload.resize(payload.size() - 2);  // its last brace and the end
    payload += R"(,"more":")";
    payload += std::string(kLongest - payload.size() - 2, 'x') + "\"}";
    ASSERT_EQ(payload.size(), kLongest);
    bus.sendRaw(busFrame(payload) + kRequest);
    expectHandled(2);
}

TEST_F(Frames, OfOneByteMoreAreSkippedToTheirEnd) {
    const std::string tooLong = busFrame(std::string(kLongest + 1, 'x'));
    const size_t skippedSoFar = tooLong.size() - tooLong.find(':');
    bus.sendRaw(tooLong + std::string(kSkipped - skippedSoFar % kSkipped, 'x') + kRequest);
    expectHandled();
    EXPECT_EQ(errorsUntilTheEnd(), "");
}

TEST_F(Frames, WithoutALineFeedAreToldOfAndDropped) {
    bus.sendRaw(busFrame("[\"SET\", \"system\", 5, 0, 0]{}") + kRequest);
    expectHandled();
    const std::string text =
        "TarnInternalMessage Header not found:[\"SET\", \"system\", 5, 0, 0]{}\n";
    EXPECT_EQ(log.waitFor(text), (LogLine{LOG_INFO, LOG_LOCAL2, "Pallwatch", text}));
}

TEST_F(Frames, WithUnusableHeadersAreToldOfAndDropped) {
    for (const std::string& header :
         {std::string(), std::string("7"), std::string("{}"), std::string("[]"),
          std::string(R"(["SET", "system", 5])"), std::string(R"(["FOO", "system", 5, 0, 0])"),
          std::string(R"(["set", "system", 5, 0, 0])"), std::string(R"([8, "system", 5, 0, 0])"),
          std::string(R"(["SET", 7, 5, 0, 0])"), std::string(R"(["SET", "system", 5, 0, 0)"),
          std::string("%s%n%s"), std::string("\xff\xfe"), std::string(30'000, '[')}) {
        SCOPED_TRACE(header.substr(0, 40));
        bus.sendRaw(busFrame(header + "\n" + R"({"id":"1@5","param":{"systemName":"Studio"}})") +
                    kRequest);
        expectHandled();
        const std::string text = "TarnInternalMessage header decode error:" + shown(header) + "\n";
        EXPECT_EQ(log.waitFor(text), (LogLine{LOG_INFO, LOG_LOCAL2, "Pallwatch", text}));
    }
    EXPECT_EQ(errorsUntilTheEnd(), "");
}

// The line feed is not counted.
TEST_F(Frames, WithAHeaderLineOfMoreThan64KibibytesAreReportedAndDropped) {
    const auto makeHeader = [](size_t size) {
        const std::string start = R"(["SET", "system", 5, 0, 0, ")";
        return start + std::string(size - start.size() - 2, 'x') + "\"]";
    };
    const std::string data = "\n" + std::string(R"({"id":"1@5","param":{"systemName":"Studio"}})");
    bus.sendRaw(busFrame(makeHeader(64 * 1024) + data));
    expectHandled();
    const std::string tooLong = makeHeader(64 * 1024 + 1);
    bus.sendRaw(busFrame(tooLong + data) + kRequest);
    expectHandled();
    log.waitFor("TarnInternalMessage header decode error:" + shown(tooLong) + "\n");
}

// Nothing that a GET or a SET could work on.
TEST_F(Frames, WithOddDataArePassedOver) {
    for (const std::string& data :
         {std::string(), std::string("7"), std::string("null"), std::string("{"), std::string("{}"),
          std::string(R"({"param":7})"), std::string(R"({"param":[]})"),
          std::string(R"({"param":"objectName"})"), std::string(R"({"param":["systemName"]})"),
          std::string(R"({"param":{}})"), std::string(R"({"Param":{"objectName":["systemName"]}})"),
          std::string(R"({"id":7,"param":null})"),
          std::string(R"({"param":{"objectName":["systemName"]})"), std::string(100'000, '['),
          std::string(1'000'000, '{'),
          R"({"param":)" + std::string(2'000, '[') + std::string(2'000, ']') + "}"}) {
        SCOPED_TRACE(data.substr(0, 40));
        bus.get("system", data);
        bus.set("system", data);
        EXPECT_THAT(sentUntilNow(), IsEmpty());
    }
}

TEST_F(Frames, WithOddNamesArePassedOver) {
    for (const char* names :
         {"7", R"("systemName")", R"({"a":"systemName"})", R"([7,null,{},["systemName"]])",
          R"([""])", R"(["SystemName"])", R"(["system.systemName"])"}) {
        SCOPED_TRACE(names);
        for (const std::string kind : {"param", "paramDescriptor"}) {
            bus.get("system", "{\"" + kind + "\":{\"objectName\":" + names + "}}");
        }
        EXPECT_THAT(sentUntilNow(), IsEmpty());
    }
}

TEST_F(Frames, DeepDataIsToldOf) {
    const std::string data(5'000, '[');
    bus.get("system", data);
    EXPECT_THAT(sentUntilNow(), IsEmpty());
    log.waitFor("TarnInternalMessage data decode error:" + shown(data) + "\n");
}

// The line that comes for this message is the only one.
TEST_F(Frames, DataThatCannotBeDecodedAreReportedOnce) {
    const std::string beginning = "TarnInternalMessage data decode error:";
    bus.get("system", R"({"id":"1@5","param")");
    EXPECT_THAT(sentUntilNow(), IsEmpty());
    std::vector<LogLine> lines = log.linesUntilNow();
    std::erase_if(lines, [&](const LogLine& line) { return !line.text.starts_with(beginning); });
    EXPECT_THAT(lines, ElementsAre(LogLine{LOG_INFO, LOG_LOCAL2, "Pallwatch",
                                           beginning + "{\"id\":\"1@5\",\"param\"\n"}));
}

// Read as winter time, noon would be one o'clock.
class FramesInSummer : public OnBus {
    LocalZone europe_{kCentralEurope};
};

TEST_F(FramesInSummer, WithAnAbsoluteTimeAreDueInSummerTime) {
    start();
    bus.sendRaw(busFrame("[\"GET\", \"system\", 5, 0, \"2037-07-01T12:00:00.250\"]\n{}"));
    EXPECT_EQ(log.waitFor("Message Scheduled"),
              (LogLine{LOG_INFO, LOG_LOCAL2, "Pallwatch",
                       "Message Scheduled at 2037-07-01T12:00:00.250\n"}));
}

TEST_F(Frames, TextsFromTheBusAreNoFormats) {
    bus.set("system", R"({"id":"1@5","param":{"systemName":"%s%n%d%99999s"}})");
    EXPECT_THAT(sentUntilNow(),
                ElementsAre(announced(R"({"systemName":"%s%n%d%99999s"})"), answered(200, "OK")));
    log.waitFor("System param Set: system.systemName = %s%n%d%99999s\n");
}

TEST_F(Frames, TheirOddHeadersAreUnderstood) {
    bus.sendRaw(
        busFrame("[\"SET\", \"system\", \"0x5@slot1\", \"7@x\"]\n"
                 "{\"id\":\"1@5\",\"param\":{\"systemName\":\"Studio\"}}"));
    expectHandled();
}

TEST_F(Frames, NoiseDoesNoHarm) {
    constexpr char kAlphabet[] = "0123456789:;,[]{}\"\n SETx\xff";  // and the zero byte
    SeededRandom random;
    for (int i = 0; i < 200; ++i) {
        bus.sendRaw(kRequest.substr(0, random.below(kRequest.size())));
        bus.sendRaw(random.text(200, {kAlphabet, sizeof(kAlphabet)}));
    }
    EXPECT_THAT(greeted(), testing::SizeIs(4)) << "a new connection begins with a clean slate";
    EXPECT_THAT(sentUntilNow(), IsEmpty());
}

TEST_F(Frames, APeerThatVanishesInTheMiddleOfOneLeavesNothingBehind) {
    bus.sendRaw(kRequest.substr(0, kRequest.size() / 2));
    bus.waitUntilRead();
    greeted();
    bus.sendRaw(kRequest);
    expectHandled();
}

}  // namespace
