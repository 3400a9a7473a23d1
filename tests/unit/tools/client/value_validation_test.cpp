#include "client/value_validation.h"

#include <gtest/gtest.h>

#include "tools/client/descriptors.h"

namespace client {
namespace {

std::string findReachabilityProblem(const Descriptor& descriptor, const std::string& value) {
    return validateValue(descriptor, json(value).get());
}

TEST(Objection, IsToAnotherType) {
    for (const char* value : {"1.5", "\"7\"", "true", "null", "4294967296", "-2147483649", "[1]"}) {
        EXPECT_EQ(findReachabilityProblem(ofType("INT32"), value),
                  "needs a whole number of 32 bits")
            << value;
    }
    for (const char* value : {"65536", "-32769", "0.1"}) {
        EXPECT_EQ(findReachabilityProblem(ofType("INT16"), value),
                  "needs a whole number of 16 bits")
            << value;
    }
    for (const char* value : {"\"1\"", "1e999", "null", "{}"}) {
        EXPECT_EQ(findReachabilityProblem(ofType("FLOAT"), value), "needs a number") << value;
    }
    EXPECT_EQ(findReachabilityProblem(ofType("STRING"), "7"), "needs a text");
    EXPECT_EQ(findReachabilityProblem(ofType("STRUCT"), "\"x\""), "needs an object of its members");
    EXPECT_EQ(findReachabilityProblem(ofType("INT32_ARRAY"), "[1]"),
              "is of a type that cannot be set: INT32_ARRAY");
}

TEST(Objection, IsNotToTheRightOne) {
    for (const char* value : {"0", "-2147483648", "4294967295", "5.0"}) {
        EXPECT_EQ(findReachabilityProblem(ofType("INT32"), value), "") << value;
    }
    EXPECT_EQ(findReachabilityProblem(ofType("INT16"), "-32768"), "");
    EXPECT_EQ(findReachabilityProblem(ofType("FLOAT"), "-1.5"), "");
    EXPECT_EQ(findReachabilityProblem(ofType("STRING"), "\"\""), "");
    EXPECT_EQ(findReachabilityProblem(ofType("STRUCT"), "{}"), "");
}

TEST(Objection, IsToAChoiceThatThereIsNot) {
    EXPECT_EQ(findReachabilityProblem(switchDescriptor(), "1"), "");
    for (const char* value : {"2", "0.5", "\"Enabled\"", "1e300"}) {
        EXPECT_EQ(findReachabilityProblem(switchDescriptor(), value),
                  "needs one of: Disabled, Enabled");
    }
}

TEST(Objection, IsToWhatIsOutOfRange) {
    Descriptor volts = ofPrecision(2);
    volts.least = 0.5;
    volts.most = 12;
    EXPECT_EQ(findReachabilityProblem(volts, "0.5"), "");
    EXPECT_EQ(findReachabilityProblem(volts, "12"), "");
    EXPECT_EQ(findReachabilityProblem(volts, "0.49"), "needs 0.50 or more");
    EXPECT_EQ(findReachabilityProblem(volts, "12.01"), "needs 12.00 or less");
}

TEST(Objection, IsToATextThatIsTooLong) {
    Descriptor name = ofType("STRING");
    EXPECT_EQ(findReachabilityProblem(name, "\"as long as it likes\""), "");
    name.maxLength = 4;
    EXPECT_EQ(findReachabilityProblem(name, "\"four\""), "");
    EXPECT_EQ(findReachabilityProblem(name, "\"Zürich\""), "needs a text of 4 bytes or less");
    name.maxLength = 0;
    EXPECT_EQ(findReachabilityProblem(name, "\"\""), "");
    EXPECT_EQ(findReachabilityProblem(name, "\"a\""), "needs a text of 0 bytes or less");
}

TEST(Objection, IsToATextThatIsNoUTF8) {
    EXPECT_EQ(findReachabilityProblem(ofType("STRING"), "\"Z\u00fcrich\""), "");
    EXPECT_EQ(validateValue(ofType("STRING"), util::jsonString("a\xff").get()),
              "needs a text in UTF-8");
    EXPECT_EQ(validateValue(Descriptor(), util::jsonString("a\xff").get()), "");
}

TEST(Objection, IsToNothingThatNobodyDescribed) {
    EXPECT_EQ(findReachabilityProblem(Descriptor(), "[1]"), "");
}

}  // namespace
}  // namespace client
