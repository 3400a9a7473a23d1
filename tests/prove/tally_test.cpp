#include "tally.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::HasSubstr;

namespace prove {

namespace {

TEST(Tally, AddsUpWhatSeveralSend) {
    Tally one;
    one.of("kills at night") = {3, 1, 2, 1, 0};
    Tally all;
    all.take("kills", one.sent());
    all.take("kills", one.sent());
    EXPECT_THAT(all.table(), HasSubstr("| kills at night | 6 | 2 | 4 | 2 | 0 |\n"));
    EXPECT_TRUE(all.passed());
}

TEST(Tally, ALossIsCountedAndToldByName) {
    Tally one;
    one.lose("kills", "nothing was found");
    Tally all;
    all.take("kills", one.sent());
    EXPECT_FALSE(all.passed());
    EXPECT_THAT(all.table(), HasSubstr("| kills | 0 | 0 | 0 | 0 | 1 |\n"));
    EXPECT_THAT(all.table(), HasSubstr("LOST: kills: nothing was found\n"));
}

TEST(Tally, AProofThatFailedIsALoss) {
    Tally all;
    all.take("faults", "prove: no frame\n");
    EXPECT_FALSE(all.passed());
    EXPECT_THAT(all.table(), HasSubstr("LOST: faults: prove: no frame\n"));
}

TEST(Tally, AProofThatSaidNothingIsALoss) {
    Tally all;
    all.take("faults", "");
    EXPECT_FALSE(all.passed());
}

}  // namespace

}  // namespace prove
