#include "soak_lib/report.h"

#include <gtest/gtest.h>

namespace soak {
namespace {

TEST(Report, IsATableOfItsRows) {
    Report report;
    report.row("requests", 12);
    report.row("gap", "1.0 s");
    EXPECT_EQ(report.text(),
              "|          | |\n"
              "|----------|---|\n"
              "| requests | 12 |\n"
              "| gap      | 1.0 s |\n");
    EXPECT_TRUE(report.passed());
}

TEST(Report, NumberOtherThanWantedFailsIt) {
    Report report;
    report.expect("lost", 0, 0);
    EXPECT_TRUE(report.passed());
    report.expect("cycle", 150, 151);
    EXPECT_FALSE(report.passed());
    EXPECT_TRUE(report.text().ends_with("FAILED: cycle: 150 instead of 151\n"));
}

}  // namespace
}  // namespace soak
