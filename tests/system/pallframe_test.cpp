#include <signal.h>
#include <unistd.h>

#include <algorithm>

#include "pallframe_process.h"

using namespace harness;
using namespace outside;
using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;
using testing::ValuesIn;

namespace {

bool isOneLine(const std::string& text) {
    return std::count(text.begin(), text.end(), '\n') == 1 && text.back() == '\n';
}

TEST(Run, GivesTheCommandsStatus) {
    EXPECT_EQ(shellInFrame("exit 0").status, 0);
    EXPECT_EQ(shellInFrame("exit 7").status, 7);
    EXPECT_EQ(shellInFrame("kill -KILL $$").status, 128 + SIGKILL);
}

TEST(Run, PassesOutputsThrough) {
    const Result result = shellInFrame("echo out; echo error >&2");
    EXPECT_EQ(result.output, "out\n");
    EXPECT_EQ(result.error, "error\n");
}

TEST(Run, NothingElseThatWasOpenIsHandedOn) {
    const Result result =
        run({"sh", "-c",
             "exec 7</etc/passwd; exec " + (programDirectory() / "pallframe").string() +
                 " run -- sh -c 'test -e /proc/self/fd/7'"});
    EXPECT_EQ(result.status, 1);
}

TEST(Run, ACommandThatCannotBeRunIsToldInOneLine) {
    const Result missing = run(inFrame({"/no/such/command"}));
    EXPECT_EQ(missing.status, 127);
    EXPECT_EQ(missing.error, "pallframe: cannot run /no/such/command: No such file or directory\n");
    EXPECT_EQ(run(inFrame({"/etc/passwd"})).status, 126);
}

TEST(Run, LooksLikeTheProductAskedFor) {
    for (const char* product : {"Quorane", "Tessara", "Tessara-5ru", "QuoraneBrio", "KELI"}) {
        const Result result = run(pallframeCommand(
            {"run", "--product", product, "--", "sh", "-c", ". /tmp/eeprom && echo $PRODUCT"}));
        EXPECT_EQ(result.output, product + std::string("\n"));
    }
    EXPECT_THAT(
        run(pallframeCommand({"run", "--product", "tessara-5RU", "--", "cat", "/tmp/eeprom"}))
            .output,
        StartsWith("PRODUCT=Tessara-5ru\n"));
}

TEST(Run, CollectsTheSystemLog) {
    const Result result = shellInFrame(
        "logger -p local2.info -t prog one; logger -p user.crit -t prog two; "
        "until grep -q two /var/log/messages; do :; done; cat /var/log/messages");
    EXPECT_THAT(result.output, AllOf(StartsWith("<150>"), HasSubstr(" prog: one\n<10>"),
                                     EndsWith(" prog: two\n")));
}

TEST(Run, LeavesTheSystemLogToTheCommandWhenAsked) {
    EXPECT_EQ(run(pallframeCommand({"run", "--no-syslog", "--", "test", "-e", "/dev/log"})).status,
              1);
}

TEST(Run, TheCurrentDirectoryStaysWhereItIs) {
    const Result result = shellInFrame("pwd");
    EXPECT_EQ(result.output, fs::current_path().string() + "\n");
}

TEST(Run, ADirectoryThatTheFrameHasIsTheFrames) {
    const Result result = run({"sh", "-c",
                               "cd /etc && " + (programDirectory() / "pallframe").string() +
                                   " run -- sh -c 'pwd; cat hosts'"});
    EXPECT_EQ(result.output, "/etc\n127.0.0.1 localhost\n");
}

TEST(Run, ProgramsOfTheHostAreOutOfReach) {
    Process bystander({"sleep", "1000"});
    const std::string pid = std::to_string(bystander.pid());
    const Result result = shellInFrame("kill -KILL " + pid + " 2>&1; pkill sleep; echo done");
    EXPECT_THAT(result.output, EndsWith("done\n"));
    EXPECT_THROW(bystander.waitForEnd(Deadline(std::chrono::milliseconds(50))), TimedOut);
}

TEST(Run, WhatRunsOnInTheBackgroundGoesWithTheCommand) {
    const std::string mark = uniqueWord();
    const Result result = shellInFrame(
        "setsid sh -c 'trap \"\" TERM HUP; echo started; "
        "while :; do sleep 100; done' " +
        mark +
        " >/tmp/out & "
        "until grep -q started /tmp/out; do :; done");
    EXPECT_EQ(result.status, 0);
    EXPECT_TRUE(processesWith(mark).empty());
}

class Usage : public testing::TestWithParam<Words> {};

INSTANTIATE_TEST_SUITE_P(Bad, Usage,
                         ValuesIn(std::vector<Words>{
                             {},
                             {"walk"},
                             {"run"},
                             {"run", "--product", "Quasar", "--", "true"},
                             {"run", "--keep", "--", "true"},
                             {"status"},
                             {"status", "--frame-dir", "/etc"},
                             {"set"},
                             {"status", "--frame-dir", "/", "--frame", "1"},
                             {"status", "--frame", "1"},
                             {"doctor", "--frame", "1"},
                             {"doctor", "--frame", "1", "--root", "/"},
                             {"enter"},
                             {"enter", "1", "--", "true"},
                             {"enter", "--frame-dir", "/etc", "--", "true"},
                             {"enter", "1", "--frame-dir", "/etc", "--", "true"},
                             {"enter", "1", "true", "--", "true"},
                             {"list", "1"},
                             {"set", "cable", "eth0", "down"},
                             {"play"},
                             {"play", "/no/such/file"},
                             {"play", "--speed", "0", "tools/scenarios/link_flap.scenario"},
                             {"run", "--scenario", "/no/such/file", "--", "true"},
                             {"run", "--scenario", "/etc", "--", "true"},
                             {"set", "cable", "eth0", "sideways"},
                             {"set", "psu", "3", "12"},
                             {"set", "psu", "1", "much"},
                             {"set", "battery", "-1"},
                             {"set", "file", "/tmp/eeprom", "gone"},
                             {"set", "--frame-dir", "/etc", "delay", "S40network", "1"},
                         }));

TEST_P(Usage, IsAnsweredWithOneLineAndStatus2) {
    const Result result = run(pallframeCommand(GetParam()));
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.output, "");
    EXPECT_THAT(result.error, StartsWith("pallframe: "));
    EXPECT_TRUE(isOneLine(result.error)) << result.error;
}

