#include "program/help_text.h"

#include <string>

#include <gmock/gmock.h>

#include "program/command_line.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class HelpTextTest : public testing::Test {
  protected:
    // What the program's own --help prints, or that of its verbs.
    std::string help() {
        finishCommandLine(app_);
        return app_.help();
    }

    CLI::App app_{"Does things.", "tool"};
    int number_ = 0;
    bool flag_ = false;
    std::string text_;
    std::vector<std::string> texts_;
};

TEST_F(HelpTextTest, ShowsEachOptionAndVerbOnALineWithoutGaps) {
    app_.require_subcommand(1);
    app_.add_option("-n,--number", number_, "How many")->type_name("COUNT");
    app_.add_flag("--quick", flag_, "Take no time");
    CLI::App* lift = app_.add_subcommand("lift", "Up with it");
    lift->add_option("NAME", texts_)->required();
    lift->add_option("WHERE", text_);
    app_.footer("Mind the gap.");
    EXPECT_EQ(help(),
              "Does things.\n"
              "Usage: tool [OPTIONS] VERB\n"
              "Options:\n"
              "  -h, --help              Print this and end\n"
              "  -n, --number COUNT      How many\n"
              "  --quick                 Take no time\n"
              "  --version               Print the version\n"
              "Verbs (VERB --help tells more):\n"
              "  lift NAME... [WHERE]    Up with it\n"
              "\n"
              "Mind the gap.\n");
}

TEST_F(HelpTextTest, GivesAVerbItsFullNameAndItsPositionals) {
    CLI::App* lift = app_.add_subcommand("lift", "Up with it");
    lift->add_option("SIDE", text_)->required()->check(CLI::IsMember({"left", "right"}));
    help();
    EXPECT_EQ(lift->help("tool"),
              "Up with it\n"
              "Usage: tool lift [OPTIONS] SIDE\n"
              "  SIDE                    left|right\n"
              "Options:\n"
              "  -h, --help              Print this and end\n");
}

TEST_F(HelpTextTest, BreaksLongLinesBetweenWordsBefore80Columns) {
    app_.add_option("--an-option-with-a-long-name", number_,
                    "A text of more than fifty-four characters that has to go on in a second line")
        ->type_name("COUNT");
    EXPECT_THAT(help(), HasSubstr("  --an-option-with-a-long-name COUNT\n"
                                  "                          A text of more than fifty-four "
                                  "characters that has to\n"
                                  "                          go on in a second line\n"));
}

TEST_F(HelpTextTest, GoesOnInTheColumnWhereADescriptionHasALineEnd) {
    app_.add_subcommand("lift", "Up\nwith it");
    EXPECT_THAT(help(), HasSubstr("  lift                    Up with it\n"));
}

TEST_F(HelpTextTest, HidesWhatHasNoGroup) {
    app_.add_flag("--secret", flag_, "")->group("");
    app_.add_subcommand("hidden", "")->group("");
    EXPECT_THAT(help(), Not(HasSubstr("secret")));
    EXPECT_THAT(help(), Not(HasSubstr("hidden")));
}

TEST_F(HelpTextTest, KnowsWhatAnOptionTakes) {
    EXPECT_EQ(valueWord(*app_.add_flag("--flag", flag_)), "");
    EXPECT_EQ(valueWord(*app_.add_option("--text", text_)), "VALUE");
    const auto* side = app_.add_option("--side", text_)->check(CLI::IsMember({"left", "right"}));
    EXPECT_EQ(valueWord(*side), "left|right");
    EXPECT_THAT(choicesOf(*side), ElementsAre("left", "right"));
    const auto* seconds =
        app_.add_option("--seconds", number_)->type_name("SECONDS")->check(CLI::Range(1, 9));
    EXPECT_EQ(valueWord(*seconds), "SECONDS");
    EXPECT_THAT(choicesOf(*seconds), IsEmpty());
}

TEST_F(HelpTextTest, ShowsWhatIsTakenWhenNothingIsSaid) {
    number_ = 7;
    app_.add_option("--number", number_, "How many")->type_name("COUNT")->capture_default_str();
    EXPECT_THAT(help(), HasSubstr("  --number COUNT          How many (7)\n"));
}

}  // namespace
