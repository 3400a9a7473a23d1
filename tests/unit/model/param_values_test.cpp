#include "model/param_values.h"

#include <memory>

#include <gtest/gtest.h>

#include "model/tosk_param.h"

namespace model {

namespace {

template <typename Value, typename... Arguments>
ToskParam holding(Arguments... arguments) {
    ToskParam param;
    param.setValue(std::make_shared<Value>(arguments...));
    return param;
}

TEST(ParamValues, IntegerIsReadFromAnIntegerAlone) {
    const ToskParam integer = holding<ToskIntegerValue>(int64_t{1} << 40);
    const ToskParam reading = holding<ToskFloatValue>(2.0);
    const ToskParam without;
    EXPECT_EQ(readInteger(&integer), int64_t{1} << 40);
    EXPECT_EQ(readInteger(&reading), std::nullopt);
    EXPECT_EQ(readInteger(&without), std::nullopt);
    EXPECT_EQ(readInteger(nullptr), std::nullopt);
}

TEST(ParamValues, EitherKindOfNumberMayBeNonZero) {
    EXPECT_EQ(isNonZero(holding<ToskIntegerValue>(-1)), true);
    EXPECT_EQ(isNonZero(holding<ToskIntegerValue>(0)), false);
    EXPECT_EQ(isNonZero(holding<ToskFloatValue>(0.5)), true);
    EXPECT_EQ(isNonZero(holding<ToskFloatValue>(0.0)), false);
    EXPECT_EQ(isNonZero(holding<ToskStringValue>("1")), std::nullopt);
    EXPECT_EQ(isNonZero(ToskParam()), std::nullopt);
}

class Listener : public ToskValueChangeListener {
  public:
    virtual ~Listener() = default;
    void valueChanged(ToskParam*) override { ++calls; }
    int calls = 0;
};

TEST(ParamValues, NumberIsStoredWithoutAWordToTheListener) {
    Listener listener;
    ToskParam param = holding<ToskIntegerValue>(1);
    param.setListener(&listener);
    storeSilently(param, 5);
    EXPECT_EQ(param.valueToString(), "5");
    EXPECT_EQ(listener.calls, 0);
}

TEST(ParamValues, OtherKindsKeepTheirValue) {
    const ToskParam text = holding<ToskStringValue>("on");
    storeSilently(text, 0);
    EXPECT_EQ(text.valueToString(), "on");
}

}  // namespace

}  // namespace model