TEST(Help, FitsAScreen) {
    for (const char* verb : {"", "run", "enter", "list", "set", "play", "status", "doctor"}) {
        const Words words = *verb == 0 ? Words{"--help"} : Words{verb, "--help"};
        const Result result = run(pallframeCommand(words));
        EXPECT_EQ(result.status, 0);
        EXPECT_LE(std::count(result.output.begin(), result.output.end(), '\n'), 24);
    }
    EXPECT_THAT(run(pallframeCommand({"--version"})).output, StartsWith("pallframe "));
}

TEST_F(Tree, IsSeenAndChangedFromOutside) {
    Process frame(words({"--product", "Tessara"}));
    frame.output().waitFor("ready");
    EXPECT_EQ(tell({"set", "cable", "eth0", "down"}).status, 0);
    EXPECT_EQ(tell({"set", "psu", "2", "11.9"}).status, 0);
    EXPECT_EQ(tell({"set", "battery", "0"}).status, 0);
    EXPECT_EQ(tell({"set", "file", "/vantor/etc/network.conf", "missing"}).status, 0);
    EXPECT_EQ(tell({"status"}).output,
              "WHAT     NAME                      STATE\n"
              "product                            Tessara\n"
              "port     eth0                      down, failures: 1\n"
              "port     eth1                      up, active\n"
              "supply   1                         12.00 V\n"
              "supply   2                         11.90 V\n"
              "battery                            0.00 V\n"
              "program  S40network                takes 0.5 s\n"
              "file     /vantor/etc/network.conf  missing\n");
    EXPECT_THAT(readFile(tree + "/tmp/bond0"), HasSubstr("Currently Active Slave: eth1\n"));
}

// The numbers of the calls in a table of pallframe status.
std::vector<std::string> readCallNumbers(const std::string& table) {
    std::istringstream lines(table);
    std::vector<std::string> numbers;
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line);
        std::string what;
        std::string number;
        if (words >> what >> number && what == "call") {
            numbers.push_back(number);
        }
    }
    return numbers;
}

