#include "util/json_fields.h"

#include <gtest/gtest.h>

namespace util {

namespace {

UniqueJSON parsed(const std::string& text) {
    return parseJSON(text.data(), text.size());
}

// What a reader makes of a member, beginning with a value of `before`.
template <typename Value>
Value fieldOf(const std::string& member, Value before) {
    readField(parsed("{\"key\": " + member + "}").get(), "key", before);
    return before;
}

// Every reader leaves the value alone when the member is not there to be read.
template <typename Value, typename Reader>
void expectUntouched(Reader reader, const Value& before) {
    for (const char* text : {"{}", R"({"KEY": 1})", "[1]", "1", ""}) {
        Value value = before;
        EXPECT_FALSE(reader(parsed(text).get(), "key", value)) << text;
        EXPECT_EQ(value, before) << text;
    }
}

TEST(IntegerValue, IsTheNumberCutOrOneForTrue) {
    for (const auto& [text, expected] : {std::pair{"7", 7},
                                         {"-2.9", -2},
                                         {"1e300", 2147483647},
                                         {"true", 1},
                                         {"false", 0},
                                         {"null", 0},
                                         {"\"7\"", 0},
                                         {"[7]", 0},
                                         {"{}", 0}}) {
        EXPECT_EQ(integerValue(parsed(text).get()), expected) << text;
    }
}

TEST(ReadField, LeavesTheValueWhenTheMemberIsAbsent) {
    using Object = const cJSON*;
    using Key = const char*;
    expectUntouched([](Object o, Key k, std::string& v) { return readField(o, k, v); },
                    std::string("before"));
    expectUntouched([](Object o, Key k, int32_t& v) { return readField(o, k, v); }, int32_t{4711});
    expectUntouched([](Object o, Key k, uint32_t& v) { return readField(o, k, v); },
                    uint32_t{4711});
    expectUntouched([](Object o, Key k, uint8_t& v) { return readField(o, k, v); }, uint8_t{47});
    for (bool before : {false, true}) {
        expectUntouched(readStrictBool, before);
        expectUntouched(readLenientBool, before);
    }
}

TEST(ReadField, StoresAText) {
    std::string value = "before";
    EXPECT_TRUE(readField(parsed(R"({"key": "text"})").get(), "key", value));
    EXPECT_EQ(value, "text");
    EXPECT_TRUE(readField(parsed(R"({"key": ""})").get(), "key", value));
    EXPECT_EQ(value, "");
}

TEST(ReadField, RefusesATextFromWhatIsNoString) {
    for (const char* member : {"12", "true", "null", "[\"text\"]", "{}"}) {
        std::string value = "before";
        const std::string object = std::string("{\"key\": ") + member + "}";
        EXPECT_FALSE(readField(parsed(object).get(), "key", value)) << member;
        EXPECT_EQ(value, "before") << member;
    }
}

TEST(ReadField, StoresASignedInteger) {
    EXPECT_EQ(fieldOf<int32_t>("-12", 4711), -12);
    EXPECT_EQ(fieldOf<int32_t>("12.9", 4711), 12);
    EXPECT_EQ(fieldOf<int32_t>("3000000000", 4711), 2147483647);
    EXPECT_EQ(fieldOf<int32_t>("-3000000000", 4711), -2147483647 - 1);
}

TEST(ReadField, StoresAnUnsignedInteger) {
    EXPECT_EQ(fieldOf<uint32_t>("3232235777", 4711), 3232235777U);
    EXPECT_EQ(fieldOf<uint32_t>("4294967295", 4711), 4294967295U);
    EXPECT_EQ(fieldOf<uint32_t>("1e10", 4711), 4294967295U);
    EXPECT_EQ(fieldOf<uint32_t>("-1", 4711), 0U);
}

TEST(ReadField, StoresTheLowEightBitsAsAByte) {
    EXPECT_EQ(fieldOf<uint8_t>("255", 47), 255);
    EXPECT_EQ(fieldOf<uint8_t>("258", 47), 2);
    EXPECT_EQ(fieldOf<uint8_t>("-1", 47), 255);
    EXPECT_EQ(fieldOf<uint8_t>("-256", 47), 0);
}

TEST(ReadField, StoresZeroForWhatIsNoNumber) {
    for (const char* member : {"null", "\"12\"", "true", "[]", "{}"}) {
        EXPECT_EQ(fieldOf<int32_t>(member, 4711), 0) << member;
        EXPECT_EQ(fieldOf<uint32_t>(member, 4711), 0U) << member;
        EXPECT_EQ(fieldOf<uint8_t>(member, 47), 0) << member;
    }
}

TEST(ReadStrictBool, IsTrueForTheLiteralTrueOnly) {
    bool value = false;
    EXPECT_TRUE(readStrictBool(parsed(R"({"key": true})").get(), "key", value));
    EXPECT_TRUE(value);
    for (const char* member : {"false", "1", "\"true\"", "null", "{}"}) {
        value = true;
        const std::string object = std::string("{\"key\": ") + member + "}";
        EXPECT_TRUE(readStrictBool(parsed(object).get(), "key", value)) << member;
        EXPECT_FALSE(value) << member;
    }
}

TEST(ReadLenientBool, TakesBooleansAndNumbers) {
    const std::pair<const char*, bool> members[] = {{"true", true}, {"false", false}, {"1", true},
                                                    {"0.25", true}, {"-1", true},     {"0", false}};
    for (const auto& [member, expected] : members) {
        bool value = !expected;
        const std::string object = std::string("{\"key\": ") + member + "}";
        EXPECT_TRUE(readLenientBool(parsed(object).get(), "key", value)) << member;
        EXPECT_EQ(value, expected) << member;
    }
}

TEST(ReadLenientBool, RefusesEveryOtherMember) {
    for (const char* member : {"null", "\"true\"", "[]", "{}"}) {
        for (bool before : {false, true}) {
            bool value = before;
            const std::string object = std::string("{\"key\": ") + member + "}";
            EXPECT_FALSE(readLenientBool(parsed(object).get(), "key", value)) << member;
            EXPECT_EQ(value, before) << member;
        }
    }
}

}  // namespace

}  // namespace util
