#include "trouble/plan.h"

#include <gmock/gmock.h>

#include "program/timed_script.h"

namespace pallbus {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

Order order(const std::vector<std::string>& words) {
    return parseOrder(words);
}

std::string problemOf(std::string_view text) {
    try {
        parsePlan(text, "bad.txt");
    } catch (const script::Error& error) {
        return error.what();
    }
    return "none";
}

std::string problemOfLine(std::string_view line) {
    try {
        parseLine(line);
    } catch (const BadTrouble& problem) {
        return problem.what();
    }
    return "none";
}

TEST(Plan, SaysWhatHappensWhen) {
    EXPECT_THAT(
        parsePlan("# a bus that falls silent\n"
                  "at 2s silent 5s\n"
                  "after 1s close mid-frame daemon\n"
                  "calm\n",
                  "x"),
        ElementsAre(Step{2s, order({"silent", "5s"})},
                    Step{3s, order({"close", "mid-frame", "daemon"})}, Step{3s, order({"calm"})}));
}

TEST(Plan, RepeatsABlock) {
    EXPECT_THAT(parsePlan("repeat 2\nafter 1s close\nend", "x"),
                ElementsAre(Step{1s, order({"close"})}, Step{2s, order({"close"})}));
}

TEST(Plan, IsOneLineWithoutATime) {
    EXPECT_THAT(parsePlan("split", "x"), ElementsAre(Step{0s, order({"split"})}));
    EXPECT_THAT(parsePlan("", "x"), IsEmpty());
}

TEST(Plan, NamesTheLineThatIsBad) {
    EXPECT_EQ(problemOf("split\n\nafter 1s delay\n"),
              "bad.txt:3: something is missing: delay TIME[-TIME]");
    EXPECT_EQ(problemOf("at 1s\n"), "bad.txt:1: 'at' needs a time and something to do");
}

TEST(Plan, NamesAllLinesThatAreBadInTheirOrder) {
    EXPECT_EQ(problemOf("at 1s close 10%\nat 2s split\nat 1500ms calm\nfoo\nrepeat 9\nbar\nend"),
              "bad.txt:1: 'close' takes no '10%'\n"
              "bad.txt:3: 'at 1500ms' is earlier than the line before\n"
              "bad.txt:4: " +
                  problemOfLine("foo") +
                  "\n"
                  "bad.txt:6: " +
                  problemOfLine("bar"));
}

TEST(Plan, SaysWhatIsWrongWithALine) {
    EXPECT_EQ(problemOfLine("close 10%"), "'close' takes no '10%'");
}

TEST(Plan, ATypedLineIsOneLineAndItsProblemHasNoPlace) {
    EXPECT_THAT(parseLine("at 1s split"), ElementsAre(Step{1s, order({"split"})}));
    EXPECT_EQ(problemOfLine("join"), "something is missing: join MESSAGES");
    EXPECT_EQ(problemOfLine("join 'a"), "the quote ' has no end");
    EXPECT_EQ(problemOfLine("split\nsplit"), "more than one line");
}

}  // namespace
}  // namespace pallbus