TEST_F(Tree, StatusHasTheLastFiveCallsOrAsManyAsAsked) {
    Process frame(words({},
                        "for i in 1 2 3 4 5 6 7; do /etc/init.d/S50dropbear restart; done; "
                        "echo called; exec sleep 1000"));
    frame.output().waitFor("called");
    EXPECT_THAT(readCallNumbers(tell({"status"}).output), ElementsAre("3", "4", "5", "6", "7"));
    EXPECT_THAT(readCallNumbers(tell({"status", "--calls", "2"}).output), ElementsAre("6", "7"));
    EXPECT_THAT(readCallNumbers(tell({"status", "--calls", "0"}).output), IsEmpty());
    EXPECT_THAT(readCallNumbers(tell({"status", "--calls", "99"}).output), SizeIs(7));
    EXPECT_THAT(tell({"status", "--calls", "1", "--json"}).output,
                HasSubstr("\"calls\":[\"/etc/init.d/S50dropbear restart\"]"));
}

TEST(Run, AScenarioForAnotherProductNamesTheProduct) {
    const TemporaryDirectory directory;
    const std::string path = directory.write("s.scenario", "file /tmp/tessaradetect.txt missing\n");
    const Result result =
        run(pallframeCommand({"run", "--product", "KELI", "--scenario", path, "--", "true"}));
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.error, "pallframe: " + path +
                                ":1: the frame has no file '/tmp/tessaradetect.txt'; it needs "
                                "--product Tessara or Tessara-5ru\n");
    EXPECT_EQ(
        run(pallframeCommand({"run", "--product", "Tessara", "--scenario", path, "--", "true"}))
            .status,
        0);
}

TEST_F(Tree, AFailingRequestIsToldInOneLine) {
    Process frame(words());
    frame.output().waitFor("ready");
    EXPECT_EQ(tell({"set", "cable", "eth0", "sideways"}).error,
              "pallframe: set cable: STATE: 'sideways' is not up or down (--help tells more)\n");
    const Result result = tell({"set", "cable", "eth5", "down"});
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(
        result.error,
        "pallframe: set cable: PORT: the frame has no interface 'eth5' (--help tells more)\n");
    EXPECT_EQ(tell({"set", "delay", "S99nothing", "1"}).error,
              "pallframe: set delay: PROGRAM: the frame has no program 'S99nothing' (--help tells "
              "more)\n");
}

TEST_F(Tree, AChangeFromOutsideIsSeenInside) {
    Process frame(words({},
                        "until grep -q 'Slave: eth1' /proc/net/bonding/bond0; do :; done; "
                        "echo moved"));
    frame.output().waitFor("ready");
    tell({"set", "cable", "eth0", "down"});
    EXPECT_EQ(frame.waitForEnd(), 0);
    EXPECT_EQ(frame.output().waitForEnd(), "ready\nmoved\n");
}

TEST_F(Tree, GoesWithTheCommand) {
    EXPECT_EQ(run(words({}, "exit 3")).status, 3);
    expectNoTrace();
}

TEST_F(Tree, StaysWhenAsked) {
    EXPECT_EQ(run(words({"--keep"}, "touch /vantor/etc/made")).status, 0);
    EXPECT_TRUE(fs::exists(tree + "/vantor/etc/made"));
    EXPECT_EQ(readFile("/proc/self/mounts"), mountsBefore);
}

TEST_F(Tree, TheLastWordsReachTheSystemLog) {
    run(words({"--keep"}, "for i in 1 2 3 4 5; do logger word $i; done"));
    const std::string log = readFile(tree + "/var/log/messages");
    EXPECT_EQ(std::count(log.begin(), log.end(), '\n'), 5);
    EXPECT_THAT(log, EndsWith(": word 5\n"));
}

TEST_F(Tree, AnExistingDirectoryIsLeftAlone) {
    fs::create_directory(tree);
    std::ofstream(tree + "/mine") << "x";
    const Result result = run(words());
    EXPECT_EQ(result.status, 125);
    EXPECT_EQ(result.error, "pallframe: cannot make a frame in " + tree + ": File exists\n");
    EXPECT_TRUE(fs::exists(tree + "/mine"));
}

}  // namespace
