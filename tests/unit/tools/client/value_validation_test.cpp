#include "client/value_validation.h"

#include <gtest/gtest.h>

#include "tools/client/descriptors.h"

namespace client {
namespace {

std::string validate(const Descriptor& descriptor, const std::string& value) {
    return validateValue(descriptor, json(value).get());
}

TEST(ValidateValue, IsToAnotherType) {
    for (const char* value : {"1.5", "\"7\"", "true", "null", "4294967296", "-2147483649", "[1]"}) {
        EXPECT_EQ(validate(ofType("INT32"), value), "must be a 32-bit integer") << value;
    }
    for (const char* value : {"65536", "-32769", "0.1"}) {
        EXPECT_EQ(validate(ofType("INT16"), value), "must be a 16-bit integer") << value;
    }
    for (const char* value : {"\"1\"", "1e999", "null", "{}"}) {
        EXPECT_EQ(validate(ofType("FLOAT"), value), "must be a number") << value;
    }
    EXPECT_EQ(validate(ofType("STRING"), "7"), "must be a text");
    EXPECT_EQ(validate(ofType("STRUCT"), "\"x\""), "must be an object of its members");
    EXPECT_EQ(validate(ofType("INT32_ARRAY"), "[1]"),
              "is of a type that cannot be set: INT32_ARRAY");
}

TEST(ValidateValue, IsNotToTheRightOne) {
    for (const char* value : {"0", "-2147483648", "4294967295", "5.0"}) {
        EXPECT_EQ(validate(ofType("INT32"), value), "") << value;
    }
    EXPECT_EQ(validate(ofType("INT16"), "-32768"), "");
    EXPECT_EQ(validate(ofType("FLOAT"), "-1.5"), "");
    EXPECT_EQ(validate(ofType("STRING"), "\"\""), "");
    EXPECT_EQ(validate(ofType("STRUCT"), "{}"), "");
}

TEST(ValidateValue, IsToAChoiceThatThereIsNot) {
    EXPECT_EQ(validate(switchDescriptor(), "1"), "");
    for (const char* value : {"2", "0.5", "\"Enabled\"", "1e300"}) {
        EXPECT_EQ(validate(switchDescriptor(), value), "must be one of: Disabled, Enabled");
    }
}

TEST(ValidateValue, IsToWhatIsOutOfRange) {
    Descriptor volts = ofPrecision(2);
    volts.minimum = 0.5;
    volts.maximum = 12;
    EXPECT_EQ(validate(volts, "0.5"), "");
    EXPECT_EQ(validate(volts, "12"), "");
    EXPECT_EQ(validate(volts, "0.49"), "must be 0.50 or more");
    EXPECT_EQ(validate(volts, "12.01"), "must be 12.00 or less");
}

TEST(ValidateValue, IsToATextThatIsTooLong) {
    Descriptor name = ofType("STRING");
    EXPECT_EQ(validate(name, "\"as long as it likes\""), "");
    name.maxLength = 4;
    EXPECT_EQ(validate(name, "\"four\""), "");
    EXPECT_EQ(validate(name, "\"Zürich\""), "must be a text of at most 4 bytes");
    name.maxLength = 0;
    EXPECT_EQ(validate(name, "\"\""), "");
    EXPECT_EQ(validate(name, "\"a\""), "must be a text of at most 0 bytes");
}

TEST(ValidateValue, IsToATextThatIsNoUTF8) {
    EXPECT_EQ(validate(ofType("STRING"), "\"Z\u00fcrich\""), "");
    EXPECT_EQ(validateValue(ofType("STRING"), util::jsonString("a\xff").get()),
              "must be a text in UTF-8");
    EXPECT_EQ(validateValue(Descriptor(), util::jsonString("a\xff").get()), "");
}

TEST(ValidateValue, IsToNothingThatNobodyDescribed) {
    EXPECT_EQ(validate(Descriptor(), "[1]"), "");
}

}  // namespace
}  // namespace client
