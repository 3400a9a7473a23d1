#include "bus/message_types.h"

#include <array>
#include <string>

#include <gtest/gtest.h>

namespace {

struct Word {
    int index;
    const char* word;
};
constexpr std::array<Word, 11> kWords = {{
    {0, "CMD"},
    {1, "CMDRSP"},
    {2, "CMDNOT"},
    {3, "RSP"},
    {4, "NOT"},
    {5, "ACK"},
    {6, "NAK"},
    {7, "GET"},
    {8, "SET"},
    {9, "DEL"},
    {10, "UPDATE"},
}};

struct Text {
    int code;
    const char* text;
};
constexpr std::array<Text, 21> kDefinedCodes = {{
    {200, "OK"},
    {201, "Created"},
    {202, "Accepted"},
    {204, "No Content"},
    {210, "OK With Info"},
    {400, "Bad Request"},
    {403, "Forbidden"},
    {404, "Not Found"},
    {405, "Method Not Allowed"},
    {408, "Request Timeout"},
    {429, "Too Many Requests"},
    {480, "Connection Point Not Found"},
    {481, "Connection Point Disconnected"},
    {482, "Device Not Found"},
    {490, "Route Protected"},
    {491, "Resource Protected"},
    {492, "Breakaway Error"},
    {493, "No Rule"},
    {494, "No Resource"},
    {495, "No Access"},
    {496, "Out of Range"},
}};

TEST(MessageTypes, EveryIndexHasItsWordAndBack) {
    for (const Word& row : kWords) {
        EXPECT_STREQ(typeWord(static_cast<MessageType>(row.index)), row.word);
        EXPECT_EQ(static_cast<int>(typeFromWord(row.word)), row.index) << row.word;
    }
}

TEST(MessageTypes, AnIndexOfElevenOrMoreHasAnEmptyWord) {
    for (const int index : {11, 12, 1000, -1}) {
        EXPECT_STREQ(typeWord(static_cast<MessageType>(index)), "") << index;
    }
}

TEST(MessageTypes, OnlyTheExactWordIsAType) {
    for (const char* const word : {"FOO", "get", "Get", "GE", "GETS", " GET", ""}) {
        EXPECT_EQ(typeFromWord(word), MessageType::none) << word;
    }
}

TEST(StatusCodes, EveryDefinedCodeHasItsTextAndIsKnown) {
    for (const Text& row : kDefinedCodes) {
        EXPECT_STREQ(statusText(row.code), row.text);
        EXPECT_TRUE(isKnownStatus(row.code)) << row.code;
    }
}

TEST(StatusCodes, ZeroHasATextButIsNoCodeToRead) {
    EXPECT_STREQ(statusText(0), "Unknown");
    EXPECT_FALSE(isKnownStatus(0));
}

TEST(StatusCodes, AnyOtherCodeHasNoText) {
    for (const int code : {-1, 1, 199, 203, 299, 401, 500, 497, 1000}) {
        EXPECT_STREQ(statusText(code), "") << code;
        EXPECT_FALSE(isKnownStatus(code)) << code;
    }
}

}  // namespace
