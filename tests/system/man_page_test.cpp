// The man pages beside the programs that they describe.

#include "man_page.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <map>
#include <regex>
#include <set>

#include "described_command.h"

using namespace outside;
using testing::Contains;
using testing::IsEmpty;
using testing::Not;
using testing::UnorderedElementsAreArray;

namespace {

bool isOption(const Entry& entry) {
    return entry.head.compare(0, 1, "-") == 0;
}

// Heads of the options, or of the verbs.
std::vector<std::string> heads(const std::vector<Entry>& entries, bool options) {
    std::vector<std::string> found;
    for (const Entry& entry : entries) {
        if (isOption(entry) == options) {
            found.push_back(entry.head);
        }
    }
    return found;
}

std::vector<std::string> heads(const std::vector<Command>& verbs) {
    std::vector<std::string> found;
    for (const Command& verb : verbs) {
        found.push_back(verb.head);
    }
    return found;
}

// Help is named once for the whole program.
std::vector<std::string> ownOptions(const Command& verb) {
    std::vector<std::string> options = verb.options;
    options.erase(std::remove(options.begin(), options.end(), "-h, --help"), options.end());
    return options;
}

void expectVerbs(const std::vector<Entry>& entries, const Command& command) {
    EXPECT_THAT(heads(entries, false), UnorderedElementsAreArray(heads(command.verbs)))
        << "verbs of " << command.called() << ", on its page and in its help";
    for (const Command& verb : command.verbs) {
        for (const Entry& entry : entries) {
            if (entry.head == verb.head) {
                EXPECT_THAT(heads(entry.below, true), UnorderedElementsAreArray(ownOptions(verb)))
                    << "options of " << verb.called() << ", on the page and in its help";
                expectVerbs(entry.below, verb);
            }
        }
    }
}

class Page : public testing::TestWithParam<const char*> {
  protected:
    const ManPage page{std::string(GetParam()) + ".1"};
    const Command command = describedBy(GetParam());
};

INSTANTIATE_TEST_SUITE_P(Programs, Page, testing::ValuesIn(kPrograms));

TEST_P(Page, HasTheOptionsOfTheProgram) {
    EXPECT_THAT(heads(page.entries("OPTIONS"), true), UnorderedElementsAreArray(command.options));
}

TEST_P(Page, HasTheVerbsAndTheirOptions) {
    expectVerbs(page.entries("COMMANDS"), command);
}

TEST_P(Page, SpeaksOfNoOptionThatThereIsNot) {
    std::set<std::string> known;
    for (const Command& each : allCommands()) {
        for (const std::string& option : each.options) {
            const size_t begin = option.find("--");
            known.insert(option.substr(begin, option.find(' ', begin) - begin));
        }
    }
    EXPECT_THAT(page.longOptions(), Not(IsEmpty()));
    for (const std::string& option : page.longOptions()) {
        EXPECT_THAT(known, Contains(option));
    }
}

TEST(PageOfPallctl, ListsTheStatusesThatTheProgramEndsWith) {
    const std::string header = readFile("tools/client/exit_status.h");
    const std::regex value(R"(\bk[A-Z]\w* = (\d+),)");
    std::vector<std::string> statuses;
    const std::sregex_iterator matches(header.begin(), header.end(), value);
    std::transform(matches, std::sregex_iterator(), std::back_inserter(statuses),
                   [](const std::smatch& match) { return match.str(1); });
    EXPECT_THAT(statuses, Contains("6"));
    EXPECT_THAT(heads(ManPage("pallctl.1").entries("EXIT STATUS"), false),
                UnorderedElementsAreArray(statuses));
}

TEST(PageOfPallctl, HasExamplesThatWork) {
    const std::vector<std::string> examples = ManPage("pallctl.1").examples();
    EXPECT_GT(examples.size(), 2u);
    for (const std::string& example : examples) {
        const Result result = run(withDaemon({"sh", "-c", example}));
        EXPECT_EQ(result.status, 0) << example << "\n" << result.output << result.error;
        EXPECT_EQ(result.error, "") << example;
    }
}

// "-p --prefix <prefix_string>  text" becomes "-p, --prefix".
TEST(PageOfPallwatch, HasTheOptionsOfItsUsage) {
    const std::string usage = run({programDirectory() / "pallwatch", "--help"}).error;
    const std::regex row(R"(\n  (-\w) (--\w+))");
    std::vector<std::string> options;
    const std::sregex_iterator matches(usage.begin(), usage.end(), row);
    std::transform(matches, std::sregex_iterator(), std::back_inserter(options),
                   [](const std::smatch& match) { return match.str(1) + ", " + match.str(2); });
    std::vector<std::string> described;
    for (const std::string& head : heads(ManPage("pallwatch.8").entries("OPTIONS"), true)) {
        described.push_back(head.substr(0, head.find(' ', head.find("--"))));
    }
    EXPECT_THAT(options, Contains("-p, --prefix"));
    EXPECT_THAT(described, UnorderedElementsAreArray(options));
}

// What man(1) reads: built from the sources, with the version that the programs tell.
TEST(EveryPage, IsBuiltForManWithTheVersionOfThePrograms) {
    for (const char* page :
         {"man1/pallctl.1", "man1/pallbus.1", "man1/pallframe.1", "man8/pallwatch.8"}) {
        const std::string text = readFile(programDirectory() / "../man" / page);
        EXPECT_THAT(text, testing::HasSubstr("\"Pallwatch " PALLWATCH_VERSION "\"")) << page;
        EXPECT_THAT(text, testing::HasSubstr("\n.SH NAME\n")) << page;
    }
}

}  // namespace
