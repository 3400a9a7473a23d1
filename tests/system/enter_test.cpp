// From outside into a frame that runs, in memory as most do: by its number or because it is the
// only one.

#include <signal.h>

#include <algorithm>
#include <sstream>

#include "harness/terminal.h"
#include "pallframe_process.h"
#include "text_parts.h"

using namespace harness;
using namespace outside;
using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;

namespace {

constexpr const char* kNoFrame = "FRAME  PRODUCT  STARTED  FILES  COMMAND\n";

// A frame with a command that runs until it is ended.
class Running : public Process {
  public:
    explicit Running(const char* product = "Quorane", const std::string& first = "true")
        : Process(pallframeCommand({"run", "--product", product, "--", "sh", "-c",
                                    first + "; echo ready; exec sleep 1000"})) {
        output().waitFor("ready\n");
    }
};

Result enter(const Words& words) {
    Words all = pallframeCommand({"enter"});
    all.insert(all.end(), words.begin(), words.end());
    return run(all);
}

Result shell(const std::string& script) {
    return enter({"--", "sh", "-c", script});
}

std::string list() {
    return run(pallframeCommand({"list"})).output;
}

// The numbers of the frames that are listed.
Words numbers() {
    std::istringstream lines(list());
    Words all;
    std::string line;
    for (std::getline(lines, line); std::getline(lines, line);) {
        all.push_back(line.substr(0, line.find(' ')));
    }
    return all;
}

TEST(Enter, JoinsFilesNetworkAndProcesses) {
    const std::string namespaces =
        "for one in mnt net pid user; do readlink /proc/self/ns/$one; done";
    Running frame("KELI", "echo mine >/tmp/made; " + namespaces);
    const std::string itsOwn = frame.output().text();
    const Result result = shell(namespaces + "; echo ready");
    EXPECT_EQ(result.error, "");
    EXPECT_EQ(result.output, itsOwn);
    EXPECT_EQ(shell("cat /tmp/made; . /tmp/eeprom; echo $PRODUCT").output, "mine\nKELI\n");
    EXPECT_EQ(shell("kill -KILL $(pgrep -o sleep)").status, 0);
    EXPECT_EQ(frame.waitForEnd(), 128 + SIGKILL);
}

TEST(Enter, ProcessesAreSeenAlsoWhenManyWereBeforeThem) {
    const Running frame;
    const std::string many = "for each in $(seq 400); do /bin/true; done; ";
    const std::string itself = "[ $$ -gt 400 ] && readlink /proc/$$/exe && pgrep -o sleep";
    EXPECT_THAT(shell(many + "sh -c '" + itself + "'").status, 0);
}

TEST(Enter, NeedsNoDirectoryOfTheHost) {
    const Running frame;
    EXPECT_EQ(shell("echo ${XDG_RUNTIME_DIR-none} ${TMPDIR-none}").output, "none none\n");
}

TEST(Enter, GivesTheCommandsStatus) {
    const Running frame;
    EXPECT_EQ(shell("exit 0").status, 0);
    EXPECT_EQ(shell("exit 7").status, 7);
    EXPECT_EQ(shell("kill -KILL $$").status, 128 + SIGKILL);
    const Result missing = enter({"--", "/no/such/command"});
    EXPECT_EQ(missing.status, 127);
    EXPECT_EQ(missing.error, "pallframe: cannot run /no/such/command: No such file or directory\n");
}

TEST(Enter, FindsTheProgramsOfTheFrame) {
    const Running frame;
    EXPECT_EQ(shell("sudo systemctl start ssh; tail -1 /var/log/frame-commands").output,
              "systemctl start ssh\n");
    EXPECT_EQ(shell("pwd").output, fs::current_path().string() + "\n");
}

TEST(Enter, WithoutACommandItIsAShellThatSaysWhereItIs) {
    const Running frame("Tessara");
    Terminal terminal(pallframeCommand({"enter"}));
    terminal.screen().waitFor("[Tessara frame " + numbers().at(0) + "] " +
                              fs::current_path().string() + "# ");
    terminal.type("cd /vantor\n");
    terminal.screen().waitFor("] /vantor# ");
    terminal.type("exit 5\n");
    EXPECT_EQ(terminal.waitForEnd(), 5);
}

TEST(Enter, OneOfSeveralHasToBeNamed) {
    const Running one("KELI");
    const Running other("Tessara");
    const Words both = numbers();
    ASSERT_EQ(both.size(), 2U);
    const Result result = shell("true");
    EXPECT_EQ(result.status, 2);
    EXPECT_THAT(result.error, AllOf(HasSubstr(both[0] + " ("), HasSubstr(both[1] + " (")));
    const auto productOf = [](const std::string& number) {
        return enter({number, "--", "sh", "-c", ". /tmp/eeprom; echo $PRODUCT"}).output;
    };
    EXPECT_THAT((Words{productOf(both[0]), productOf(both[1])}),
                testing::UnorderedElementsAre("KELI\n", "Tessara\n"));
    EXPECT_EQ(run(pallframeCommand({"status", "--frame", both[1]})).status, 0);
    EXPECT_EQ(run(pallframeCommand({"status"})).status, 2);
}

TEST_F(Tree, IsEnteredByItsDirectory) {
    Process frame(words());
    frame.output().waitFor("ready");
    const Running other;
    const Result result =
        run(pallframeCommand({"enter", "--frame-dir", tree, "--", "sh", "-c",
                              "grep -c . /proc/net/bonding/bond0 >/tmp/entered"}));
    EXPECT_EQ(result.error, "");
    EXPECT_TRUE(fs::exists(tree + "/tmp/entered"));
    EXPECT_EQ(run(pallframeCommand({"enter", "--frame-dir", tree + "x", "--", "true"})).error,
              "pallframe: no frame is running in " + tree + "x\n");
}

TEST(Enter, WithoutAFrameItSaysHowToStartOne) {
    const Result result = shell("true");
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.error,
              "pallframe: you have no running frame; start one with pallframe run, or ./dev run\n");
}

