// How the precision of a parameter decides which new readings its listener hears of.

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "model/tosk_param.h"
#include "model/tosk_value.h"
#include "tosk_test_support.h"

namespace model {

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

struct Reading {
    int32_t precision;
    double held;
    double next;
};

// Whether the change is reported; that it is stored is checked on the way.
bool reported(const Reading& reading) {
    ToskParam owner;
    owner.setPrecision(reading.precision);
    ToskFloatValue value(reading.held);
    const ToskFloatValue other(reading.next);
    const bool report = value.updateFrom(owner, &other);
    EXPECT_TRUE(value.value() == reading.next || std::isnan(reading.next)) << "not stored";
    EXPECT_FALSE(value.changed());
    return report;
}

TEST(FloatPrecision, ChangeBelowTheShownDecimalsIsStoredNotReported) {
    EXPECT_FALSE(reported({1, 12.31, 12.34}));
    EXPECT_TRUE(reported({1, 12.31, 12.36}));
    EXPECT_FALSE(reported({2, 1.004, 1.001}));
}

TEST(FloatPrecision, WithoutPrecisionEveryDifferenceIsReported) {
    EXPECT_TRUE(reported({-1, 12.31, 12.310001}));
    EXPECT_TRUE(reported({std::numeric_limits<int32_t>::min(), 12.31, 12.310001}));
}

TEST(FloatPrecision, EqualReadingsAreNeverReported) {
    EXPECT_FALSE(reported({-1, 12.31, 12.31}));
    EXPECT_FALSE(reported({2, 0.0, -0.0}));
}

TEST(FloatPrecision, NoDecimalsCompareWholeNumbers) {
    EXPECT_FALSE(reported({0, 1.6, 2.4}));
    EXPECT_TRUE(reported({0, 1.4, 1.6}));
}

TEST(FloatPrecision, HalvesAreRoundedAwayFromZero) {
    EXPECT_FALSE(reported({0, 2.5, 3.0}));
    EXPECT_TRUE(reported({0, 2.5, 2.0}));
    EXPECT_FALSE(reported({0, -2.5, -3.0}));
    EXPECT_TRUE(reported({0, -2.5, -2.0}));
    EXPECT_FALSE(reported({0, 0.5, 1.0}));
}

TEST(FloatPrecision, HighestPrecisionStillTellsNumbersApart) {
    EXPECT_EQ(19, ToskParam::kMaxPrecision);
    EXPECT_TRUE(reported({19, 0.1, 0.2}));
    EXPECT_TRUE(reported({19, 1e-19, 2e-19}));
    EXPECT_FALSE(reported({19, 1e-21, 2e-21}));
}

TEST(FloatPrecision, AbsurdPrecisionIsClamped) {
    for (const int32_t precision : {20, 400, std::numeric_limits<int32_t>::max()}) {
        ToskParam owner;
        owner.setPrecision(precision);
        EXPECT_EQ(19, owner.precision());
        EXPECT_TRUE(reported({precision, 0.1, 0.2}));
    }
}

TEST(FloatPrecision, NumbersBeyondTheStepCounterCountAsItsEnd) {
    EXPECT_FALSE(reported({2, 1e300, 2e300}));
    EXPECT_TRUE(reported({2, 1e300, -1e300}));
    EXPECT_FALSE(reported({19, 100.0, 200.0}));
}

TEST(FloatPrecision, InfinitiesAndNaNAreHandledLikeNumbers) {
    EXPECT_TRUE(reported({2, kInfinity, 12.0}));
    EXPECT_TRUE(reported({2, kInfinity, -kInfinity}));
    EXPECT_FALSE(reported({2, kInfinity, 1e300}));
    EXPECT_FALSE(reported({2, 0.0, std::nan("")}));
    EXPECT_TRUE(reported({2, 12.0, std::nan("")}));
    EXPECT_TRUE(reported({-1, std::nan(""), std::nan("")}));
}

TEST(FloatPrecision, UpdateIgnoresOtherKinds) {
    const ToskParam owner;
    ToskFloatValue value(1.5);
    const ToskIntegerValue number(6);
    EXPECT_FALSE(value.updateFrom(owner, &number));
    EXPECT_FALSE(value.updateFrom(owner, nullptr));
    EXPECT_DOUBLE_EQ(1.5, value.value());
}

TEST(FloatPrecision, SmallStepsAddUpUnreportedUntilTheDisplayMoves) {
    RecordingListener listener;
    ToskParam param = makeParam("system.psu1Voltage", kTypeFloat);
    param.setPrecision(1);
    param.setListener(&listener);
    for (const double reading : {12.00, 12.02, 12.04}) {
        const ToskFloatValue next(reading);
        param.setValueFrom(&next);
    }
    EXPECT_EQ(1U, listener.heard.size()) << "only the first reading, from 0 to 12.0";
    const ToskFloatValue next(12.06);
    param.setValueFrom(&next);
    EXPECT_EQ(2U, listener.heard.size());
}

}  // namespace

}  // namespace model
