#include "util/item_count.h"

#include <string>

#include <gtest/gtest.h>

namespace util {

namespace {

// The number of items is the least one that the text does not exceed.
std::size_t items(const std::string& json) {
    std::size_t count = 0;
    while (hasMoreItems(json, count)) {
        ++count;
    }
    return count;
}

}  // namespace

TEST(ItemCount, CountsCommasAndOpeningBrackets) {
    EXPECT_EQ(items("[1,1,1]"), 3u);
    EXPECT_EQ(items(R"({"a":1,"b":[2,{}],"c":{"d":3}})"), 7u);
    EXPECT_EQ(items(" \n[ [ ] , [ ] ]"), 4u);
}

TEST(ItemCount, WhatIsNoArrayAndNoObjectHasNoItems) {
    EXPECT_EQ(items(""), 0u);
    EXPECT_EQ(items("7"), 0u);
    EXPECT_EQ(items(R"("a,b,c")"), 0u);
}

TEST(ItemCount, TextsHoldNoItems) {
    EXPECT_EQ(items(R"(["[,{,"])"), 1u);
    EXPECT_EQ(items(R"(["\",\"",1])"), 2u);
    EXPECT_EQ(items(R"(["\\",1,1])"), 3u);
    EXPECT_EQ(items(R"({"a,\\\",b":1})"), 1u);
}

TEST(ItemCount, TextWithoutAnEndTakesTheRest) {
    EXPECT_EQ(items(R"([1,"2,3,4)"), 2u);
    EXPECT_EQ(items("[1,\"2,3\\"), 2u);
}

TEST(ItemCount, WhatFollowsTheValueIsNotLookedAt) {
    EXPECT_EQ(items("[1,2] [3,4,5]"), 2u);
    EXPECT_EQ(items("7,8,[9,9]"), 2u) << "the bracket opens an array of its own";
}

TEST(ItemCount, MissingAndWrongBracketsEndNowhereElse) {
    EXPECT_EQ(items("[[[[1,1"), 5u);
    EXPECT_EQ(items("]]],,,"), 0u);
    EXPECT_EQ(items("[1}"), 1u);
}

}  // namespace util