TEST(Enter, TheCommandGoesWithIt) {
    const Running frame;
    const std::string mark = uniqueWord();
    Process entered(
        pallframeCommand({"enter", "--", "sh", "-c", "echo in; exec sleep 1000", mark}));
    entered.output().waitFor("in\n");
    entered.signal(SIGKILL);
    EXPECT_EQ(entered.output().waitForEnd(), "in\n") << "closed, so nobody holds it";
}

TEST(Enter, TheEndOfTheFrameIsTheEndOfTheCommand) {
    Running frame;
    Process entered(pallframeCommand({"enter", "--", "sh", "-c", "echo in; exec sleep 1000"}));
    entered.output().waitFor("in\n");
    const std::string number = numbers().at(0);
    frame.signal(SIGTERM);
    EXPECT_EQ(entered.waitForEnd(), 128 + SIGKILL);
    EXPECT_EQ(entered.error().waitForEnd(), "pallframe: frame " + number + " has ended\n");
}

// As a person has it: a shell inside that took the foreground, and a program that it became.
TEST(Enter, TheEndOfTheFrameLeavesTheTerminalAsItWas) {
    Running frame;
    const TemporaryDirectory directory;
    const std::string before = directory.path("before");
    const std::string after = directory.path("after");
    const std::string number = numbers().at(0);
    Terminal terminal({"sh", "-c", "stty -g >" + before + "; \"$@\"; stty -g >" + after, "sh",
                       programDirectory() / "pallframe", "enter"});
    terminal.screen().waitFor("# ");
    terminal.type("stty raw -echo; printf '\\033[?1049h'; echo un''touched; exec sleep 1000\n");
    terminal.screen().waitFor("untouched");
    frame.signal(SIGTERM);
    terminal.screen().waitFor("has ended\r\n");
    terminal.waitForEnd();
    EXPECT_NE(readFile(before), "");
    EXPECT_EQ(readFile(after), readFile(before));
    EXPECT_THAT(terminal.screen().text(),
                AllOf(HasSubstr("\x1b[?1047l"), HasSubstr("\x1b[?25h"),
                      EndsWith("\r\npallframe: frame " + number + " has ended\r\n")));
}

TEST(List, ShowsWhatRuns) {
    EXPECT_EQ(list(), kNoFrame);
    Running frame("Tessara");
    EXPECT_THAT(list(),
                testing::MatchesRegex("FRAME .*\n[0-9]+ +Tessara  [0-9-]+ [0-9:]+  in memory  "
                                      "sh -c 'true; echo ready; exec sleep 1000'\n"));
    frame.signal(SIGTERM);
    frame.waitForEnd();
    EXPECT_EQ(list(), kNoFrame);
}

TEST(List, ShowsInsideAFrameThatFrame) {
    const std::string pallframe = pallframeCommand({}).front();
    const Result result = run(pallframeCommand(
        {"run", "--product", "Tessara", "--", "sh", "-c",
         "echo $PALLFRAME; " + pallframe + " list; " + pallframe + " list --json", "x y"}));
    EXPECT_EQ(result.status, 0) << result.error;
    const auto lines = outside::linesOf(result.output);
    ASSERT_EQ(lines.size(), 4u) << result.output;
    EXPECT_THAT(lines[2], testing::MatchesRegex(lines[0] + " +Tessara  [0-9-]+ [0-9:]+  /  +sh -c "
                                                           "'echo [^']*' 'x y'"));
    EXPECT_THAT(lines[3], testing::StartsWith("{\"frame\":" + lines[0] +
                                              ",\"product\":\"Tessara\",\"started\":\""));
}

