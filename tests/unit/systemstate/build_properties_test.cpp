#include "systemstate/build_properties.h"

#include <gmock/gmock.h>

namespace systemstate {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

TEST(BuildProperties, KeyAndValueOfEachLine) {
    EXPECT_THAT(decodeBuildProperties("VERSION=4.2\nPROJECT_SVN=1234\n"),
                ElementsAre(Pair("PROJECT_SVN", "1234"), Pair("VERSION", "4.2")));
}

TEST(BuildProperties, EmptyTextHasNone) {
    EXPECT_THAT(decodeBuildProperties(""), IsEmpty());
}

TEST(BuildProperties, LastLineNeedsNoLineFeed) {
    EXPECT_THAT(decodeBuildProperties("VERSION=4.2"), ElementsAre(Pair("VERSION", "4.2")));
}

TEST(BuildProperties, LinesWithoutEqualsSignAreSkipped) {
    EXPECT_THAT(decodeBuildProperties("# build\n\nVERSION\nVERSION=4.2\n"),
                ElementsAre(Pair("VERSION", "4.2")));
}

TEST(BuildProperties, ValueBeginsAfterTheFirstEqualsSign) {
    EXPECT_THAT(decodeBuildProperties("A=b=c\n=d\n"), ElementsAre(Pair("", "d"), Pair("A", "b=c")));
}

TEST(BuildProperties, BlanksAreKept) {
    EXPECT_THAT(decodeBuildProperties("A = b \n"), ElementsAre(Pair("A ", " b ")));
}

TEST(BuildProperties, OneQuoteAtEachEndIsDropped) {
    EXPECT_THAT(decodeBuildProperties("A=\"4.2\"\nB=\"4.2\nC=4.2\"\nD=\"\"4.2\"\"\nE= \"4.2\" \n"),
                ElementsAre(Pair("A", "4.2"), Pair("B", "4.2"), Pair("C", "4.2"),
                            Pair("D", "\"4.2\""), Pair("E", " \"4.2\" ")));
}

TEST(BuildProperties, ValueOfNothingButQuotesIsEmpty) {
    EXPECT_THAT(decodeBuildProperties("A=\"\nB=\"\"\nC=\n"),
                ElementsAre(Pair("A", ""), Pair("B", ""), Pair("C", "")));
}

TEST(BuildProperties, LaterLineOverwritesAnEarlierOne) {
    EXPECT_THAT(decodeBuildProperties("VERSION=1\nVERSION=2\n"), ElementsAre(Pair("VERSION", "2")));
}

TEST(VersionText, VersionWithTheRevisionRightBehindIt) {
    EXPECT_EQ(versionText({{"VERSION", "4.2"}, {"PROJECT_SVN", "1234"}}), "4.2(1234)");
}

TEST(VersionText, WithoutRevisionTheBareVersion) {
    EXPECT_EQ(versionText({{"VERSION", "4.2"}}), "4.2");
}

TEST(VersionText, WithNeitherReadError) {
    EXPECT_EQ(versionText({}), "read error");
    EXPECT_EQ(versionText({{"version", "4.2"}}), "read error");
    EXPECT_EQ(versionText({{"VERSION", ""}}), "read error");
}

TEST(VersionText, RevisionAloneIsNoError) {
    EXPECT_EQ(versionText({{"PROJECT_SVN", "1234"}}), "(1234)");
    EXPECT_EQ(versionText({{"VERSION", "4.2"}, {"PROJECT_SVN", ""}}), "4.2()");
}

}  // namespace

}  // namespace systemstate
