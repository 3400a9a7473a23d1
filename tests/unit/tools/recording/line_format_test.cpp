#include "recording/line_format.h"

#include <utility>
#include <vector>

#include <gmock/gmock.h>

#include "support/seeded_random.h"

namespace {

using namespace std::chrono_literals;
using namespace std::string_literals;
using recording::Entry;
using recording::formatLine;
using recording::Header;
using recording::parseEntryLine;
using recording::parseHeaderLine;

// 2026-11-21 15:30:00.000042 UTC, counted by hand: 20778 days since 1970.
constexpr std::chrono::system_clock::time_point kStart{20778 * 24h + 15h + 30min + 42us};

constexpr const char* kHeaderLine =
    R"({"recording":1,"start":"2026-11-21T15:30:00.000042Z","by":"pallbus"})";

template <typename Read>
std::string problemOf(Read read, const std::string& line) {
    try {
        read(line);
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "none";
}

TEST(HeaderLineTest, SaysFormatStartAndProgram) {
    EXPECT_EQ(formatLine(Header{kStart, "pallbus"}), kHeaderLine);
    EXPECT_EQ(parseHeaderLine(kHeaderLine), (Header{kStart, "pallbus"}));
}

TEST(HeaderLineTest, RefusesWhatIsNoRecordingOrAnotherFormat) {
    const std::vector<std::pair<std::string, std::string>> wrong{
        {"", "the line is not a JSON object"},
        {"PNG", "the line is not a JSON object"},
        {"[1]", "the line is not a JSON object"},
        {R"({"recording":1)", "the line is not a JSON object"},
        {"{}", "\"recording\" is missing"},
        {R"({"recording":"1"})", "\"recording\" is missing"},
        {R"({"recording":2,"start":"2026-11-21T15:30:00.000000Z"})",
         "unknown format; this program reads format 1"}};
    for (const auto& [line, problem] : wrong) {
        EXPECT_EQ(problemOf(parseHeaderLine, line), problem) << line;
    }
}

TEST(HeaderLineTest, RefusesAStartThatIsNoTime) {
    for (const char* start : {"", "now", "2026-11-21", "2026-11-21T15:30:00Z",
                              "2026-02-30T15:30:00.000000Z", "9999-11-21T15:30:00.000000Z",
                              "0001-11-21T15:30:00.000000Z", "2026-11-21T25:30:00.000000Z",
                              "2026-11-21T15:30:00.000000", "2026-11-21T15:30:00.000000Z "}) {
        const std::string line = R"({"recording":1,"start":")" + std::string(start) + "\"}";
        EXPECT_EQ(problemOf(parseHeaderLine, line),
                  "\"start\" is not a time such as 2026-11-21T15:30:00.000000Z")
            << start;
    }
}

TEST(EntryLineTest, IsWrittenAsDocumented) {
    EXPECT_EQ(formatLine(Entry{1'000'250us, 8, "[\"GET\", \"\u00e4\", 8, 0, 0]\n{}"}),
              R"({"at":1.000250,"from":8,"payload":"[\"GET\", \")"
              "\u00e4"
              R"(\", 8, 0, 0]\n{}"})");
    EXPECT_EQ(formatLine(Entry{0us, -1, "\xff"}), R"({"at":0.000000,"from":-1,"base64":"/w=="})");
}

TEST(EntryLineTest, IsReadWhateverTheOrderAndTheSpaces) {
    EXPECT_EQ(parseEntryLine(" { \"payload\" : \"a\\u00e4\\/\" , \"from\":0,\"at\":2 }\r"),
              (Entry{2s, 0, "a\u00e4/"}));
    EXPECT_EQ(parseEntryLine(R"({"at":0.5,"from":5,"base64":"AA==","note":"odd"})"),
              (Entry{500ms, 5, "\0"s}));
}

TEST(EntryLineTest, NamesWhatIsWrong) {
    const std::vector<std::pair<std::string, std::string>> wrong{
        {"hello", "the line is not a JSON object"},
        {R"({"at":1,"from":8,"payload":"x"} {})", "the line is not a JSON object"},
        {R"({"from":8,"payload":"x"})", "\"at\" is missing or out of range"},
        {R"({"at":"1","from":8,"payload":"x"})", "\"at\" is missing or out of range"},
        {R"({"at":-1,"from":8,"payload":"x"})", "\"at\" is missing or out of range"},
        {R"({"at":1e300,"from":8,"payload":"x"})", "\"at\" is missing or out of range"},
        {R"({"at":1,"payload":"x"})", "\"from\" is missing or out of range"},
        {R"({"at":1,"from":3e9,"payload":"x"})", "\"from\" is missing or out of range"},
        {R"({"at":1,"from":1.5,"payload":"x"})", "\"from\" is not a connection ID"},
        {R"({"at":1,"from":8})", "needs one text, \"payload\" or \"base64\""},
        {R"({"at":1,"from":8,"payload":7})", "needs one text, \"payload\" or \"base64\""},
        {R"({"at":1,"from":8,"payload":"x","base64":"eA=="})",
         "needs one text, \"payload\" or \"base64\""},
        {R"({"at":1,"from":8,"base64":"x"})", "\"base64\" is invalid"},
        {R"({"at":1,"from":8,"payload":"a\u0000b"})",
         "a NUL in a text; such payloads are written as \"base64\""},
        {"{\"at\":1,\"from\":8,\"payload\":\"a\0b\"}"s,
         "a NUL in a text; such payloads are written as \"base64\""}};
    for (const auto& [line, problem] : wrong) {
        EXPECT_EQ(problemOf(parseEntryLine, line), problem) << line;
    }
}

TEST(EntryLineTest, TakesABackslashBeforeU0000ForWhatItIs) {
    EXPECT_EQ(parseEntryLine(R"({"at":1,"from":8,"payload":"\\u0000"})").payload, "\\u0000");
}

TEST(EntryLineTest, RefusesAPayloadThatNoBusCarries) {
    const std::string payload(recording::kMaxPayloadBytes, 'x');
    EXPECT_EQ(parseEntryLine(formatLine(Entry{0us, 8, payload})).payload.size(), payload.size());
    EXPECT_EQ(problemOf(parseEntryLine, formatLine(Entry{0us, 8, payload + "x"})),
              "the payload is larger than the bus takes");
}

TEST(EntryLineTest, KeepsTheLineOfTheLargestPayloadInItsBound) {
    const std::string worst(recording::kMaxPayloadBytes, '"');
    EXPECT_LE(formatLine(Entry{999'999'999'999'999us, INT32_MIN, worst}).size(),
              recording::kMaxLineBytes);
}

std::string anyPayload(SeededRandom& random) {
    switch (random.below(3)) {
        case 0:
            return random.text(80, "[]{}\"\\/:,\n\t\r u0123abc\u00e4\u20ac");
        case 1:
            return random.text(80, "abc\x00\x01\x7f\x80\xc3\xa4\xe2\x82\xac\xff"s);
        default:
            return "[\"SET\", \"system\", 5, 0, 0]\n{\"param\":{\"name\":\"\u20ac\"}}";
    }
}

TEST(EntryLineTest, BringsEveryMicrosecondSenderAndByteBack) {
    SeededRandom random;
    for (int round = 0; round < 3000; ++round) {
        const Entry entry{std::chrono::microseconds(random.between(0, 1'000'000'000'000'000)),
                          static_cast<int32_t>(random.between(INT32_MIN, INT32_MAX)),
                          anyPayload(random)};
        const std::string line = formatLine(entry);
        ASSERT_EQ(line.find('\n'), std::string::npos) << line;
        ASSERT_EQ(parseEntryLine(line), entry) << line;
    }
}

}  // namespace
