#include "systemstate/block_file.h"

#include <gmock/gmock.h>

namespace systemstate {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

TEST(BlockFile, EmptyTextHasNoBlock) {
    EXPECT_THAT(decodeBlockFile(""), IsEmpty());
}

TEST(BlockFile, LineWithColonIsKeyAndValue) {
    EXPECT_THAT(decodeBlockFile("MII Status: up\n"),
                ElementsAre(ElementsAre(Pair("MII Status", "up"))));
}

TEST(BlockFile, EmptyLineEndsABlock) {
    EXPECT_THAT(decodeBlockFile("a: 1\n\nb: 2\n"),
                ElementsAre(ElementsAre(Pair("a", "1")), ElementsAre(Pair("b", "2"))));
}

TEST(BlockFile, EndOfFileEndsTheLastBlockAlsoWithoutLineFeed) {
    EXPECT_THAT(decodeBlockFile("a: 1\n\nb: 2"),
                ElementsAre(ElementsAre(Pair("a", "1")), ElementsAre(Pair("b", "2"))));
}

TEST(BlockFile, EmptyBlocksAreDropped) {
    EXPECT_THAT(decodeBlockFile("\n\na: 1\n\n\n\nb: 2\n\n\n"),
                ElementsAre(ElementsAre(Pair("a", "1")), ElementsAre(Pair("b", "2"))));
}

TEST(BlockFile, BlockOfLinesWithoutColonIsDropped) {
    EXPECT_THAT(decodeBlockFile("no key here\n\nb: 2\n"), ElementsAre(ElementsAre(Pair("b", "2"))));
}

TEST(BlockFile, LineWithoutColonIsSkippedAndEndsNothing) {
    EXPECT_THAT(decodeBlockFile("a: 1\n \r\nb: 2\n"),
                ElementsAre(ElementsAre(Pair("a", "1"), Pair("b", "2"))));
}

TEST(BlockFile, KeyEndsAtTheFirstColon) {
    EXPECT_THAT(decodeBlockFile("Permanent HW addr: 00:1b:c5\n"),
                ElementsAre(ElementsAre(Pair("Permanent HW addr", "00:1b:c5"))));
}

TEST(BlockFile, KeyMayBeEmpty) {
    EXPECT_THAT(decodeBlockFile(":x\n"), ElementsAre(ElementsAre(Pair("", "x"))));
}

TEST(BlockFile, OnlyOneBlankAfterTheColonIsSkipped) {
    EXPECT_THAT(decodeBlockFile("a:1\nb: 2\nc:  3\n"),
                ElementsAre(ElementsAre(Pair("a", "1"), Pair("b", "2"), Pair("c", " 3"))));
}

TEST(BlockFile, OneQuoteAfterTheColonIsSkippedThenOneBlank) {
    EXPECT_THAT(decodeBlockFile("a:\"1\nb:\" 2\nc:\"\"3\n"),
                ElementsAre(ElementsAre(Pair("a", "1"), Pair("b", "2"), Pair("c", "\"3"))));
}

TEST(BlockFile, QuoteAfterTheBlankStays) {
    EXPECT_THAT(decodeBlockFile("a: \"1\n"), ElementsAre(ElementsAre(Pair("a", "\"1"))));
}

TEST(BlockFile, OneTrailingQuoteIsRemoved) {
    EXPECT_THAT(decodeBlockFile("a:\"1\"\nb: 2\"\"\nc: 3\" \nd:\"4\""),
                ElementsAre(ElementsAre(Pair("a", "1"), Pair("b", "2\""), Pair("c", "3\" "),
                                        Pair("d", "4"))));
}

TEST(BlockFile, ValueOfNothingButAQuoteIsEmpty) {
    EXPECT_THAT(decodeBlockFile("a:\"\nb:\nc: \n"),
                ElementsAre(ElementsAre(Pair("a", ""), Pair("b", ""), Pair("c", ""))));
}

TEST(BlockFile, LaterKeyOverwritesWithinItsBlockOnly) {
    EXPECT_THAT(decodeBlockFile("a: 1\na: 2\n\na: 3\n"),
                ElementsAre(ElementsAre(Pair("a", "2")), ElementsAre(Pair("a", "3"))));
}

TEST(BlockFile, ZeroBytesAreOrdinaryCharacters) {
    const std::string text("a\0b: c\0d\n", 9);
    EXPECT_THAT(decodeBlockFile(text),
                ElementsAre(ElementsAre(Pair(std::string("a\0b", 3), std::string("c\0d", 3)))));
}

TEST(BlockText, MissingKeyGivesEmptyText) {
    const Block block{{"a", "1"}};
    EXPECT_EQ(blockText(block, "a"), "1");
    EXPECT_EQ(blockText(block, "A"), "");
}

struct IntegerCase {
    const char* name;
    const char* text;
    std::int32_t number;
};

class BlockIntegerReads : public testing::TestWithParam<IntegerCase> {};

TEST_P(BlockIntegerReads, WithoutComplaint) {
    std::vector<UnreadInteger> unread;
    EXPECT_EQ(blockInteger({{"n", GetParam().text}}, "n", unread), GetParam().number);
    EXPECT_THAT(unread, IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Base10, BlockIntegerReads,
                         testing::Values(IntegerCase{"Zero", "0", 0},
                                         IntegerCase{"Plain", "200", 200},
                                         IntegerCase{"Negative", "-5", -5},
                                         IntegerCase{"TextAfterTheNumber", "12abc", 12},
                                         IntegerCase{"NoHexadecimal", "0x10", 0},
                                         IntegerCase{"NoOctal", "010", 10},
                                         IntegerCase{"Largest", "2147483647", 2147483647}),
                         [](const auto& row) { return row.param.name; });

class BlockIntegerComplains : public testing::TestWithParam<IntegerCase> {};

TEST_P(BlockIntegerComplains, AndGivesMinusOne) {
    std::vector<UnreadInteger> unread;
    EXPECT_EQ(blockInteger({{"n", GetParam().text}}, "n", unread), -1);
    EXPECT_THAT(unread, ElementsAre(UnreadInteger{"n", GetParam().text}));
}

INSTANTIATE_TEST_SUITE_P(NoInteger, BlockIntegerComplains,
                         testing::Values(IntegerCase{"Empty", "", -1},
                                         IntegerCase{"Word", "fast", -1},
                                         IntegerCase{"BeyondTheRange", "99999999999999999999", -1}),
                         [](const auto& row) { return row.param.name; });

TEST(BlockInteger, MissingKeyIsAnEmptyTextThatIsNoInteger) {
    std::vector<UnreadInteger> unread;
    EXPECT_EQ(blockInteger({}, "Up Delay (ms)", unread), -1);
    EXPECT_THAT(unread, ElementsAre(UnreadInteger{"Up Delay (ms)", ""}));
}

// A mebibyte of them, each second, would be fifty.
TEST(BlockFile, HasSixteenBlocksAtMost) {
    std::string text;
    for (int i = 0; i < 100; ++i) {
        text += "Key: " + std::to_string(i) + "\n\n";
    }
    const std::vector<Block> blocks = decodeBlockFile(text);
    ASSERT_EQ(blocks.size(), 16U);
    EXPECT_EQ(blockText(blocks[15], "Key"), "15");
}

TEST(BlockFile, BlockHas256KeysAtMost) {
    std::string text;
    for (int i = 0; i < 300; ++i) {
        text += std::to_string(i) + ": x\n";
    }
    const std::vector<Block> blocks = decodeBlockFile(text);
    ASSERT_EQ(blocks.size(), 1U);
    EXPECT_EQ(blocks[0].size(), 256U);
}

}  // namespace

}  // namespace systemstate
