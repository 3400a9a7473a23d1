#include "pallbus/faults/fault_script.h"

#include <gmock/gmock.h>

#include "cli/timed_script.h"

namespace pallbus::faults {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

FaultRule order(const std::vector<std::string>& words) {
    return parseFault(words);
}

std::string findProblem(std::string_view text) {
    try {
        parseFaultScript(text, "bad.txt");
    } catch (const cli::script::Error& error) {
        return error.what();
    }
    return "none";
}

std::string problemOfLine(std::string_view line) {
    try {
        parseFaultLine(line);
    } catch (const FaultSyntaxError& problem) {
        return problem.what();
    }
    return "none";
}

TEST(FaultScript, SaysWhatHappensWhen) {
    EXPECT_THAT(
        parseFaultScript("# a bus that falls blackhole\n"
                         "at 2s blackhole 5s\n"
                         "after 1s truncate daemon\n"
                         "clear\n",
                         "x"),
        ElementsAre(FaultStep{2s, order({"blackhole", "5s"})},
                    FaultStep{3s, order({"truncate", "daemon"})}, FaultStep{3s, order({"clear"})}));
}

TEST(FaultScript, RepeatsABlock) {
    EXPECT_THAT(parseFaultScript("repeat 2\nafter 1s close\nend", "x"),
                ElementsAre(FaultStep{1s, order({"close"})}, FaultStep{2s, order({"close"})}));
}

TEST(FaultScript, IsOneLineWithoutATime) {
    EXPECT_THAT(parseFaultScript("fragment", "x"), ElementsAre(FaultStep{0s, order({"fragment"})}));
    EXPECT_THAT(parseFaultScript("", "x"), IsEmpty());
}

TEST(FaultScript, NamesTheLineThatIsBad) {
    EXPECT_EQ(findProblem("fragment\n\nafter 1s delay\n"),
              "bad.txt:3: incomplete fault; expected: delay TIME[-TIME]");
    EXPECT_EQ(findProblem("at 1s\n"), "bad.txt:1: 'at' needs a time and a command");
}

TEST(FaultScript, NamesAllLinesThatAreBadInTheirOrder) {
    EXPECT_EQ(
        findProblem("at 1s close 10%\nat 2s fragment\nat 1500ms clear\nfoo\nrepeat 9\nbar\nend"),
        "bad.txt:1: 'close' does not take '10%'\n"
        "bad.txt:3: 'at 1500ms' is earlier than the line before\n"
        "bad.txt:4: " +
            problemOfLine("foo") +
            "\n"
            "bad.txt:6: " +
            problemOfLine("bar"));
}

TEST(FaultScript, SaysWhatIsWrongWithALine) {
    EXPECT_EQ(problemOfLine("close 10%"), "'close' does not take '10%'");
}

TEST(FaultScript, ATypedLineIsOneLineAndItsProblemHasNoPlace) {
    EXPECT_THAT(parseFaultLine("at 1s fragment"), ElementsAre(FaultStep{1s, order({"fragment"})}));
    EXPECT_EQ(problemOfLine("coalesce"), "incomplete fault; expected: coalesce MESSAGES");
    EXPECT_EQ(problemOfLine("coalesce 'a"), "the quote ' has no end");
    EXPECT_EQ(problemOfLine("fragment\nsplit"), "more than one line");
}

}  // namespace
}  // namespace pallbus::faults
