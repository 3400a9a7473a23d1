#include "model/tosk_type_names.h"

#include <array>
#include <limits>

#include <gtest/gtest.h>

namespace model {

namespace {

constexpr std::array kValueTypes{
    "INT16",       "INT32",       "FLOAT",        "STRING", "INT16_ARRAY",
    "INT32_ARRAY", "FLOAT_ARRAY", "STRING_ARRAY", "STRUCT", "STRUCT_ARRAY",
};

constexpr std::array kConstraintTypes{
    "INT_NULL",         "FLOAT_NULL", "INT_RANGE",   "INT_STEP_RANGE", "FLOAT_RANGE",
    "FLOAT_STEP_RANGE", "INT_CHOICE", "ALARM_TABLE", "STRUCT",
};

constexpr std::array kObjectKinds{
    "object", "device", "menu_group", "menu", "page_layout_group", "oid",
};

constexpr std::array kNoCodes{-1, 100, std::numeric_limits<int32_t>::min(),
                              std::numeric_limits<int32_t>::max()};

TEST(ValueTypeNames, TenCodesHaveTheirNames) {
    for (size_t code = 0; code < kValueTypes.size(); ++code) {
        EXPECT_STREQ(kValueTypes[code], valueTypeName(static_cast<int32_t>(code)));
        EXPECT_EQ(static_cast<int32_t>(code), valueTypeCode(kValueTypes[code]));
    }
}

TEST(ValueTypeNames, CodesOutsideTheTableHaveNoName) {
    EXPECT_STREQ("", valueTypeName(10));
    for (const int32_t code : kNoCodes) {
        EXPECT_STREQ("", valueTypeName(code));
    }
}

TEST(ValueTypeNames, OnlyTheExactNameHasACode) {
    for (const char* name : {"", "int16", "INT16 ", " INT16", "INT1", "INT64", "UNDEFINED"}) {
        EXPECT_EQ(std::nullopt, valueTypeCode(name)) << name;
    }
}

TEST(ConstraintTypeNames, NineCodesHaveTheirNames) {
    for (size_t code = 0; code < kConstraintTypes.size(); ++code) {
        EXPECT_STREQ(kConstraintTypes[code], constraintTypeName(static_cast<int32_t>(code)));
        EXPECT_EQ(static_cast<int32_t>(code), constraintTypeCode(kConstraintTypes[code]));
    }
}

TEST(ConstraintTypeNames, EveryOtherCodeIsUndefined) {
    EXPECT_STREQ("UNDEFINED", constraintTypeName(9));
    for (const int32_t code : kNoCodes) {
        EXPECT_STREQ("UNDEFINED", constraintTypeName(code));
    }
}

TEST(ConstraintTypeNames, EveryOtherNameIsNine) {
    for (const char* name : {"", "UNDEFINED", "int_choice", "INT_CHOICES"}) {
        EXPECT_EQ(9, constraintTypeCode(name)) << name;
    }
}

TEST(ObjectKindNames, SixKindsHaveTheirNames) {
    for (size_t kind = 0; kind < kObjectKinds.size(); ++kind) {
        EXPECT_STREQ(kObjectKinds[kind], objectKindName(static_cast<int32_t>(kind)));
    }
    EXPECT_STREQ("", objectKindName(6));
    EXPECT_STREQ("", objectKindName(-1));
}

}  // namespace

}  // namespace model
