// What the README shows, done again.

#include <regex>

#include "pallframe_process.h"
#include "text_parts.h"

using namespace outside;

namespace {

struct Shown {
    std::string command;
    std::vector<std::string> lines;  // "..." stands for any number of them
};

// The commands, behind "$ ", and what they print, of every block that is marked as a console's.
std::vector<Shown> shownIn(const std::string& page) {
    std::vector<Shown> session;
    bool inside = false;
    for (const std::string& line : linesOf(page)) {
        if (line.compare(0, 3, "```") == 0) {
            inside = line == "```console";
        } else if (inside && line.compare(0, 2, "$ ") == 0) {
            session.push_back({line.substr(2), {}});
        } else if (inside && !session.empty()) {
            session.back().lines.push_back(line);
        }
    }
    return session;
}

constexpr char kEndOfCommand = '\x1e';

// All of them in one shell, so that "$?" is what the one before ended with.
std::string scriptOf(const std::vector<Shown>& session) {
    std::string script;
    for (const Shown& shown : session) {
        script += "{ " + shown.command + "\n} 2>&1 </dev/null; status=$?; printf '\\036'; " +
                  "(exit $status)\n";
    }
    return script;
}

// Times of day differ.
std::string comparable(const std::string& line) {
    static const std::regex kTime(R"(\d\d:\d\d:\d\d\.\d{3})");
    return std::regex_replace(line, kTime, "TIME");
}

bool matches(const std::vector<std::string>& shown, const std::vector<std::string>& printed) {
    size_t at = 0;
    bool anyNumber = false;
    for (const std::string& line : shown) {
        if (line == "...") {
            anyNumber = true;
            continue;
        }
        while (anyNumber && at < printed.size() && comparable(printed[at]) != comparable(line)) {
            ++at;
        }
        if (at == printed.size() || comparable(printed[at]) != comparable(line)) {
            return false;
        }
        ++at;
        anyNumber = false;
    }
    return anyNumber || at == printed.size();
}

// Does what the page shows, in one shell inside a frame, and compares the output.
void expectShown(const std::string& page, size_t atLeast) {
    const std::vector<Shown> session = shownIn(readFile(page));
    ASSERT_GE(session.size(), atLeast);
    const Result result = run(withDaemon({"bash", "-c", scriptOf(session)}));
    const std::vector<std::string> printed = partsOf(result.output, kEndOfCommand);
    ASSERT_EQ(printed.size(), session.size()) << result.output << result.error;
    for (size_t i = 0; i < session.size(); ++i) {
        EXPECT_TRUE(matches(session[i].lines, linesOf(printed[i])))
            << "$ " << session[i].command << "\nprints\n"
            << printed[i];
    }
}

TEST(Readme, ShowsWhatIsSeen) {
    expectShown("README.md", 6);
}

TEST(PageOnReports, ShowsWhatIsSeen) {
    expectShown("doc/reporting-bugs.md", 5);
}

// The text of all blocks of the page that begin with this fence.
std::string joinBlocks(const std::string& page, const std::string& fence) {
    std::string text;
    bool inside = false;
    for (const std::string& line : linesOf(page)) {
        if (line.compare(0, 3, "```") == 0) {
            inside = line == fence;
        } else if (inside) {
            text += line + "\n";
        }
    }
    return text;
}

TEST(PageOnClients, TheClientWorksAsItStands) {
    const std::string page = readFile("doc/clients.md");
    const std::string program = joinBlocks(page, "```python");
    const Result result = run(withDaemon({"python3", "-c", program}));
    EXPECT_EQ(result.error, "");
    EXPECT_NE(result.output, "");
    EXPECT_EQ(result.output, joinBlocks(page, "```text"));
}

TEST(Readme, IsComparedLineByLine) {
    EXPECT_TRUE(matches({"a", "b"}, {"a", "b"}));
    EXPECT_FALSE(matches({"a"}, {"a", "b"}));
    EXPECT_FALSE(matches({"a", "b"}, {"a"}));
    EXPECT_FALSE(matches({"a", "x"}, {"a", "b"}));
    EXPECT_TRUE(matches({"...", "b", "..."}, {"a", "b", "c"}));
    EXPECT_FALSE(matches({"...", "x", "..."}, {"a", "b", "c"}));
    EXPECT_TRUE(matches({"12:34:56.789  a"}, {"01:02:03.004  a"}));
}

// A page that is linked to has to be there.
TEST(Readme, LinksToPagesThatThereAre) {
    const std::string page = readFile("README.md");
    const std::regex link(R"(\]\(([^)#]+)\)|`((?:doc|src|tools|tests)/[^` ]+)`)");
    size_t links = 0;
    for (std::sregex_iterator match(page.begin(), page.end(), link), end; match != end; ++match) {
        const std::string path = (*match)[1].matched ? (*match)[1].str() : (*match)[2].str();
        EXPECT_TRUE(path.find("://") != std::string::npos || fs::exists(path)) << path;
        ++links;
    }
    EXPECT_GT(links, 5u);
}

std::vector<fs::path> pages() {
    std::vector<fs::path> found{"CONTRIBUTING.md", "README.md"};
    for (const auto& entry : fs::directory_iterator("doc")) {
        if (entry.path().extension() == ".md") {
            found.push_back(entry.path());
        }
    }
    return found;
}

// The index has a link to every page, and each of its links leads to one.
TEST(Pages, AreAllInTheIndex) {
    const std::string index = readFile("doc/README.md");
    for (const fs::path& file : pages()) {
        const std::string name = file.filename();
        const bool isListed = index.find("](" + name + ")") != std::string::npos;
        EXPECT_EQ(isListed, file.parent_path() == "doc" && name != "README.md") << file;
    }
    const std::regex link(R"(\]\(([^)#]+)\))");
    for (std::sregex_iterator match(index.begin(), index.end(), link), end; match != end; ++match) {
        EXPECT_TRUE(fs::exists(fs::path("doc") / (*match)[1].str())) << (*match)[1];
    }
}

// What a page calls by its place is there.
TEST(Pages, NamePlacesThatThereAre) {
    const std::regex place("`((?:cmake|doc|src|tests|tools)/[^` ]*)`");
    size_t places = 0;
    for (const fs::path& file : pages()) {
        const std::string page = readFile(file);
        for (std::sregex_iterator match(page.begin(), page.end(), place), end; match != end;
             ++match) {
            EXPECT_TRUE(fs::exists((*match)[1].str())) << file << ": " << (*match)[1];
            ++places;
        }
    }
    EXPECT_GT(places, 20u);
}

}  // namespace
