#include "cli/validators.h"

#include <string>

#include <gtest/gtest.h>

#include "support/temporary_directory.h"

namespace cli {

namespace {

std::string complaint(const Validator& check, const std::string& text) {
    return check(text);
}

TEST(Validators, TakeWholeNumbersWithinTheirRange) {
    const Validator check = wholeNumber(3, 900);
    EXPECT_EQ(complaint(check, "3"), "");
    EXPECT_EQ(complaint(check, "900"), "");
    for (const char* text : {"2", "901", "-3", "+4", "4.5", "4x", " 4", "", "0x10"}) {
        EXPECT_EQ(complaint(check, text),
                  "invalid number '" + std::string(text) + "'; use an integer from 3 to 900");
    }
}

TEST(Validators, TakeTheLargestNumberAndNoneBeyond) {
    EXPECT_EQ(complaint(wholeNumber(), "18446744073709551615"), "");
    EXPECT_NE(complaint(wholeNumber(), "18446744073709551616"), "");
}

TEST(Validators, TakeAnyPort) {
    EXPECT_EQ(complaint(portNumber(), "0"), "");
    EXPECT_EQ(complaint(portNumber(), "65535"), "");
    EXPECT_EQ(complaint(portNumber(), "65536"),
              "invalid number '65536'; use an integer from 0 to 65535");
}

TEST(Validators, TakeNumbersWithAFractionWithinTheirRange) {
    const Validator check = numberBetween(0.001, 1000);
    EXPECT_EQ(complaint(check, "0.001"), "");
    EXPECT_EQ(complaint(check, "1000"), "");
    for (const char* text : {"0.0009", "1000.1", "nan", "inf", "1,5", "one", ""}) {
        EXPECT_EQ(complaint(check, text),
                  "invalid number '" + std::string(text) + "'; use a number from 0.001 to 1000");
    }
}

TEST(Validators, TakeEveryFiniteNumberAboveZero) {
    EXPECT_EQ(complaint(numberAboveZero(), "0.25"), "");
    for (const char* text : {"0", "-1", "nan", "inf", ""}) {
        EXPECT_EQ(complaint(numberAboveZero(), text),
                  "invalid number '" + std::string(text) + "'; use a number above 0");
    }
}

TEST(Validators, TellFilesFromDirectoriesAndFromNothing) {
    const TemporaryDirectory directory;
    const std::string file = directory.write("file", "");
    const std::string missing = directory.path("missing");
    EXPECT_EQ(complaint(existingFile(), file), "");
    EXPECT_EQ(complaint(existingFile(), "/dev/null"), "");
    EXPECT_EQ(complaint(existingFile(), directory.path()), "no file '" + directory.path() + "'");
    EXPECT_EQ(complaint(existingFile(), missing), "no file '" + missing + "'");
    EXPECT_EQ(complaint(existingDirectory(), directory.path()), "");
    EXPECT_EQ(complaint(existingDirectory(), file), "no directory '" + file + "'");
    EXPECT_EQ(complaint(existingDirectory(), missing), "no directory '" + missing + "'");
}

}  // namespace

}  // namespace cli
