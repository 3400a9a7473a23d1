#include "model/tosk_struct_value.h"

#include <gtest/gtest.h>

#include "tosk_test_support.h"

namespace model {

namespace {

ToskParam textMember(const std::string& leaf, const std::string& text) {
    return makeMember(leaf, kTypeString, std::make_shared<ToskStringValue>(text));
}

void read(ToskStructValue& value, const std::string& json) {
    EXPECT_EQ(0, value.fromJSON(parsed(json).get()));
}

TEST(ToskStructValue, StartsWithoutMembersAndWithoutText) {
    const ToskStructValue value;
    EXPECT_EQ(8, value.type());
    EXPECT_TRUE(value.params().empty());
    EXPECT_EQ("", value.toString());
    EXPECT_EQ("{}", rendered(value.toJSON()));
}

TEST(ToskStructValue, WritesMembersInOrderUnderTheirLeavesWithoutIdentifiers) {
    ToskStructValue value;
    value.addParam(textMember("name", "COM1"));
    value.addParam(makeMember("dev", kTypeInt16));
    EXPECT_EQ(R"({"_d_name":{"name":"","type":"STRING","readonly":false,"value":"COM1"},)"
              R"("_d_dev":{"name":"","type":"INT16","readonly":false}})",
              rendered(value.toJSON()));
}

TEST(ToskStructValue, RefusesANullItem) {
    EXPECT_EQ(-1, ToskStructValue().fromJSON(nullptr));
}

TEST(ToskStructValue, ReadsUnknownMembersAsNewOnesInDocumentOrder) {
    ToskStructValue value;
    read(value, R"({"_d_b":{"type":"STRING","name":"B","value":"x"},"_d_a":{"type":"INT32"}})");
    ASSERT_EQ(2U, value.params().size());
    EXPECT_EQ(ToskOID::fromParts("", "b"), value.params()[0].oid());
    EXPECT_EQ("B", value.params()[0].name());
    EXPECT_EQ("x", value.params()[0].valueToString());
    EXPECT_EQ(ToskOID::fromParts("", "a"), value.params()[1].oid());
    EXPECT_EQ(nullptr, value.params()[1].value());
}

TEST(ToskStructValue, IgnoresKeysThatDoNotBeginWithTheThreeCharacters) {
    ToskStructValue value;
    read(value, R"({"d_name":{"type":"INT32"},"name":{"type":"INT32"},"_d":{"type":"INT32"},
                    "":{"type":"INT32"},"_D_name":{"type":"INT32"}," _d_x":{"type":"INT32"}})");
    EXPECT_TRUE(value.params().empty());
}

TEST(ToskStructValue, MemberNameIsWhatFollowsThePrefixWhateverDotsItHas) {
    ToskStructValue value;
    read(value, R"({"_d_net.ip":{"type":"INT32"},"_d__d_":{"type":"INT32"}})");
    ASSERT_EQ(2U, value.params().size());
    EXPECT_EQ(ToskOID::fromParts("", "net.ip"), value.params()[0].oid());
    EXPECT_EQ(ToskOID::fromParts("", "_d_"), value.params()[1].oid());
}

TEST(ToskStructValue, KeyOfThePrefixAloneGivesAMemberWithAnEmptyName) {
    ToskStructValue value;
    read(value, R"({"_d_":{"type":"INT32","value":4}})");
    ASSERT_EQ(1U, value.params().size());
    EXPECT_EQ("", value.params()[0].oid().prefix());
    EXPECT_EQ("", value.params()[0].oid().leaf());
    read(value, R"({"_d_":{"type":"INT32","value":5}})");
    ASSERT_EQ(1U, value.params().size());
    EXPECT_EQ(5, integerOf(value.params()[0]));
}

TEST(ToskStructValue, NamelessMemberWithoutATypeIsSkipped) {
    ToskStructValue value;
    read(value, R"({"_d_":{"value":4}})");
    EXPECT_TRUE(value.params().empty());
}

TEST(ToskStructValue, IdentifierInTheJsonTakesNoPartInTheMatch) {
    ToskStructValue value;
    const char* const member = R"({"_d_a":{"oid":"x.b","type":"INT32","value":4}})";
    read(value, member);
    read(value, member);
    ASSERT_EQ(2U, value.params().size());
    EXPECT_EQ("x.b", value.params()[1].oid().toString());
}

TEST(ToskStructValue, FirstOfSeveralMembersOfANameTakesTheValue) {
    ToskStructValue value;
    read(value, R"({"_d_a":{"oid":".b","type":"INT32","value":1},
                    "_d_c":{"oid":".b","type":"INT32","value":2}})");
    read(value, R"({"_d_b":{"type":"INT32","value":7}})");
    ASSERT_EQ(2U, value.params().size());
    EXPECT_EQ(7, integerOf(value.params()[0]));
    EXPECT_EQ(2, integerOf(value.params()[1]));
}

