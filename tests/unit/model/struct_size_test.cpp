// What a struct refuses to become.

#include "model/struct_size.h"

#include <string>

#include <gtest/gtest.h>

#include "model/tosk_struct_value.h"
#include "tosk_test_support.h"

namespace model {

namespace {

int read(ToskStructValue& value, const std::string& json) {
    return value.fromJSON(parsed(json).get());
}

std::string numbered(size_t count, const std::string& member) {
    std::string json = "{";
    for (size_t i = 0; i < count; ++i) {
        json += (i > 0 ? ",\"_d_" : "\"_d_") + std::to_string(i) + "\":" + member;
    }
    return json + "}";
}

constexpr const char* kNumber = R"({"type":"INT32","value":1})";

std::string text(size_t length) {
    return R"({"type":"STRING","value":")" + std::string(length, 'x') + "\"}";
}

TEST(StructSize, TakesSixtyFourMembersAndNoMore) {
    ToskStructValue value;
    EXPECT_EQ(-1, read(value, numbered(65, kNumber)));
    EXPECT_TRUE(value.params().empty());
    EXPECT_EQ(0, read(value, numbered(64, kNumber)));
    EXPECT_EQ(0, read(value, numbered(64, R"({"type":"INT32","value":2})")));
    const std::string before = rendered(value.toJSON());
    EXPECT_EQ(-1, read(value, R"({"_d_0":{"type":"INT32","value":3},"_d_new":{"type":"INT32"}})"));
    EXPECT_EQ(before, rendered(value.toJSON())) << "nothing of a refused one is taken";
}

TEST(StructSize, MembersOfStructsInsideCount) {
    const std::string inner = R"({"type":"STRUCT","value":)" + numbered(20, kNumber) + "}";
    ToskStructValue value;
    EXPECT_EQ(-1, read(value, numbered(4, inner)));
    quietly([&] { EXPECT_EQ(0, read(value, numbered(3, inner))); });  // 3 and 60
    EXPECT_EQ(-1, read(value, R"({"_d_a":{"type":"INT32"},"_d_b":{"type":"INT32"}})"));
    EXPECT_EQ(0, read(value, R"({"_d_a":{"type":"INT32"}})"));
}

TEST(StructSize, MemberThatIsHeldMayNotGrowBeyondEither) {
    ToskStructValue value;
    EXPECT_EQ(0, read(value, numbered(60, kNumber)));
    quietly([&] {
        EXPECT_EQ(0, read(value, R"({"_d_s":{"type":"STRUCT","value":{}}})"));
        const std::string grown = R"({"_d_s":{"type":"STRUCT","value":)";
        EXPECT_EQ(-1, read(value, grown + numbered(4, kNumber) + "}}"));
        EXPECT_EQ(0, read(value, grown + numbered(3, kNumber) + "}}"));
    });
}

TEST(StructSize, HoldsAMebibyteOfTextsInAll) {
    ToskStructValue value;
    EXPECT_EQ(0, read(value, numbered(2, text(500'000))));
    EXPECT_EQ(-1, read(value, R"({"_d_new":)" + text(100'000) + "}"));
    EXPECT_EQ(-1, read(value, R"({"_d_0":)" + text(600'000) + "}"));
    EXPECT_EQ(0, read(value, R"({"_d_0":)" + text(1000) + "}"));
    EXPECT_EQ(0, read(value, R"({"_d_new":)" + text(500'000) + "}"));
    EXPECT_EQ(-1, read(value, R"({"_d_more":{"type":"INT32","name":")" + std::string(100'000, 'n') +
                                  "\"}}"));
    EXPECT_EQ(-1, read(value, R"({"_d_more":{"type":"INT32","widget":")" +
                                  std::string(100'000, 'w') + "\"}}"));
    EXPECT_EQ(-1, read(value, R"({"_d_)" + std::string(100'000, 'k') + R"(":{"type":"INT32"}})"));
}

TEST(StructSize, ChoicesCountAsTexts) {
    std::string choices;
    for (int i = 0; i < 50'000; ++i) {
        choices += i > 0 ? R"(,{"value":1,"name":""})" : R"({"value":1,"name":""})";
    }
    ToskStructValue value;
    EXPECT_EQ(-1, read(value, R"({"_d_c":{"type":"INT32","constraint":{"type":"INT_CHOICE",)"
                              R"("choices":[)" +
                                  choices + "]}}}"));
    EXPECT_TRUE(value.params().empty());
}

TEST(StructSize, DepthIsCountedAsMembers) {
    const auto levels = [](size_t count) {
        return nested(count, R"({"_d_s":{"type":"STRUCT","value":)", "{}", "}}");
    };
    ToskStructValue value;
    quietly([&] {
        EXPECT_EQ(-1, read(value, levels(65)));
        EXPECT_EQ(0, read(value, levels(64)));
    });
}

TEST(StructSize, MeasuresWhatIsHeldAsItMeasuresWhatIsRead) {
    const std::string json =
        R"({"_d_name":{"type":"STRING","name":"Name","widget":"text","value":"abc"},)"
        R"("_d_s":{"type":"STRUCT","value":{"_d_c":{"type":"INT32",)"
        R"("constraint":{"type":"INT_CHOICE","choices":[{"value":1,"name":"one"}]}}}}})";
    const util::UniqueJSON item = parsed(json);
    ToskStructValue value;
    quietly([&] { ASSERT_EQ(0, value.fromJSON(item.get())); });
    EXPECT_EQ(3u, sizeOfValue(&value).members);
    EXPECT_EQ(3u, sizeOfValue(item.get()).members);
    EXPECT_GE(sizeOfValue(item.get()).texts, 4u + 4 + 4 + 3 + 1 + 1 + 3);
}

}  // namespace

}  // namespace model
