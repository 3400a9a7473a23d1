// How a parameter's value is set, and who hears of it.

#include <atomic>
#include <set>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "model/tosk_param.h"
#include "model/tosk_struct_value.h"
#include "support/captured_log.h"
#include "tosk_test_support.h"

namespace model {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

CapturedLog::Line debugLine(const char* text) {
    return {LOG_DEBUG, text};
}

// A parameter with a listener, and a log that is kept.
struct ToskParamSet : testing::Test {
    ToskParam& param(int32_t type, std::shared_ptr<ToskValue> value = nullptr) {
        param_ = makeParam("system.x", type);
        param_.setValue(std::move(value));
        param_.setListener(&listener);
        return param_;
    }
    int set(const std::string& json) { return param_.setValueFromJSON(parsed(json).get()); }
    void setIfChanged(const std::string& json) {
        param_.setValueFromJSONIfChanged(parsed(json).get());
    }

    RecordingListener listener;
    CapturedLog log;

  private:
    ToskParam param_;
};

TEST_F(ToskParamSet, SetRequestStoresNotifiesAndLogs) {
    ToskParam& integer = param(kTypeInt32, std::make_shared<ToskIntegerValue>(5));
    EXPECT_EQ(0, set("6"));
    EXPECT_EQ(6, integerOf(integer));
    EXPECT_THAT(listener.heard, ElementsAre(&integer));
    EXPECT_THAT(log.lines(),
                ElementsAre(debugLine("ToskParam::setValueFromJSON"),
                            debugLine("ToskParam::setValueFromJSON - fire value changed")));
}

TEST_F(ToskParamSet, SetRequestOfTheHeldValueNotifiesAllTheSame) {
    ToskParam& integer = param(kTypeInt32, std::make_shared<ToskIntegerValue>(5));
    EXPECT_EQ(0, set("5"));
    EXPECT_THAT(listener.heard, ElementsAre(&integer));
}

TEST_F(ToskParamSet, SetIfChangedOfTheHeldValueNotifiesNobody) {
    ToskParam& integer = param(kTypeInt32, std::make_shared<ToskIntegerValue>(5));
    setIfChanged("5");
    EXPECT_THAT(listener.heard, IsEmpty());
    setIfChanged("6");
    EXPECT_THAT(listener.heard, ElementsAre(&integer));
    EXPECT_EQ(6, integerOf(integer));
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(ToskParamSet, SetRequestCreatesTheMissingValue) {
    ToskParam& integer = param(kTypeInt16);
    EXPECT_EQ(0, set("6"));
    EXPECT_EQ(6, integerOf(integer));
    EXPECT_THAT(log.lines(),
                ElementsAre(debugLine("ToskParam::setValueFromJSON"),
                            debugLine("ToskParam::setValueFromJSON - value == NULL"),
                            debugLine("ToskParam::setValueFromJSON - fire value changed")));
}

TEST_F(ToskParamSet, SetRequestOfATextForAnIntegerStoresZeroAndNotifies) {
    ToskParam& integer = param(kTypeInt32, std::make_shared<ToskIntegerValue>(5));
    EXPECT_EQ(0, set("\"7\""));
    EXPECT_EQ(0, integerOf(integer));
    EXPECT_THAT(listener.heard, ElementsAre(&integer));
}

TEST_F(ToskParamSet, SetRequestOfJSONNullIsZeroForNumbers) {
    ToskParam& integer = param(kTypeInt32, std::make_shared<ToskIntegerValue>(5));
    EXPECT_EQ(0, set("null"));
    EXPECT_EQ("0", integer.valueToString());
    ToskParam& number = param(kTypeFloat, std::make_shared<ToskFloatValue>(5));
    EXPECT_EQ(0, set("null"));
    EXPECT_EQ("0.000000", number.valueToString());
    EXPECT_EQ(2U, listener.heard.size());
}

TEST_F(ToskParamSet, SetRequestOfJSONNullIsRefusedByTexts) {
    ToskParam& text = param(kTypeString, std::make_shared<ToskStringValue>("text"));
    EXPECT_EQ(-1, set("null"));
    EXPECT_EQ("text", text.valueToString());
    EXPECT_THAT(listener.heard, IsEmpty());
}

TEST_F(ToskParamSet, NullItemIsRefusedBeforeAValueIsMade) {
    ToskParam& integer = param(kTypeInt32);
    EXPECT_EQ(-1, integer.setValueFromJSON(nullptr));
    EXPECT_EQ(nullptr, integer.value());
    EXPECT_THAT(listener.heard, IsEmpty());
    EXPECT_THAT(log.lines(), ElementsAre(debugLine("ToskParam::setValueFromJSON")));
}

TEST_F(ToskParamSet, RefusedItemIsPassedBackAndNobodyHears) {
    ToskParam& text = param(kTypeString, std::make_shared<ToskStringValue>("old"));
    EXPECT_EQ(-1, set("7"));
    EXPECT_EQ("old", text.valueToString());
    EXPECT_THAT(listener.heard, IsEmpty());
    EXPECT_THAT(log.lines(), ElementsAre(debugLine("ToskParam::setValueFromJSON")));
}

TEST_F(ToskParamSet, TypeWithoutAValueClassPrintsTheItemAndIsRefused) {
    ToskParam& array = param(kTypeInt32Array);
    const std::string printed = printedBy([&] { EXPECT_EQ(-1, set(R"({"a":1})")); });
    EXPECT_EQ(
        "InvalidToskParamType: 5\n"
        "ToskParam::setValueFromJSON invalid value: {\n\t\"a\":\t1\n}\n",
        printed);
    EXPECT_EQ(nullptr, array.value());
    EXPECT_THAT(listener.heard, IsEmpty());
}

TEST_F(ToskParamSet, TypeWithoutAValueClassIsLeftAloneByTheOtherSetters) {
    ToskParam& array = param(kTypeStructArray);
    const ToskIntegerValue six(6);
    quietly([&] {
        setIfChanged("6");
        EXPECT_FALSE(array.setValueFrom(&six));
    });
    EXPECT_EQ(nullptr, array.value());
    EXPECT_THAT(listener.heard, IsEmpty());
}

TEST_F(ToskParamSet, ReadonlyAndChoicesDescribeAndRefuseNothing) {
    ToskParam& integer = param(kTypeInt32);
    integer.setReadonly(true);
    integer.setConstraint(std::make_shared<ToskIntegerChoiceConstraint>());
    EXPECT_EQ(0, set("42"));
    EXPECT_EQ(42, integerOf(integer));
}

TEST_F(ToskParamSet, SetIfChangedOfNothingOrOfARefusedItemNotifiesNobody) {
    ToskParam& text = param(kTypeString);
    text.setValueFromJSONIfChanged(nullptr);
    setIfChanged("7");
    EXPECT_THAT(listener.heard, IsEmpty());
    setIfChanged("\"a\"");
    EXPECT_THAT(listener.heard, ElementsAre(&text));
}

TEST_F(ToskParamSet, ReadingIsCopiedIntoTheOwnValue) {
    const auto own = std::make_shared<ToskIntegerValue>(5);
    ToskParam& integer = param(kTypeInt32, own);
    const ToskIntegerValue six(6);
    EXPECT_TRUE(integer.setValueFrom(&six));
    EXPECT_EQ(own, integer.value());
    EXPECT_EQ(6, own->value());
    EXPECT_THAT(listener.heard, ElementsAre(&integer));
    EXPECT_FALSE(integer.setValueFrom(&six));
    EXPECT_EQ(1U, listener.heard.size());
}

TEST_F(ToskParamSet, ReadingCreatesTheMissingValue) {
    ToskParam& text = param(kTypeString);
    const ToskStringValue reading("up");
    EXPECT_TRUE(text.setValueFrom(&reading));
    EXPECT_EQ("up", text.valueToString());
    EXPECT_THAT(listener.heard, ElementsAre(&text));
}

TEST_F(ToskParamSet, ReadingOfAnotherKindOnlyCreatesTheMissingValue) {
    ToskParam& text = param(kTypeString);
    const ToskIntegerValue six(6);
    EXPECT_FALSE(text.setValueFrom(&six));
    ASSERT_NE(nullptr, text.value());
    EXPECT_EQ("", text.valueToString());
    EXPECT_THAT(listener.heard, IsEmpty());
}

TEST_F(ToskParamSet, NoReadingChangesNothing) {
    ToskParam& integer = param(kTypeInt32);
    EXPECT_FALSE(integer.setValueFrom(nullptr));
    EXPECT_EQ(nullptr, integer.value());
    integer.setValue(std::make_shared<ToskIntegerValue>(5));
    EXPECT_FALSE(integer.setValueFrom(nullptr));
    EXPECT_EQ(5, integerOf(integer));
    EXPECT_THAT(listener.heard, IsEmpty());
}

TEST_F(ToskParamSet, OwnValueAsReadingChangesNothing) {
    ToskParam& integer = param(kTypeInt32, std::make_shared<ToskIntegerValue>(5));
    EXPECT_FALSE(integer.setValueFrom(integer.value().get()));
    EXPECT_THAT(listener.heard, IsEmpty());
}

TEST_F(ToskParamSet, NobodyListensAndNothingHappens) {
    ToskParam& integer = param(kTypeInt32);
    integer.setListener(nullptr);
    EXPECT_EQ(0, set("6"));
    EXPECT_EQ(6, integerOf(integer));
    EXPECT_THAT(listener.heard, IsEmpty());
}

TEST_F(ToskParamSet, StructSetTellsTheStructsListenerAndTheMembersOwn) {
    RecordingListener memberListener;
    auto members = std::make_shared<ToskStructValue>();
    ToskParam member = makeMember("name", kTypeString, std::make_shared<ToskStringValue>("COM1"));
    member.setListener(&memberListener);
    members->addParam(member);
    ToskParam& serial = param(kTypeStruct, members);
    EXPECT_EQ(0, set(R"({"_d_name":{"type":"STRING","value":"COM9"}})"));
    EXPECT_THAT(listener.heard, ElementsAre(&serial));
    EXPECT_EQ(1U, memberListener.heard.size());
    EXPECT_EQ(0, set(R"({"_d_name":{"type":"STRING"}})"));
    EXPECT_EQ(2U, listener.heard.size());
    EXPECT_EQ(1U, memberListener.heard.size());
    EXPECT_EQ("COM9", members->params()[0].valueToString());
}

TEST_F(ToskParamSet, ListenerMaySetAnotherValueInsideTheCall) {
    struct Corrector final : ToskValueChangeListener {
        void valueChanged(ToskParam* param) override {
            const ToskIntegerValue zero(0);
            calls += 1;
            param->setValueFrom(&zero);
        }
        int calls = 0;
    } corrector;
    ToskParam& integer = param(kTypeInt32, std::make_shared<ToskIntegerValue>(1));
    integer.setListener(&corrector);
    EXPECT_EQ(0, set("7"));
    EXPECT_EQ(0, integerOf(integer));
    EXPECT_EQ(2, corrector.calls) << "the set, and the correction";
}

// One thread renames, sets and copies, as requests do; the other sends readings and looks, as the
// poll does. Meant for the thread sanitizer; without it the texts seen are what is checked.
TEST(ToskParamThreads, ReadingsAndRenamesMeetWithoutARace) {
    ToskParam param = makeParam("system.x", kTypeInt32);
    param.setValue(std::make_shared<ToskIntegerValue>(0));
    std::atomic<bool> done{false};
    std::set<std::string> seen;
    std::thread poll([&] {
        int64_t reading = 0;
        do {
            const ToskIntegerValue next(++reading % 7);
            param.setValueFrom(&next);
            seen.insert(param.oid().toString());
            rendered(param.valueToJSON());
        } while (!done);
    });
    for (int i = 0; i < 2000; ++i) {
        param.setOid(ToskOID(i % 2 ? "system.x" : "frameB.system.x", 1));
        param.setValueFromJSONIfChanged(util::jsonNumber(i).get());
        const ToskParam copy = param;
        rendered(copy.toJSON());
    }
    done = true;
    poll.join();
    seen.insert({"system.x", "frameB.system.x"});
    EXPECT_EQ(2U, seen.size());
}

}  // namespace

}  // namespace model