TEST(List, TellsProgramsTheSame) {
    EXPECT_EQ(run(pallframeCommand({"list", "--json"})).output, "");
    const Running one("Tessara");
    const Running other("KELI", "echo \"$PALLFRAME\"");
    EXPECT_THAT(run(pallframeCommand({"list", "--json"})).output,
                AllOf(testing::StartsWith("{\"frame\":" + numbers().at(0) + ",\"product\":\"Tes"),
                      HasSubstr("\"}\n{\"frame\":" + numbers().at(1) + ",\"product\":\"KELI\",")));
}

TEST(Frame, KnowsItsNumber) {
    Running frame("Quorane", "echo number $PALLFRAME");
    EXPECT_EQ(frame.output().text(), "number " + numbers().at(0) + "\nready\n");
    EXPECT_EQ(shell("echo $PALLFRAME").output, numbers().at(0) + "\n");
}

TEST(Frame, IsMeantInsideByItsNumberToo) {
    const Running frame;
    const std::string number = numbers().at(0);
    const std::string program = programDirectory() / "pallframe";
    const std::string own = " --frame " + number;
    const Result result = shell(program + " set" + own + " psu 1 11 && " + program + " status" +
                                own + " && " + program + " doctor" + own + " | head -1");
    EXPECT_EQ(result.error, "");
    EXPECT_THAT(result.output, AllOf(HasSubstr("11.00 V"), EndsWith(" " + number + "\n")));
    const Result other = shell(program + " status --frame 1");
    EXPECT_EQ(other.status, 2);
    EXPECT_EQ(other.error, "pallframe: inside a frame, omit --frame\n");
}

TEST(Frame, ItsFilesAreOfferedAlsoThoseThatWereTakenAway) {
    const Running one("KELI");
    const Running other("Tessara");
    const std::string tessara = numbers().at(1);
    Words begun = pallframeCommand({"complete", "set", "--frame", tessara, "file", "/"});
    EXPECT_THAT(run(begun).output,
                AllOf(HasSubstr("\n/tmp/tessaradetect.txt\n"), HasSubstr("\n/etc/build.prop\n")));
    EXPECT_EQ(
        run(pallframeCommand({"set", "--frame", tessara, "file", "/etc/build.prop", "missing"}))
            .status,
        0);
    EXPECT_THAT(run(begun).output, HasSubstr("\n/etc/build.prop\tmissing\n"));
    begun[4] = numbers().at(0);
    EXPECT_THAT(run(begun).output,
                AllOf(HasSubstr("\n/etc/build.prop\n"), testing::Not(HasSubstr("tessaradetect"))));
    EXPECT_EQ(run(pallframeCommand({"complete", "set", "file", "/"})).error, "")
        << "of which of the two?";
}

TEST(Frame, IsOfferedToWhoeverNamesOne) {
    const Running one("Tessara");
    const Running other("KELI");
    for (const Words& begun : {Words{"enter", ""}, Words{"set", "--frame", ""}}) {
        Words words = pallframeCommand({"complete"});
        words.insert(words.end(), begun.begin(), begun.end());
        EXPECT_THAT(run(words).output,
                    AllOf(HasSubstr("\n" + numbers().at(0) + "\tTessara, since "),
                          HasSubstr("\n" + numbers().at(1) + "\tKELI, since ")));
    }
}

TEST_F(Tree, IsListedWithItsDirectory) {
    Process frame(words());
    frame.output().waitFor("ready");
    EXPECT_THAT(list(), HasSubstr("  " + tree + "  sh -c 'echo ready; exec sleep 1000' " + mark));
}

TEST(List, ForgetsAFrameThatWasKilled) {
    Running frame;
    const std::string keeper =
        readFile(frame.proc() / "task" / std::to_string(frame.pid()) / "children");
    ASSERT_EQ(::kill(std::stoi(keeper), SIGKILL), 0);
    frame.waitForEnd();
    const fs::path entries = fs::path(std::getenv("XDG_RUNTIME_DIR")) / "pallframe";
    EXPECT_FALSE(fs::is_empty(entries));
    waitUntil([&] { return numbers().empty() && fs::is_empty(entries); }, "the entry to go");
}

TEST(List, AFrameThatCannotBeListedRunsAllTheSame) {
    const TemporaryDirectory directory;
    directory.write("pallframe", "a file where a directory should be");
    Words words = inFrame({"sh", "-c", "exit 7"});
    words.insert(words.begin(), {"env", "XDG_RUNTIME_DIR=" + directory.path()});
    const Result result = run(words);
    EXPECT_EQ(result.status, 7);
    EXPECT_THAT(result.error, testing::StartsWith("pallframe: this frame will not be listed: "));
}

TEST(FrameInMemory, IsSeenAndChangedFromOutside) {
    const Running frame("Tessara");
    EXPECT_EQ(run(pallframeCommand({"set", "cable", "eth0", "down"})).status, 0);
    EXPECT_THAT(shell("cat /tmp/bond0").output, HasSubstr("Currently Active Slave: eth1\n"));
    EXPECT_THAT(run(pallframeCommand({"status"})).output, HasSubstr("port     eth0        down, "));
}

}  // namespace
