// The parameter's fields and its JSON document. How values are set is in tosk_param_set_test.cpp.
#include "model/tosk_param.h"

#include <limits>

#include <gtest/gtest.h>

#include "model/tosk_struct_value.h"
#include "tosk_test_support.h"

namespace model {

namespace {

// The parameter that `json` reads into, which has to work.
ToskParam readFrom(const std::string& json) {
    ToskParam param;
    EXPECT_EQ(0, param.fromJSON(parsed(json).get())) << json;
    return param;
}

// A complete document with `member` ("key":value) added.
ToskParam readWith(const std::string& member) {
    return readFrom(R"({"oid":"system.x","type":"INT32",)" + member + "}");
}

ToskParam switchParam() {
    ToskParam param = makeParam("system.sshEnabled", kTypeInt32);
    using Choices = std::vector<ToskIntegerChoiceConstraint::Choice>;
    param.setConstraint(
        std::make_shared<ToskIntegerChoiceConstraint>(Choices{{0, "Off"}, {1, "On"}}));
    return param;
}

TEST(ToskParam, StartsWithItsDefaults) {
    const ToskParam param;
    EXPECT_EQ(ToskOID(), param.oid());
    EXPECT_EQ("", param.name());
    EXPECT_EQ(0, param.type());
    EXPECT_FALSE(param.readonly());
    EXPECT_EQ("", param.widget());
    EXPECT_EQ(-1, param.precision());
    EXPECT_EQ(nullptr, param.constraint());
    EXPECT_EQ(-1, param.maxlength());
    EXPECT_EQ(-1, param.totallength());
    EXPECT_EQ(nullptr, param.value());
    EXPECT_EQ(nullptr, param.listener());
    EXPECT_TRUE(param.published());
}

TEST(ToskParam, CopySharesConstraintAndValueAndTakesTheRest) {
    RecordingListener listener;
    ToskParam original = switchParam();
    original.setValue(std::make_shared<ToskIntegerValue>(1));
    original.setListener(&listener);
    original.setPublished(false);
    const ToskParam copy = original;
    EXPECT_EQ(rendered(original.toJSON()), rendered(copy.toJSON()));
    EXPECT_EQ(original.value(), copy.value());
    EXPECT_EQ(original.constraint(), copy.constraint());
    EXPECT_EQ(&listener, copy.listener());
    EXPECT_FALSE(copy.published());
    original.setOid(ToskOID("other.name", 1));
    EXPECT_EQ("system.sshEnabled", copy.oid().toString());
}

TEST(ToskParam, UnchangedIdentifierIsNotRewritten) {
    ToskParam param = makeParam("system.ipAddress", kTypeInt32);
    const ToskOID* before = &param.oid();
    param.setOid(ToskOID("system.ipAddress", 1));
    EXPECT_EQ(0, param.fromJSON(parsed(R"({"oid":"system.ipAddress","type":"INT32"})").get()));
    EXPECT_EQ(before, &param.oid());
}

TEST(ToskParamToJSON, BareParameterWritesFourMembers) {
    EXPECT_EQ(R"({"oid":"system.x","name":"","type":"INT16","readonly":false})",
              rendered(makeParam("system.x", kTypeInt16).toJSON()));
}

TEST(ToskParamToJSON, BareParameterWithAValueWritesFive) {
    ToskParam param = makeParam("system.x", kTypeInt16);
    param.setValue(std::make_shared<ToskIntegerValue>(5));
    EXPECT_EQ(R"({"oid":"system.x","name":"","type":"INT16","readonly":false,"value":5})",
              rendered(param.toJSON()))
        << "an integer's own type is INT32, the parameter keeps its name";
    EXPECT_EQ(1, param.value()->type());
}

TEST(ToskParamToJSON, FullParameterWritesEveryMemberInOrder) {
    ToskParam param = switchParam();
    param.setName("SSH Server");
    param.setReadonly(true);
    param.setWidget("WIDGET_SWITCH");
    param.setPrecision(0);
    param.setMaxlength(0);
    param.setTotallength(12);
    param.setValue(std::make_shared<ToskIntegerValue>(1));
    EXPECT_EQ(R"({"oid":"system.sshEnabled","name":"SSH Server","type":"INT32","readonly":true,)"
              R"("widget":"WIDGET_SWITCH","precision":0,"constraint":{"type":"INT_CHOICE",)"
              R"("choices":[{"value":0,"name":"Off"},{"value":1,"name":"On"}]},)"
              R"("maxlength":0,"totallength":12,"value":1})",
              rendered(param.toJSON()));
}

TEST(ToskParamToJSON, UnknownTypeIsWrittenAsAnEmptyName) {
    EXPECT_EQ(R"({"oid":"system.x","name":"","type":"","readonly":false})",
              rendered(makeParam("system.x", 42).toJSON()));
}

TEST(ToskParamToJSON, ValueAloneIsItsJSONAndItsText) {
    ToskParam param = makeParam("system.x", kTypeFloat);
    param.setValue(std::make_shared<ToskFloatValue>(2.5));
    EXPECT_EQ("2.5", rendered(param.valueToJSON()));
    EXPECT_EQ("2.500000", param.valueToString());
}

TEST(ToskParamToJSON, MissingValueIsJSONNullAndNoText) {
    const ToskParam param = makeParam("system.x", kTypeInt32Array);
    EXPECT_EQ("null", rendered(param.valueToJSON()));
    EXPECT_EQ("", param.valueToString());
    EXPECT_EQ("null", ToskParam().valueToText().text);
}

TEST(ToskParamFromJSON, ReadsEveryMember) {
    const std::string json =
        R"({"oid":"system.sshEnabled","name":"SSH Server","type":"INT32","readonly":true,)"
        R"("widget":"WIDGET_SWITCH","precision":3,"constraint":{"type":"INT_CHOICE",)"
        R"("choices":[{"value":0,"name":"Off"}]},"maxlength":4,"totallength":12,"value":1})";
    EXPECT_EQ(json, rendered(readFrom(json).toJSON()));
}

TEST(ToskParamFromJSON, NullItemIsRefused) {
    ToskParam param = makeParam("system.x", kTypeInt32);
    EXPECT_EQ(-1, param.fromJSON(nullptr));
}

TEST(ToskParamFromJSON, WhatIsNoObjectIsRefused) {
    ToskParam param = makeParam("system.x", kTypeInt32);
    for (const char* json : {"7", "null", "\"INT32\"", R"(["INT32"])", "true"}) {
        EXPECT_EQ(-1, param.fromJSON(parsed(json).get())) << json;
    }
}

TEST(ToskParamFromJSON, NeitherOidNorPriorIdentifierIsRefusedUnchanged) {
    for (const char* oid : {"", R"("oid":7,)", R"("oid":null,)", R"("OID":"a.b",)"}) {
        ToskParam param;
        const std::string json = std::string("{") + oid + R"("type":"FLOAT","name":"N"})";
        EXPECT_EQ(-1, param.fromJSON(parsed(json).get())) << json;
        EXPECT_EQ(0, param.type());
        EXPECT_EQ("", param.name());
    }
}

TEST(ToskParamFromJSON, OwnIdentifierIsKeptWhenNoneIsGiven) {
    ToskParam param = makeParam("system.x", kTypeInt32);
    EXPECT_EQ(0, param.fromJSON(parsed(R"({"oid":7,"type":"FLOAT"})").get()));
    EXPECT_EQ("system.x", param.oid().toString());
    EXPECT_EQ(2, param.type());
}

TEST(ToskParamFromJSON, OidIsSplitAtItsFirstDot) {
    const ToskParam param = readFrom(R"({"oid":"system.net.ip","type":"INT32"})");
    EXPECT_EQ("system", param.oid().prefix());
    EXPECT_EQ("net.ip", param.oid().leaf());
}

TEST(ToskParamFromJSON, OidWithoutADotReplacesTheIdentifierByAnEmptyOne) {
    ToskParam param = makeParam("system.x", kTypeInt32);
    EXPECT_EQ(0, param.fromJSON(parsed(R"({"oid":"undotted","type":"INT32"})").get()));
    EXPECT_EQ(ToskOID(), param.oid());
}

TEST(ToskParamFromJSON, MissingTypeIsRefusedButTheIdentifierStaysRead) {
    for (const char* type : {"", R"("type":1,)", R"("type":null,)"}) {
        ToskParam param;
        const std::string json = std::string(R"({"oid":"system.x",)") + type + R"("name":"N"})";
        EXPECT_EQ(-1, param.fromJSON(parsed(json).get())) << json;
        EXPECT_EQ("system.x", param.oid().toString());
        EXPECT_EQ("", param.name());
    }
}

TEST(ToskParamFromJSON, UnknownTypeNameKeepsThePreviousType) {
    ToskParam param = makeParam("system.x", kTypeFloat);
    EXPECT_EQ(0, param.fromJSON(parsed(R"({"type":"float","name":"N"})").get()));
    EXPECT_EQ(kTypeFloat, param.type());
    EXPECT_EQ("N", param.name());
}

TEST(ToskParamFromJSON, TextsThatAreNoTextsAreLeftAlone) {
    ToskParam param = makeParam("system.x", kTypeInt32);
    param.setName("Name");
    param.setWidget("WIDGET");
    EXPECT_EQ(0, param.fromJSON(parsed(R"({"type":"INT32","name":7,"widget":null})").get()));
    EXPECT_EQ("Name", param.name());
    EXPECT_EQ("WIDGET", param.widget());
}

TEST(ToskParamFromJSON, ReadonlyIsAnyIntegerButZero) {
    EXPECT_TRUE(readWith(R"("readonly":true)").readonly());
    EXPECT_TRUE(readWith(R"("readonly":1)").readonly());
    EXPECT_TRUE(readWith(R"("readonly":-2)").readonly());
    EXPECT_TRUE(readWith(R"("readonly":4294967296)").readonly());
    EXPECT_FALSE(readWith(R"("readonly":false)").readonly());
    EXPECT_FALSE(readWith(R"("readonly":0)").readonly());
    EXPECT_FALSE(readWith(R"("readonly":0.9)").readonly());
    EXPECT_FALSE(readWith(R"("readonly":"true")").readonly());
    EXPECT_FALSE(readWith(R"("readonly":null)").readonly());
}

TEST(ToskParamFromJSON, ReadonlyIsUnderstoodInItemsThatWereNeverText) {
    ToskParam original = makeParam("system.x", kTypeInt32);
    original.setReadonly(true);
    ToskParam param;
    EXPECT_EQ(0, param.fromJSON(original.toJSON().get()));
    EXPECT_TRUE(param.readonly());
}

TEST(ToskParamFromJSON, AbsentReadonlyKeepsTheFlag) {
    ToskParam param = makeParam("system.x", kTypeInt32);
    param.setReadonly(true);
    EXPECT_EQ(0, param.fromJSON(parsed(R"({"type":"INT32"})").get()));
    EXPECT_TRUE(param.readonly());
}

TEST(ToskParamFromJSON, NumbersAreCutAndSaturate) {
    EXPECT_EQ(2, readWith(R"("precision":2.9)").precision());
    EXPECT_EQ(-5, readWith(R"("precision":-5)").precision());
    EXPECT_EQ(0, readWith(R"("precision":"2")").precision());
    EXPECT_EQ(1, readWith(R"("precision":true)").precision());
    EXPECT_EQ(0, readWith(R"("precision":false)").precision());
    EXPECT_EQ(3, readWith(R"("maxlength":3.9)").maxlength());
    EXPECT_EQ(std::numeric_limits<int32_t>::max(), readWith(R"("maxlength":1e300)").maxlength());
    EXPECT_EQ(std::numeric_limits<int32_t>::min(),
              readWith(R"("totallength":-1e300)").totallength());
    EXPECT_EQ(0, readWith(R"("totallength":{})").totallength());
}

TEST(ToskParamFromJSON, AbsurdPrecisionIsClamped) {
    EXPECT_EQ(19, readWith(R"("precision":20)").precision());
    EXPECT_EQ(19, readWith(R"("precision":1e300)").precision());
    EXPECT_EQ(std::numeric_limits<int32_t>::min(), readWith(R"("precision":-1e300)").precision());
}

TEST(ToskParamFromJSON, PrecisionIsReadBeforeTheValueItRules) {
    RecordingListener listener;
    ToskParam param = makeParam("system.x", kTypeFloat);
    param.setValue(std::make_shared<ToskFloatValue>(12.31));
    param.setListener(&listener);
    EXPECT_EQ(0, param.fromJSON(parsed(R"({"type":"FLOAT","value":12.34,"precision":1})").get()));
    EXPECT_TRUE(listener.heard.empty());
    EXPECT_EQ("12.340000", param.valueToString());
}

TEST(ToskParamFromJSON, ValueIsReadIntoTheOwnValueAndTheListenerHearsOfAChange) {
    RecordingListener listener;
    ToskParam param = makeParam("system.x", kTypeInt32);
    const auto value = std::make_shared<ToskIntegerValue>(5);
    param.setValue(value);
    param.setListener(&listener);
    const util::UniqueJSON json = parsed(R"({"type":"INT32","value":6})");
    EXPECT_EQ(0, param.fromJSON(json.get()));
    EXPECT_EQ(0, param.fromJSON(json.get()));
    EXPECT_EQ(value, param.value());
    EXPECT_EQ(6, value->value());
    EXPECT_EQ((std::vector{&param}), listener.heard);
}

TEST(ToskParamFromJSON, RefusedValueIsNoErrorAndTheRestIsRead) {
    const ToskParam param =
        readFrom(R"({"oid":"system.x","type":"STRING","value":7,"maxlength":3})");
    EXPECT_EQ(nullptr, param.value());
    EXPECT_EQ(3, param.maxlength());
}

TEST(ToskParamFromJSON, ValueOfATypeWithoutAClassIsPassedOver) {
    ToskParam param;
    const std::string printed = printedBy([&] {
        param = readFrom(R"({"oid":"a.b","type":"INT32_ARRAY","value":[1],"maxlength":3})");
    });
    EXPECT_EQ("InvalidToskParamType: 5\n", printed);
    EXPECT_EQ(nullptr, param.value());
    EXPECT_EQ(3, param.maxlength());
}

TEST(ToskParamFromJSON, NullValueReadsAsZeroForNumbersAndNotAtAllForTexts) {
    EXPECT_EQ(0, integerOf(readFrom(R"({"oid":"a.b","type":"INT32","value":null})")));
    EXPECT_EQ("0.000000", readFrom(R"({"oid":"a.b","type":"FLOAT","value":null})").valueToString());
    EXPECT_EQ(nullptr, readFrom(R"({"oid":"a.b","type":"STRING","value":null})").value());
}

TEST(ToskParamFromJSON, TypeThatChangesDoesNotReplaceTheValue) {
    ToskParam param = makeParam("system.x", kTypeInt32);
    param.setValue(std::make_shared<ToskIntegerValue>(5));
    EXPECT_EQ(0, param.fromJSON(parsed(R"({"type":"STRING","value":"six"})").get()));
    EXPECT_EQ(kTypeString, param.type());
    EXPECT_EQ(5, integerOf(param));
}

TEST(ToskParamFromJSON, AbsentConstraintKeepsTheHeldOne) {
    ToskParam param = switchParam();
    EXPECT_EQ(0, param.fromJSON(parsed(R"({"type":"INT32"})").get()));
    EXPECT_NE(nullptr, param.constraint());
}

TEST(ToskParamFromJSON, ConstraintOfAnotherTypeRemovesTheHeldChoices) {
    for (const char* constraint :
         {R"({"type":"INT_RANGE"})", R"({"type":"INT_RANGE","choices":[]})", "{}", "null", "7"}) {
        ToskParam param = switchParam();
        const std::string json = std::string(R"({"type":"INT32","constraint":)") + constraint + "}";
        EXPECT_EQ(0, param.fromJSON(parsed(json).get())) << json;
        EXPECT_EQ(nullptr, param.constraint()) << json;
    }
}

TEST(ToskParamFromJSON, ChoicesThatFailToReadLeaveNoConstraint) {
    ToskParam param = switchParam();
    const auto json = parsed(R"({"type":"INT32","constraint":{"type":"INT_CHOICE"}})");
    EXPECT_EQ(0, param.fromJSON(json.get()));
    EXPECT_EQ(nullptr, param.constraint());
}

TEST(ToskParamFromJSON, NewConstraintIsAnotherObjectThanTheSharedOne) {
    ToskParam param = switchParam();
    const ToskParam copy = param;
    const auto json = parsed(R"({"type":"INT32","constraint":{"type":"INT_CHOICE","choices":[]}})");
    EXPECT_EQ(0, param.fromJSON(json.get()));
    EXPECT_EQ(R"({"type":"INT_CHOICE","choices":[]})", rendered(param.constraint()->toJSON()));
    EXPECT_EQ(rendered(switchParam().constraint()->toJSON()),
              rendered(copy.constraint()->toJSON()));
}

}  // namespace

}  // namespace model