TEST(ToskStructValue, UnreadableMembersAreSkippedAndTheRestIsRead) {
    ToskStructValue value;
    read(value, R"({"_d_a":7,"_d_b":{"value":1},"_d_c":null,"_d_d":[],"_d_e":{"type":"INT32"}})");
    ASSERT_EQ(1U, value.params().size());
    EXPECT_EQ("e", value.params()[0].oid().leaf());
}

TEST(ToskStructValue, WhatIsNoObjectHoldsNoMembers) {
    ToskStructValue value;
    for (const char* json : {"7", "null", "\"_d_a\"", R"([{"type":"INT32"}])"}) {
        read(value, json);
    }
    EXPECT_TRUE(value.params().empty());
}

TEST(ToskStructValue, HeldMemberTakesTheValueAndItsListenerHears) {
    RecordingListener listener;
    ToskStructValue value;
    ToskParam member = textMember("name", "COM1");
    member.setListener(&listener);
    value.addParam(member);
    read(value, R"({"_d_name":{"type":"STRING","name":"Other","value":"COM9"}})");
    ASSERT_EQ(1U, value.params().size());
    EXPECT_EQ("COM9", value.params()[0].valueToString());
    EXPECT_EQ("", value.params()[0].name()) << "only the value is handed over";
    EXPECT_EQ((std::vector{const_cast<ToskParam*>(&value.params()[0])}), listener.heard);
    read(value, R"({"_d_name":{"type":"STRING","value":"COM9"}})");
    EXPECT_EQ(1U, listener.heard.size()) << "the same value again";
}

TEST(ToskStructValue, MemberWithoutValueChangesNothing) {
    RecordingListener listener;
    ToskStructValue value;
    ToskParam member = textMember("name", "COM1");
    member.setListener(&listener);
    value.addParam(member);
    value.addParam(makeMember("empty", kTypeString));
    read(value, R"({"_d_name":{"type":"STRING"},"_d_empty":{"type":"STRING"}})");
    EXPECT_EQ("COM1", value.params()[0].valueToString());
    EXPECT_EQ(nullptr, value.params()[1].value());
    EXPECT_TRUE(listener.heard.empty());
    EXPECT_FALSE(value.changed());
}

TEST(ToskStructValue, MemberOfAnotherTypeChangesNothing) {
    ToskStructValue value;
    value.addParam(textMember("name", "COM1"));
    read(value, R"({"_d_name":{"type":"INT32","value":7}})");
    EXPECT_EQ("COM1", value.params()[0].valueToString());
}

TEST(ToskStructValue, IdentifierInsideTheJSONTakesNoPartInTheMatch) {
    ToskStructValue value;
    value.addParam(textMember("name", "COM1"));
    read(value, R"({"_d_name":{"oid":"x.other","type":"STRING","value":"COM9"},
                    "_d_other":{"oid":".name","type":"STRING","value":"COM7"}})");
    ASSERT_EQ(2U, value.params().size());
    EXPECT_EQ("COM9", value.params()[0].valueToString());
    EXPECT_EQ(".name", value.params()[1].oid().toString());
    EXPECT_EQ("COM7", value.params()[1].valueToString());
}

TEST(ToskStructValue, MemberWithAPrefixIsNotMatched) {
    ToskStructValue value;
    value.addParam(makeParam("x.name", kTypeString));
    read(value, R"({"_d_name":{"type":"STRING","value":"COM9"}})");
    ASSERT_EQ(2U, value.params().size());
    EXPECT_EQ(nullptr, value.params()[0].value());
}

