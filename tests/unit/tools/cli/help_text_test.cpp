#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "cli/command_line.h"

namespace cli {

namespace {

using testing::HasSubstr;

class HelpTextTest : public testing::Test {
  protected:
    // What --help prints, of the program or of one of its commands.
    std::string help(const std::string& command = "") {
        std::vector<const char*> line{"tool", "--help"};
        if (!command.empty()) {
            line.insert(line.begin() + 1, command.c_str());
        }
        testing::internal::CaptureStdout();
        EXPECT_EQ(line_.run(static_cast<int>(line.size()), line.data()), 0);
        return testing::internal::GetCapturedStdout();
    }

    CommandLine line_{"tool", "Does things."};
    Command program_ = line_.program();
    int number_ = 0;
    bool flag_ = false;
    std::string text_;
    std::vector<std::string> texts_;
};

TEST_F(HelpTextTest, ShowsEachOptionAndVerbOnALineWithoutGaps) {
    program_.requireCommand();
    program_.add("-n,--number", number_, "How many").kind("COUNT");
    program_.addFlag("--quick", flag_, "Take no time");
    Command lift = program_.addCommand("lift", "Up with it");
    lift.add("NAME", texts_).required();
    lift.add("WHERE", text_);
    program_.notes("Mind the gap.");
    EXPECT_EQ(help(),
              "Does things.\n"
              "Usage: tool [OPTIONS] COMMAND\n"
              "Options:\n"
              "  -h, --help              Show this help and exit\n"
              "  -n, --number COUNT      How many\n"
              "  --quick                 Take no time\n"
              "  --version               Print the version and exit\n"
              "Commands (help COMMAND or COMMAND --help tells more):\n"
              "  lift NAME... [WHERE]    Up with it\n"
              "\n"
              "Mind the gap.\n");
}

TEST_F(HelpTextTest, GivesAVerbItsFullNameAndItsPositionals) {
    Command lift = program_.addCommand("lift", "Up with it");
    lift.add("SIDE", text_).required().choices({"left", "right"});
    EXPECT_EQ(help("lift"),
              "Up with it\n"
              "Usage: tool lift [OPTIONS] SIDE\n"
              "  SIDE                    left|right\n"
              "Options:\n"
              "  -h, --help              Show this help and exit\n");
}

TEST_F(HelpTextTest, BreaksLongLinesBetweenWordsBefore80Columns) {
    program_
        .add("--an-option-with-a-long-name", number_,
             "A text of more than fifty-four characters that has to go on in a second line")
        .kind("COUNT");
    EXPECT_THAT(help(), HasSubstr("  --an-option-with-a-long-name COUNT\n"
                                  "                          A text of more than fifty-four "
                                  "characters that has to\n"
                                  "                          go on in a second line\n"));
}

TEST_F(HelpTextTest, GoesOnInTheColumnWhereADescriptionHasALineEnd) {
    program_.addCommand("lift", "Up\nwith it");
    EXPECT_THAT(help(), HasSubstr("  lift                    Up with it\n"));
}

TEST_F(HelpTextTest, SaysWhatAnOptionTakes) {
    program_.addFlag("--flag", flag_, "On");
    program_.add("--text", text_, "Any");
    program_.add("--side", text_, "One").choices({"left", "right"});
    program_.add("--seconds", number_, "Some").kind("SECONDS").check(wholeNumber(1, 9));
    EXPECT_THAT(help(), HasSubstr("  --flag                  On\n"
                                  "  --text VALUE            Any\n"
                                  "  --side left|right       One\n"
                                  "  --seconds SECONDS       Some\n"));
}

TEST_F(HelpTextTest, ShowsWhatIsTakenWhenNothingIsSaid) {
    number_ = 7;
    program_.add("--number", number_, "How many").kind("COUNT").showsDefault();
    EXPECT_THAT(help(), HasSubstr("  --number COUNT          How many (7)\n"));
}

}  // namespace

}  // namespace cli
