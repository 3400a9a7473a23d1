// Scenarios from outside: told, kept to their times, and checked before anything is done.

#include <signal.h>

#include "pallframe_process.h"

using namespace harness;
using namespace outside;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

// A frame in memory and a scenario.
class Play : public testing::Test {
  protected:
    Play() { frame.output().waitFor("ready"); }

    Words play(const std::string& text, const Words& options = {}) const {
        Words words = pallframeCommand({"play", directory.write("my.scenario", text)});
        words.insert(words.end(), options.begin(), options.end());
        return words;
    }

    static std::string status() { return run(pallframeCommand({"status"})).output; }

    const TemporaryDirectory directory;
    Process frame{pallframeCommand({"run", "--", "sh", "-c", "echo ready; exec sleep 1000"})};
};

TEST_F(Play, TellsEachChangeAndEnds) {
    const Result result = run(play("psu 1 11\nat 100ms cable eth0 down\n"));
    EXPECT_EQ(result.error, "");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, "    0.000 s  psu 1 11\n    0.100 s  cable eth0 down\n");
    EXPECT_THAT(status(), HasSubstr("11.00 V"));
}

TEST_F(Play, WaitsForTheTimeOfAChange) {
    Process player(play("psu 1 11\nafter 10m psu 1 10"));
    player.output().waitFor("psu 1 11\n");
    EXPECT_THROW(player.waitForEnd(Deadline(std::chrono::milliseconds(50))), TimedOut);
    EXPECT_THAT(status(), HasSubstr("11.00 V"));
}

TEST_F(Play, GoesOnWhenNobodyReadsOfIt) {
    const std::string file = directory.write("my.scenario", "psu 1 11\nafter 50ms psu 1 10\n");
    const std::string command = (programDirectory() / "pallframe").string() + " play " + file;
    const Result result = run({"bash", "-c", command + " | true; exit ${PIPESTATUS[0]}"});
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(status(), HasSubstr("10.00 V"));
}

TEST_F(Play, EndsWhereItsOutputCannotBeWritten) {
    const std::string file = directory.write("my.scenario", "psu 1 11\nafter 10m psu 1 10\n");
    const std::string command = (programDirectory() / "pallframe").string() + " play " + file;
    const Result result = run({"sh", "-c", command + " >/dev/full"});
    EXPECT_EQ(result.status, 125);
    EXPECT_EQ(result.error, "pallframe: standard output: No space left on device\n");
}

TEST_F(Play, GoesFasterWhenAsked) {
    EXPECT_EQ(run(play("after 2m psu 1 10", {"--speed", "1000"})).output,
              "  120.000 s  psu 1 10\n");
}

TEST_F(Play, TellsTimesAsTheyWereWritten) {
    EXPECT_EQ(run(play("at 2.25s psu 1 10\nafter 1ms psu 1 9", {"--speed", "1000"})).output,
              "    2.250 s  psu 1 10\n    2.251 s  psu 1 9\n");
}

TEST_F(Play, DoesNothingWhenALineIsWrong) {
    const Result result = run(play("psu 1 11\nat 1s psu 1 eleven"));
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.error, "pallframe: " + directory.path("my.scenario") +
                                ":2: VOLTS: 'eleven' is not a number from 0 to 29\n");
    EXPECT_THAT(status(), testing::Not(HasSubstr("11.00 V")));
}

TEST_F(Play, SaysAllThatIsWrongWithAFile) {
    const Result result = run(play("psu 1 eleven\npsu 1 11\nat soon psu 1 11\ncable\n"));
    const std::string start = "pallframe: " + directory.path("my.scenario");
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.error,
              start + ":1: VOLTS: 'eleven' is not a number from 0 to 29\n" + start +
                  ":3: invalid duration 'soon'; use 500ms, 2s, 3m or 1h, up to 24 hours\n" + start +
                  ":4: cable needs PORT and STATE\n");
    EXPECT_THAT(status(), testing::Not(HasSubstr("11.00 V")));
}

TEST_F(Play, DoesNothingWhenTheFrameHasNoSuchFile) {
    const Result result = run(play("psu 1 11\nafter 10m file /nosuch missing"));
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.error, "pallframe: " + directory.path("my.scenario") +
                                ":2: the frame has no file '/nosuch'\n");
    EXPECT_THAT(status(), testing::Not(HasSubstr("11.00 V")));
}

TEST_F(Play, EndsWithTheFrame) {
    Process player(play("psu 1 11\nrepeat 1000\nafter 100ms psu 1 10\nend"));
    player.output().waitFor("psu 1 11\n");
    frame.signal(SIGTERM);
    EXPECT_EQ(player.waitForEnd(), 2);
    EXPECT_THAT(player.error().waitForEnd(), StartsWith("pallframe: you have no running frame"));
}

class RunWithScenario : public testing::Test {
  protected:
    Words withScenario(const std::string& text, const std::string& script) const {
        return pallframeCommand(
            {"run", "--scenario", directory.write("my.scenario", text), "--", "sh", "-c", script});
    }

    const TemporaryDirectory directory;
};

TEST_F(RunWithScenario, StartsWithTheCommand) {
    const Result result = run(withScenario(
        "at 200ms cable eth0 down",
        "until grep -q 'Slave: eth1' /proc/net/bonding/bond0; do :; done; echo moved"));
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, "moved\n");
    EXPECT_EQ(result.error, "");
}

TEST_F(RunWithScenario, EndsWithTheCommand) {
    EXPECT_EQ(run(withScenario("at 10m psu 1 0", "exit 4")).status, 4);
}

TEST_F(RunWithScenario, RefusesAFileThatIsNone) {
    const Result result = run(pallframeCommand({"run", "--scenario", "/etc/passwd", "--", "true"}));
    EXPECT_EQ(result.status, 2);
    EXPECT_THAT(result.error, StartsWith("pallframe: /etc/passwd:1: "));
}

TEST_F(RunWithScenario, IsReadBeforeThereIsAFrame) {
    const Result result = run(withScenario("at 2s psu 1", "echo started"));
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.error,
              "pallframe: " + directory.path("my.scenario") + ":1: psu needs NUMBER and VOLTS\n");
}

TEST_F(RunWithScenario, IsHeldAgainstTheFrameBeforeTheCommand) {
    const Result result = run(
        withScenario("at 10m file /nosuch missing\nat 11m file /nosuch2 missing", "echo started"));
    const std::string start = "pallframe: " + directory.path("my.scenario");
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.error, start + ":1: the frame has no file '/nosuch'\n" + start +
                                ":2: the frame has no file '/nosuch2'\n");
}

}  // namespace
