// The errors in a command line, as users see them.

#include "cli/usage_error.h"

#include <gmock/gmock.h>

#include "cli/command_line.h"

namespace cli {
namespace {

class UsageErrorTest : public testing::Test {
  protected:
    UsageErrorTest() {
        program_.requireCommand();
        program_.allowOptionsAnywhere();
        program_.add("-p,--port", port_).kind("PORT").check(wholeNumber());
        program_.add("--rate", rate_);
        program_.addFlag("--json", json_, "");
        program_.addFlag("--keyvalue", keyvalue_, "").excludes("--json");
        Command get = program_.addCommand("get", "");
        get.add("NAME", name_).required();
        Command set = program_.addCommand("set", "");
        set.requireCommand();
        set.addCommand("cable", "").add("STATE", state_).required().choices({"up", "down"});
        program_.addCommand("list", "").work([] { return 0; });
        program_.addCommand("watch", "")
            .add("--type", types_)
            .oneEachTime()
            .separatedByCommas()
            .choices({"GET", "SET"});
    }

    // The error without the name of the program and the hint that follows each of them.
    std::string explain(const std::vector<const char*>& words) {
        const std::string begin = "tool: ";
        const std::string end = " (--help tells more)\n";
        const std::string text = run(words, kUsageError);
        EXPECT_TRUE(text.starts_with(begin) && text.ends_with(end)) << text;
        return text.substr(begin.size(), text.size() - begin.size() - end.size());
    }

    // What it prints on standard output or error.
    std::string run(std::vector<const char*> words, int status) {
        words.insert(words.begin(), "tool");
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        EXPECT_EQ(line_.run(static_cast<int>(words.size()), words.data()), status);
        return testing::internal::GetCapturedStdout() + testing::internal::GetCapturedStderr();
    }

    CommandLine line_{"tool", "A tool."};
    Command program_ = line_.program();
    int port_ = 0;
    int rate_ = 0;
    bool json_ = false;
    bool keyvalue_ = false;
    std::string name_;
    std::string state_;
    std::vector<std::string> types_;
};

TEST_F(UsageErrorTest, NamesTheCommandThatLacksAnArgument) {
    EXPECT_EQ(explain({"get"}), "get: missing NAME");
    EXPECT_EQ(explain({"set", "cable"}), "set cable: missing STATE");
    EXPECT_EQ(explain({"get", "--"}), "get: missing NAME");
    EXPECT_EQ(explain({}), "a command is required");
}

TEST_F(UsageErrorTest, NamesTheOptionThatLacksItsValue) {
    EXPECT_EQ(explain({"list", "--port"}), "--port: missing PORT");
    EXPECT_EQ(explain({"list", "-p"}), "--port: missing PORT");
    EXPECT_EQ(explain({"watch", "--type"}), "--type: missing GET|SET");
}

TEST_F(UsageErrorTest, NamesTheOptionThatIsGivenTwice) {
    EXPECT_EQ(explain({"list", "-p", "1", "--port=2"}), "--port: given more than once");
}

TEST_F(UsageErrorTest, NamesTheFlagThatTakesNoValue) {
    EXPECT_EQ(explain({"list", "--json=3"}), "--json: takes no value");
    EXPECT_EQ(explain({"list", "--json=no"}), "--json: takes no value");
}

TEST_F(UsageErrorTest, NamesOptionsThatConflict) {
    EXPECT_EQ(explain({"list", "--json", "--keyvalue"}),
              "--json cannot be combined with --keyvalue");
}

TEST_F(UsageErrorTest, NamesTheValueThatIsInvalid) {
    EXPECT_EQ(explain({"list", "--rate", "x"}), "--rate: invalid value x");
    EXPECT_EQ(explain({"watch", "--type", "shout"}),
              "--type: invalid value 'shout'; choose from GET, SET");
    EXPECT_EQ(explain({"set", "cable", "op"}), "STATE: invalid value 'op'; choose from up, down");
}

TEST_F(UsageErrorTest, NamesTheWordThatIsTooMany) {
    EXPECT_EQ(explain({"list", "stray"}), "list: unexpected argument 'stray'");
    EXPECT_EQ(explain({"list", ""}), "list: unexpected argument ''");
    EXPECT_EQ(explain({"get", "a", "b"}), "get: unexpected argument 'b'");
    EXPECT_EQ(explain({"list", "--", "stray"}), "list: unexpected argument 'stray'");
}

TEST_F(UsageErrorTest, SuggestsCommandsAndOptions) {
    EXPECT_EQ(explain({"lst"}), "unknown command 'lst'; did you mean 'list'?");
    EXPECT_EQ(explain({"SET", "x"}), "unknown command 'SET'; did you mean 'set'?");
    EXPECT_EQ(explain({"set", "cabel"}), "set: unknown command 'cabel'; did you mean 'cable'?");
    EXPECT_EQ(explain({"set", "foo"}), "set: unknown command 'foo'; choose from cable");
    EXPECT_EQ(explain({"set"}), "set: a command is required; choose from cable");
    EXPECT_EQ(explain({"list", "--jsno"}), "list: unknown option '--jsno'; did you mean '--json'?");
    EXPECT_EQ(explain({"get", "--prot", "3"}),
              "get: unknown option '--prot'; did you mean '--port'?");
}

TEST_F(UsageErrorTest, TakesChoicesInAnyCaseAndSeparatedByCommas) {
    EXPECT_EQ(run({"watch", "--type", "set,Get", "--type=GET"}, 0), "");
    EXPECT_EQ(types_, (std::vector<std::string>{"SET", "GET", "GET"}));
    EXPECT_EQ(explain({"watch", "--type", "set,shout"}),
              "--type: invalid value 'shout'; choose from GET, SET");
}

TEST_F(UsageErrorTest, HelpIsAlsoACommand) {
    EXPECT_EQ(run({"help"}, 0), run({"--help"}, 0));
    EXPECT_EQ(run({"help", "set", "cable"}, 0), run({"set", "cable", "--help"}, 0));
    EXPECT_EQ(explain({"help", "lst"}), "unknown command 'lst'; did you mean 'list'?");
}

}  // namespace
}  // namespace cli
