#include "program/completion.h"

#include <gmock/gmock.h>

#include "program/command_line.h"

namespace {

using testing::HasSubstr;
using testing::Not;

using Words = std::vector<std::string>;

// A program with all that the programs here have: options for every verb, verbs below verbs,
// choices, files, a command behind "--", names that only the program knows.
class CompletionTest : public testing::Test {
  protected:
    CompletionTest() {
        app_.fallthrough();
        app_.add_option("-p,--port", text_, "Port")->type_name("PORT");
        app_.add_option("--record", text_, "Write it down")->type_name("FILE");
        app_.add_flag("-v,--verbose", flag_, "Say more");
        app_.add_flag("--hidden", flag_, "")->group("");
        app_.add_subcommand("secret", "")->group("");
        CLI::App* get = app_.add_subcommand("get", "Print values");
        get->add_option("NAME", texts_)->required();
        CLI::App* set = app_.add_subcommand("set", "Change things");
        set->add_option("--tree", text_, "Where")->type_name("DIR");
        CLI::App* cable = set->add_subcommand("cable", "Pull or plug");
        cable->add_option("interface", text_)->check(CLI::IsMember({"eth0", "eth1"}));
        cable->add_option("state", text_)->check(CLI::IsMember({"down", "up"}));
        CLI::App* enter = app_.add_subcommand("enter", "Go in");
        enter->add_option("FRAME", text_);
        enter->add_option("COMMAND", texts_);
        finishCommandLine(app_);
    }

    std::string complete(const Words& words) {
        return completion(app_, words, [this](const BegunValue& begun) {
            asked_ = begun.verb + " " + begun.option + " " + begun.kind + " " + begun.word;
            given_ = begun.options;
            before_ = begun.before;
            return offers_;
        });
    }

    CLI::App app_{"A tool.", "tool"};
    std::string text_;
    Words texts_;
    bool flag_ = false;
    std::vector<Offer> offers_;
    std::string asked_;
    std::map<std::string, std::string> given_;
    Words before_;
};

TEST_F(CompletionTest, OffersTheVerbsThatHelpShows) {
    EXPECT_EQ(complete({""}), "words\nget\tPrint values\nset\tChange things\nenter\tGo in\n");
    EXPECT_EQ(complete({"s"}), "words\nset\tChange things\n");
    EXPECT_EQ(complete({"set", ""}), "words\ncable\tPull or plug\n");
    EXPECT_EQ(complete({"x"}), "words\n");
    EXPECT_EQ(complete({}), complete({""}));
}

TEST_F(CompletionTest, OffersNoVerbBehindAWordThatIsNone) {
    EXPECT_EQ(complete({"frobnicate", ""}), "words\n");
}

TEST_F(CompletionTest, OffersTheOptionsOfTheVerbAndThoseOfAllVerbs) {
    EXPECT_EQ(complete({"set", "--"}),
              "words\n"
              "--help\tPrint this and end\n"
              "--tree\tWhere\n"
              "--port\tPort\n"
              "--record\tWrite it down\n"
              "--verbose\tSay more\n"
              "--version\tPrint the version\n");
    EXPECT_EQ(complete({"--verb"}), "words\n--verbose\tSay more\n");
}

TEST_F(CompletionTest, OffersChoicesInTheirPlaces) {
    EXPECT_EQ(complete({"set", "cable", ""}), "words\neth0\neth1\n");
    EXPECT_EQ(complete({"set", "cable", "eth0", "d"}), "words\ndown\n");
    EXPECT_EQ(complete({"set", "cable", "eth0", "down", ""}), "words\n");
    EXPECT_EQ(complete({"set", "--tree", "x", "cable", "-v", "eth0", ""}), "words\ndown\nup\n");
}

TEST_F(CompletionTest, LeavesFilesAndCommandsToTheShell) {
    EXPECT_EQ(complete({"--record", ""}), "files\n");
    EXPECT_EQ(complete({"get", "--record=a"}), "files\n");
    EXPECT_EQ(complete({"set", "--tree", "/t"}), "directories\n");
    EXPECT_EQ(complete({"enter", "--", "l"}), "commands\n");
    EXPECT_EQ(complete({"enter", "--", "ls", ""}), "files\n");
}

TEST_F(CompletionTest, AsksTheProgramForWhatOnlyItKnows) {
    offers_ = {{"ipAddress", "IP Address"}, {"netmask", ""}};
    EXPECT_EQ(complete({"-v", "--port", "7", "--record=f", "get", "netmask", ""}),
              "words\nipAddress\tIP Address\nnetmask\n");
    EXPECT_EQ(asked_, "get  NAME ");
    EXPECT_EQ(given_, (std::map<std::string, std::string>{{"--port", "7"}, {"--record", "f"}}));
    EXPECT_EQ(before_, Words{"netmask"});
    EXPECT_EQ(complete({"get", "i"}), "words\nipAddress\tIP Address\n");
    EXPECT_EQ(asked_, "get  NAME i");
    EXPECT_EQ(before_, Words{});
}

TEST_F(CompletionTest, AsksForTheValueOfAnOptionInEitherForm) {
    offers_ = {{"15000", ""}};
    EXPECT_EQ(complete({"get", "-p", "1"}), "words\n15000\n");
    EXPECT_EQ(asked_, "get --port PORT 1");
    EXPECT_EQ(complete({"--port=1"}), "words\n--port=15000\n");
    EXPECT_EQ(asked_, "tool --port PORT 1");
}

TEST_F(CompletionTest, TakesWordsBehindADoubleDashAsTheyAre) {
    EXPECT_THAT(complete({"get", "--", "--"}), Not(HasSubstr("--port")));
    EXPECT_EQ(asked_, "get  NAME --");
}

TEST_F(CompletionTest, OffersWhatBeginsInAnotherCaseWhereNothingBeginsJustSo) {
    offers_ = {{"mode=Disabled", ""}, {"mode=dim", ""}, {"Mode", ""}};
    EXPECT_EQ(complete({"get", "mode=D"}), "words\nmode=Disabled\n");
    EXPECT_EQ(complete({"get", "mode=DI"}), "words\nmode=Disabled\nmode=dim\n");
    EXPECT_EQ(complete({"get", "mode=e"}), "words\n");
}

TEST_F(CompletionTest, OffersNothingThatALineCannotCarry) {
    offers_ = {{"two\nlines", ""}, {"tab", "a\tb"}, {"good", ""}};
    EXPECT_EQ(complete({"get", ""}), "words\ntab\ta b\ngood\n");
}

TEST_F(CompletionTest, IsTheHiddenVerbOfEveryProgram) {
    const std::vector<const char*> line{"tool", "complete", "ge"};
    testing::internal::CaptureStdout();
    EXPECT_EQ(readCommandLine(app_, 3, line.data()), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "words\nget\tPrint values\n");
    EXPECT_THAT(app_.help(), Not(HasSubstr("complete")));
}

}  // namespace
