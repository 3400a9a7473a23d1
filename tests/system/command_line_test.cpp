// What all command-line tools have in common on their command lines. The verbs and options are
// taken from their own help, so that none can be forgotten here.

#include <algorithm>
#include <set>

#include "described_command.h"
#include "text_parts.h"

using namespace outside;
using testing::Contains;
using testing::Each;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Le;
using testing::MatchesRegex;
using testing::SizeIs;
using testing::StartsWith;

namespace {

constexpr size_t kLines = 24;
// The commands and options of a program fill a screen; the two lines before them may scroll.
constexpr size_t kLinesAboveOptions = 2;
constexpr size_t kColumns = 80;

// Of the messages of the parser library.
constexpr const char* kParserPhrases[] = {"not expected", "is required (",     "required but",
                                          "1 required",   "excludes",          "requires",
                                          "override",     "Could not convert", "subcommand"};

// What it takes, "PORT" in "-p, --port PORT"; "" when nothing.
std::string valueOf(const std::string& option) {
    const size_t name = option.rfind('-');
    const size_t blank = option.find(' ', name);
    return blank == std::string::npos ? "" : option.substr(blank + 1);
}

// The last of its names, "--port".
std::string nameOf(const std::string& option) {
    const size_t begin = option.find(", ") == std::string::npos ? 0 : option.find(", ") + 2;
    return option.substr(begin, option.find(' ', begin) - begin);
}

bool isNumber(const std::string& value) {
    static const std::set<std::string> kNumbers{"PORT", "SECONDS", "FACTOR", "NUMBER", "TIME"};
    return kNumbers.count(value) > 0;
}

size_t positionals(const Command& command) {
    return static_cast<size_t>(std::count(command.head.begin(), command.head.end(), ' '));
}

bool needsWords(const Command& command) {
    const size_t blank = command.head.find(' ');
    return blank != std::string::npos && command.head[blank + 1] != '[';
}

// A monitoring system reads standard output, and takes the usual status, 2, for a critical reading.
bool isPlugin(const Command& command) {
    return command.called() == "pallctl check";
}

void expectOneLineAndUsageStatus(const Command& command, const Words& more) {
    const Result result = run(commandLine(command, more));
    const std::string asked = command.called() + " " + testing::PrintToString(more);
    EXPECT_EQ(result.status, isPlugin(command) ? 3 : 2) << asked;
    EXPECT_THAT(result.output, MatchesRegex(isPlugin(command) ? "UNKNOWN: [^\n]+\n" : "")) << asked;
    EXPECT_THAT(result.error, StartsWith(command.words[0] + ": ")) << asked;
    EXPECT_THAT(result.error, EndsWith("\n")) << asked;
    EXPECT_THAT(linesOf(result.error), SizeIs(1)) << asked;
    for (const char* phrase : kParserPhrases) {
        EXPECT_THAT(result.error, testing::Not(HasSubstr(phrase))) << asked;
    }
}

// The same, and the line contains this text.
void expectError(const Command& command, const Words& more, const std::string& text) {
    expectOneLineAndUsageStatus(command, more);
    EXPECT_THAT(run(commandLine(command, more)).error, HasSubstr(text)) << command.called();
}

TEST(EveryProgram, HasVerbsOrOptionsThatTheseTestsSee) {
    for (const char* program : kPrograms) {
        EXPECT_THAT(describedBy(program).options, Contains("--version")) << program;
    }
    EXPECT_THAT(describedBy("pallctl").options, Contains("-p, --port PORT"));
    std::vector<std::string> called;
    for (const Command& command : allCommands()) {
        called.push_back(command.called());
    }
    EXPECT_THAT(called, Contains("pallctl get"));
    EXPECT_THAT(called, Contains("pallframe set cable"));
}

TEST(EveryProgram, TellsItsVersion) {
    for (const char* program : kPrograms) {
        const Result result = run({programDirectory() / program, "--version"});
        EXPECT_EQ(result.status, 0) << program;
        EXPECT_EQ(result.output, std::string(program) + " " PALLWATCH_VERSION "\n");
        EXPECT_EQ(result.error, "") << program;
    }
}

// The status that says that a program could not go on.
int failureOf(const std::string& program) {
    return program == "pallframe" ? 125 : 1;
}

struct BadOutput {
    const char* redirection;
    const char* problem;
};

TEST(EveryProgram, SaysThatItsOutputCannotBeWritten) {
    std::vector<Words> commands{{"pallframe", "doctor", "--root", "/"}, {"pallbus", "--port=0"}};
    for (const char* program : kPrograms) {
        for (const Words& asked : {Words{"--help"}, Words{"--version"}, Words{"complete", "--"}}) {
            commands.push_back({program});
            commands.back().insert(commands.back().end(), asked.begin(), asked.end());
        }
    }
    for (const auto& [redirection, problem] : {BadOutput{">/dev/full", "No space left on device"},
                                               BadOutput{">&-", "Bad file descriptor"}}) {
        for (const Words& command : commands) {
            Words words{"sh", "-c", std::string("exec \"$@\" ") + redirection, "sh",
                        programDirectory() / command[0]};
            words.insert(words.end(), command.begin() + 1, command.end());
            const Result result = run(words);
            EXPECT_EQ(result.status, failureOf(command[0])) << testing::PrintToString(command);
            EXPECT_EQ(result.error, command[0] + ": standard output: " + problem + "\n")
                << testing::PrintToString(command);
        }
    }
}

TEST(EveryVerb, ExplainsItselfOnAScreen) {
    for (const Command& command : allCommands()) {
        for (const char* option : {"--help", "-h"}) {
            const Result result = run(commandLine(command, {option}));
            EXPECT_EQ(result.status, 0) << command.called();
            EXPECT_EQ(result.error, "") << command.called();
            EXPECT_THAT(result.output, HasSubstr("\nUsage: " + command.called() + " "));
            const std::vector<std::string> lines = linesOf(result.output);
            const size_t above = command.words.size() == 1 ? kLinesAboveOptions : 0;
            EXPECT_THAT(lines, SizeIs(Le(kLines + above))) << command.called();
            EXPECT_THAT(lines, Each(SizeIs(Le(kColumns)))) << command.called();
        }
    }
}

TEST(EveryVerb, IsExplainedByHelpToo) {
    for (const Command& command : allCommands()) {
        Words words{programDirectory() / command.words[0], "help"};
        words.insert(words.end(), command.words.begin() + 1, command.words.end());
        const Result result = run(words);
        EXPECT_EQ(result.status, 0) << command.called();
        EXPECT_EQ(result.output, run(commandLine(command, {"--help"})).output) << command.called();
    }
}

TEST(EveryVerb, IsSuggestedForATypingMistake) {
    for (const Command& command : allCommands()) {
        for (const Command& each : command.verbs) {
            const std::string verb = each.words.back();
            std::string upper = verb;
            std::ranges::transform(upper, upper.begin(), [](char letter) {
                return letter == '-' ? letter : static_cast<char>(letter - 'a' + 'A');
            });
            expectError(command, {upper}, "unknown command '" + upper + "'; did you mean '" + verb);
            expectError(command, {verb + "x"}, "; did you mean '" + verb);
        }
    }
}

TEST(EveryVerb, IsRefusedAnOptionThatThereIsNot) {
    for (const Command& command : allCommands()) {
        expectOneLineAndUsageStatus(command, {"--no-such-option"});
        expectOneLineAndUsageStatus(command, {"--no-such-option=1"});
        expectOneLineAndUsageStatus(command, {"-?"});
    }
}

TEST(EveryVerb, IsRefusedAVerbThatThereIsNot) {
    for (const Command& command : allCommands()) {
        if (!command.verbs.empty()) {
            expectOneLineAndUsageStatus(command, {"no-such-verb"});
            expectOneLineAndUsageStatus(command, {"no\nsuch\nverb"});
        }
    }
}

TEST(EveryVerb, NeedsItsArguments) {
    size_t tried = 0;
    for (const Command& command : allCommands()) {
        if (needsWords(command)) {
            expectOneLineAndUsageStatus(command, {});
            ++tried;
        }
    }
    EXPECT_GT(tried, 5u);
}

TEST(EveryVerb, TakesNoMoreArgumentsThanItSays) {
    for (const Command& command : allCommands()) {
        if (command.head.find("...") == std::string::npos) {
            expectOneLineAndUsageStatus(command, Words(positionals(command) + 1, "stray"));
        }
    }
}

TEST(EveryOption, TakesNoPortThatThereCannotBe) {
    for (const char* program : kPrograms) {
        const Command command = describedBy(program);
        for (const std::string& option : command.options) {
            if (valueOf(option) == "PORT") {
                expectOneLineAndUsageStatus(command, {nameOf(option), "-1"});
                expectOneLineAndUsageStatus(command, {nameOf(option), "65536"});
            }
        }
    }
}

TEST(EveryOption, OfAClientTakesNoTimeAndNoPortThatLeadNowhere) {
    for (const char* option :
         {"--timeout=nan", "--timeout=0", "--timeout=86401", "--timeout=0s", "--wait=nan",
          "--wait=-1", "--wait=inf", "--port=0", "--port=65536"}) {
        const Result result = run({programDirectory() / "pallctl", option, "list"});
        EXPECT_EQ(result.status, 2) << option;
        EXPECT_THAT(linesOf(result.error), SizeIs(1)) << option;
    }
}

TEST(EveryOption, OfFormIsRefusedByWhatHasOneFormOnly) {
    for (const char* option : {"--json", "--keyvalue", "--raw"}) {
        const Command pallctl = describedBy("pallctl");
        expectOneLineAndUsageStatus(pallctl, {"top", option});
        expectOneLineAndUsageStatus(pallctl, {"network", "--gateway=10.0.0.1", option});
    }
}

TEST(EveryOption, NeedsItsValue) {
    size_t tried = 0;
    for (const Command& command : allCommands()) {
        for (const std::string& option : command.options) {
            if (!valueOf(option).empty()) {
                expectError(command, {nameOf(option)}, nameOf(option) + ": missing ");
                ++tried;
            }
        }
    }
    EXPECT_GT(tried, 5u);
}

TEST(EveryOption, WithoutAValueTakesNone) {
    size_t tried = 0;
    for (const Command& command : allCommands()) {
        for (const std::string& option : command.options) {
            if (valueOf(option).empty() && option != "-h, --help" && option != "--version") {
                expectError(command, {nameOf(option) + "=3"}, nameOf(option) + ": takes no value");
                ++tried;
            }
        }
    }
    EXPECT_GT(tried, 5u);
}

TEST(EveryOption, IsSuggestedForATypingMistake) {
    for (const Command& command : allCommands()) {
        for (const std::string& option : command.options) {
            expectError(command, {nameOf(option) + "x"}, "; did you mean '" + nameOf(option));
        }
    }
}

TEST(EveryOption, OfAClientIsGivenOnce) {
    for (const char* option : {"--object", "--port", "--timeout", "--wait"}) {
        expectError(describedBy("pallctl"), {"list", option, "1", option, "1"},
                    std::string(option) + ": given more than once");
    }
}

TEST(EveryOption, TakesNumbersOnlyWhereItSaysSo) {
    size_t tried = 0;
    for (const Command& command : allCommands()) {
        for (const std::string& option : command.options) {
            if (isNumber(valueOf(option))) {
                expectOneLineAndUsageStatus(command, {nameOf(option), "many"});
                expectOneLineAndUsageStatus(command, {nameOf(option), "1x"});
                ++tried;
            }
        }
    }
    EXPECT_GT(tried, 3u);
}

}  // namespace
