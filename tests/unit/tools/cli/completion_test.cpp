#include <gmock/gmock.h>

#include "cli/command_line.h"

namespace cli {

namespace {

using testing::HasSubstr;
using testing::Not;

using Words = std::vector<std::string>;

// A program with all that the programs here have: options for every command, commands below
// commands, choices, files, a command behind "--", names that only the program knows.
class CompletionTest : public testing::Test {
  protected:
    CompletionTest() {
        Command program = line_.program();
        program.allowOptionsAnywhere();
        program.add("-p,--port", text_, "Port").kind("PORT");
        program.add("--record", text_, "Write it down").kind("FILE");
        program.addFlag("-v,--verbose", flag_, "Say more");
        program.addCommand("get", "Print values").add("NAME", texts_).required();
        Command set = program.addCommand("set", "Change things");
        set.add("--tree", text_, "Where").kind("DIR");
        Command cable = set.addCommand("cable", "Pull or plug");
        cable.add("interface", text_).choices({"eth0", "eth1"});
        cable.add("state", text_).choices({"down", "up"});
        Command enter = program.addCommand("enter", "Go in");
        enter.add("FRAME", text_);
        enter.add("COMMAND", texts_);
    }

    // What the shells are told; as they ask, by the hidden command of every program.
    std::string complete(const Words& words) {
        std::vector<const char*> line{"tool", "complete"};
        for (const std::string& word : words) {
            line.push_back(word.c_str());
        }
        testing::internal::CaptureStdout();
        const auto status =
            line_.run(static_cast<int>(line.size()), line.data(),
                      [this](const CompletionRequest& begun) { return completion(begun); });
        EXPECT_EQ(status, 0);
        return testing::internal::GetCapturedStdout();
    }

    std::vector<Completion> completion(const CompletionRequest& begun) {
        asked_ = begun.command + " " + begun.option + " " + begun.kind + " " + begun.word;
        given_ = begun.options;
        before_ = begun.before;
        return offers_;
    }

    CommandLine line_{"tool", "A tool."};
    std::string text_;
    Words texts_;
    bool flag_ = false;
    std::vector<Completion> offers_;
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
              "--help\tShow this help and exit\n"
              "--tree\tWhere\n"
              "--port\tPort\n"
              "--record\tWrite it down\n"
              "--verbose\tSay more\n"
              "--version\tPrint the version and exit\n");
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

TEST_F(CompletionTest, OffersCommandsAfterHelp) {
    EXPECT_EQ(complete({"help", ""}), complete({""}));
    EXPECT_EQ(complete({"help", "ge"}), complete({"ge"}));
}

TEST_F(CompletionTest, OffersNothingThatALineCannotCarry) {
    offers_ = {{"two\nlines", ""}, {"tab", "a\tb"}, {"good", ""}};
    EXPECT_EQ(complete({"get", ""}), "words\ntab\ta b\ngood\n");
}

}  // namespace

}  // namespace cli
