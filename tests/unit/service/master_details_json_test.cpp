#include "service/master_details_json.h"

#include <string>

#include <gtest/gtest.h>

namespace pallwatch {

namespace {

MasterSystemDetails read(const std::string& text) {
    const util::UniqueJSON item = util::parseJSON(text.data(), text.size());
    return masterDetailsFromJSON(item.get());
}

std::string rewritten(const std::string& text) {
    return util::renderJSON(masterDetailsToJSON(read(text)).get(), false);
}

constexpr const char* kEmptyHalf =
    R"({"ipAddress":"","present":false,"active":false,"version":""})";

std::string pairOf(const std::string& primary, const std::string& secondary) {
    return "{\"primary\":" + primary + ",\"secondary\":" + secondary + "}";
}

TEST(MasterDetailsJson, BothHalvesAreReadAndWrittenInOrder) {
    const std::string text =
        pairOf(R"({"ipAddress":"10.0.0.1","present":true,"active":true,"version":"1.2"})",
               R"({"ipAddress":"10.0.0.2","present":true,"active":false,"version":"1.3"})");
    const MasterSystemDetails details = read(text);
    EXPECT_EQ(details.primary.ipAddress, "10.0.0.1");
    EXPECT_TRUE(details.primary.present);
    EXPECT_TRUE(details.primary.active);
    EXPECT_EQ(details.primary.version, "1.2");
    EXPECT_EQ(details.secondary.ipAddress, "10.0.0.2");
    EXPECT_TRUE(details.secondary.present);
    EXPECT_FALSE(details.secondary.active);
    EXPECT_EQ(details.secondary.version, "1.3");
    EXPECT_EQ(rewritten(text), text);
}

TEST(MasterDetailsJson, OnlyAPrimaryLeavesTheSecondaryAtItsDefaults) {
    EXPECT_EQ(rewritten(R"({"primary":{"ipAddress":"10.0.0.1","present":true}})"),
              pairOf(R"({"ipAddress":"10.0.0.1","present":true,"active":false,"version":""})",
                     kEmptyHalf));
}

TEST(MasterDetailsJson, FlagsAreTrueOnlyAsJsonTrue) {
    EXPECT_EQ(
        rewritten(R"({"primary":{"present":1,"active":"true"},"secondary":{"present":null}})"),
        pairOf(kEmptyHalf, kEmptyHalf));
}

TEST(MasterDetailsJson, TextsAreTakenOnlyFromStrings) {
    EXPECT_EQ(rewritten(R"({"primary":{"ipAddress":10,"version":{"a":1}}})"),
              pairOf(kEmptyHalf, kEmptyHalf));
}

TEST(MasterDetailsJson, HalfThatIsNoObjectCountsAsAbsent) {
    EXPECT_EQ(rewritten(R"({"primary":[true],"secondary":"active"})"),
              pairOf(kEmptyHalf, kEmptyHalf));
}

TEST(MasterDetailsJson, MemberNamesAreCaseSensitive) {
    EXPECT_EQ(rewritten(R"({"Primary":{"present":true},"secondary":{"Present":true}})"),
              pairOf(kEmptyHalf, kEmptyHalf));
}

}  // namespace

}  // namespace pallwatch