TEST(ToskStructValue, OnlyTheFirstOfEqualMembersTakesTheValue) {
    ToskStructValue value;
    value.addParam(textMember("name", "first"));
    value.addParam(textMember("name", "second"));
    read(value, R"({"_d_name":{"type":"STRING","value":"new"}})");
    EXPECT_EQ("new", value.params()[0].valueToString());
    EXPECT_EQ("second", value.params()[1].valueToString());
}

TEST(ToskStructValue, ChangedTellsWhetherAMemberCameOrBecameAnother) {
    ToskStructValue value;
    const util::UniqueJSON json = parsed(R"({"_d_name":{"type":"STRING","value":"a"}})");
    EXPECT_TRUE(value.setFromJSONChanged(json.get()));
    EXPECT_FALSE(value.setFromJSONChanged(json.get()));
    const util::UniqueJSON other = parsed(R"({"_d_name":{"type":"STRING","value":"b"}})");
    EXPECT_TRUE(value.setFromJSONChanged(other.get()));
    EXPECT_FALSE(value.setFromJSONChanged(parsed("{}").get()));
}

TEST(ToskStructValue, UpdateReplacesAllMembersPrintsThemAndReportsAChange) {
    ToskStructValue value;
    value.addParam(textMember("old", "x"));
    ToskStructValue other;
    other.addParam(textMember("name", "COM1"));
    other.addParam(textMember("dev", "/dev/ttyS2"));
    bool report = false;
    const std::string printed = printedBy([&] { report = value.updateFrom(ToskParam(), &other); });
    EXPECT_TRUE(report);
    EXPECT_EQ("update, sub_param oid=name\nupdate, sub_param oid=dev\n", printed);
    EXPECT_EQ(rendered(other.toJSON()), rendered(value.toJSON()));
    EXPECT_FALSE(value.changed());
}

TEST(ToskStructValue, UpdateReportsAChangeWhateverTheContents) {
    ToskStructValue value;
    const ToskStructValue empty;
    EXPECT_TRUE(value.updateFrom(ToskParam(), &empty));
    value.addParam(textMember("name", "COM1"));
    EXPECT_TRUE(value.updateFrom(ToskParam(), &value));
    EXPECT_EQ(1U, value.params().size());
}

TEST(ToskStructValue, UpdateIgnoresOtherKinds) {
    ToskStructValue value;
    value.addParam(textMember("name", "COM1"));
    const ToskIntegerValue number(1);
    EXPECT_FALSE(value.updateFrom(ToskParam(), &number));
    EXPECT_FALSE(value.updateFrom(ToskParam(), nullptr));
    EXPECT_EQ(1U, value.params().size());
}

TEST(ToskStructValue, UpdateFromAStructInsideItselfKeepsWhatItCopied) {
    auto inner = std::make_shared<ToskStructValue>();
    inner->addParam(textMember("deep", "down"));
    ToskStructValue value;
    value.addParam(makeMember("inner", kTypeStruct, inner));
    const ToskStructValue* other = inner.get();
    inner.reset();
    EXPECT_TRUE(value.updateFrom(ToskParam(), other));
    ASSERT_EQ(1U, value.params().size());
    EXPECT_EQ("down", value.params()[0].valueToString());
}

TEST(ToskStructValue, CopiesShareTheMemberValues) {
    ToskStructValue original;
    original.addParam(textMember("name", "COM1"));
    const ToskStructValue copy = original;
    read(original, R"({"_d_name":{"type":"STRING","value":"COM9"}})");
    EXPECT_EQ("COM9", copy.params()[0].valueToString());
    EXPECT_EQ(original.params()[0].value(), copy.params()[0].value());
}

TEST(ToskStructValue, StructsInStructsAreReadAsDeepAsTheyHaveMembers) {
    constexpr size_t kLevels = 64;
    const std::string json = nested(kLevels, R"({"_d_s":{"type":"STRUCT","value":)", "{}", "}}");
    ToskStructValue value;
    quietly([&] { read(value, json); });
    const ToskStructValue* level = &value;
    size_t levels = 0;
    while (!level->params().empty()) {
        level = dynamic_cast<const ToskStructValue*>(level->params()[0].value().get());
        ASSERT_NE(nullptr, level);
        ++levels;
    }
    EXPECT_EQ(kLevels, levels);
    EXPECT_FALSE(rendered(value.toJSON()).empty());
}

}  // namespace

}  // namespace model
