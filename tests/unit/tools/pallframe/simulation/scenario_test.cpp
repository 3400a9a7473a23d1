#include "pallframe/simulation/scenario.h"

#include <fstream>

#include <gmock/gmock.h>

#include "pallframe/simulation/devices.h"
#include "temporary_frame.h"

using namespace pallframe::simulation;
using namespace std::chrono_literals;
using testing::ElementsAre;

namespace {

// What happens when, in words.
std::vector<std::string> parseSteps(const std::string& text) {
    std::vector<std::string> course;
    for (const ScenarioStep& step : readScenario(text, "x")) {
        course.push_back(std::to_string(step.at.count()) + " " + step.text);
    }
    return course;
}

std::string findProblem(const std::string& text) {
    try {
        readScenario(text, "x.scenario");
    } catch (const cli::script::Error& error) {
        return error.what();
    }
    return "none";
}

class ScenarioTest : public TemporaryFrame {};

TEST_F(ScenarioTest, AStepDoesWhatItsWordsSay) {
    populateAs("KELI");
    const auto steps = readScenario("at 2s cable eth0 down\nafter 1s file '/etc/a b' present", "x");
    ASSERT_EQ(steps.size(), 2U);
    EXPECT_EQ(steps[0].at, 2s);
    EXPECT_EQ(steps[1].at, 3s);
    EXPECT_EQ(steps[1].text, "file '/etc/a b' present");
    EXPECT_EQ(steps[1].line, 2);
    for (const ScenarioStep& step : steps) {
        step.change(tree);
    }
    EXPECT_FALSE(readBond(tree).slaves.at(0).up);
    EXPECT_TRUE(tree.exists("/etc/a b"));
}

TEST_F(ScenarioTest, ARampGoesFromItsFirstValueToItsLast) {
    EXPECT_THAT(parseSteps("at 1s ramp battery 3 to 2 over 1s"),
                ElementsAre("1000 battery 3.000", "1250 battery 2.750", "1500 battery 2.500",
                            "1750 battery 2.250", "2000 battery 2.000"));
    EXPECT_THAT(parseSteps("ramp psu 2 10 to 11 over 0s"),
                ElementsAre("0 psu 2 10.000", "0 psu 2 11.000"));
}

TEST_F(ScenarioTest, ARampGoesOnWhileTheLinesBehindItAreDone) {
    EXPECT_THAT(parseSteps("ramp battery 3 to 2 over 500ms\nafter 300ms cable eth0 down"),
                ElementsAre("0 battery 3.000", "250 battery 2.500", "300 cable eth0 down",
                            "500 battery 2.000"));
}

TEST_F(ScenarioTest, ALongRampHasABoundedNumberOfSteps) {
    const auto steps = readScenario("ramp psu 1 12 to 0 over 600m", "x");
    EXPECT_EQ(steps.size(), 1001U);
    EXPECT_EQ(steps.back().at, 600min);
    EXPECT_EQ(steps.back().text, "psu 1 0.000");
}

TEST_F(ScenarioTest, ProblemsHaveTheirLine) {
    EXPECT_EQ(findProblem("\nat 2s cable eth5 down"),
              "x.scenario:2: PORT: the frame has no interface 'eth5'");
    EXPECT_EQ(findProblem("at 2x cable eth0 down"),
              "x.scenario:1: invalid duration '2x'; use 500ms, 2s, 3m or 1h, up to 24 hours");
    EXPECT_EQ(findProblem("ramp battery 3 to 2 over 5d"),
              "x.scenario:1: invalid duration '5d'; use 500ms, 2s, 3m or 1h, up to 24 hours");
    EXPECT_EQ(findProblem("foo 1"),
              "x.scenario:1: 'foo' is not a change; choose from cable, psu, "
              "battery, file, edit, delay, exit-status, ramp, repeat, end");
    EXPECT_EQ(findProblem("ramp foo 1 to 2 over 5s"),
              "x.scenario:1: 'foo' is not a change; choose from cable, psu, battery, file, edit, "
              "delay, exit-status");
    EXPECT_EQ(findProblem("Cable eth0 down"),
              "x.scenario:1: 'Cable' is not a change; choose from cable, psu, battery, file, edit, "
              "delay, exit-status, ramp, repeat, end; did you mean 'cable'?");
    EXPECT_EQ(findProblem("rmap battery 3 to 2 over 5s"),
              "x.scenario:1: 'rmap' is not a change; choose from cable, psu, battery, file, edit, "
              "delay, exit-status, ramp, repeat, end; did you mean 'ramp'?");
    EXPECT_EQ(findProblem("ramp batery 3 to 2 over 5s"),
              "x.scenario:1: 'batery' is not a change; choose from cable, psu, battery, file, "
              "edit, delay, exit-status; did you mean 'battery'?");
    EXPECT_EQ(findProblem("ramp battery x to 2 over 5s"), "x.scenario:1: 'x' is not a number");
    EXPECT_EQ(findProblem("ramp battery 9 to 2 over 5s"),
              "x.scenario:1: VOLTS: '9.000' is not a number from 0 to 5");
    for (const char* text : {"ramp", "ramp battery 3 2", "ramp 3 to 2 over 5s",
                             "ramp battery 3 to 2 in 5s", "ramp battery 3 till 2 over 5s"}) {
        EXPECT_EQ(findProblem(text),
                  "x.scenario:1: a ramp is written: ramp battery 3.2 to 2.3 over 30s");
    }
    EXPECT_EQ(findProblem("ramp cable eth0 0 to 1 over 5s"),
              "x.scenario:1: STATE: '0.000' is not up or down");
}

TEST_F(ScenarioTest, AllProblemsAreTold) {
    EXPECT_EQ(findProblem("at 2x cable eth5 down\npsu 1 12\nrepeat 3\nramp\nend\npsu 1"),
              "x.scenario:1: PORT: the frame has no interface 'eth5'\n"
              "x.scenario:1: invalid duration '2x'; use 500ms, 2s, 3m or 1h, up to 24 hours\n"
              "x.scenario:4: a ramp is written: ramp battery 3.2 to 2.3 over 30s\n"
              "x.scenario:6: psu needs NUMBER and VOLTS");
}

TEST_F(ScenarioTest, TooManyChangesAreToldOnce) {
    EXPECT_EQ(findProblem("repeat 101\nramp psu 1 1 to 2 over 14m\nend\npsu 1 2\npsu 2 2"),
              "x.scenario:2: more than 100000 changes");
}

TEST_F(ScenarioTest, RampsInRepetitionsAreBounded) {
    EXPECT_EQ(findProblem("repeat 100\nramp psu 1 1 to 2 over 14m\nend"),
              "x.scenario:2: more than 100000 changes");
}

// What is wrong with a scenario on this frame.
std::string checkAgainst(const FrameRoot& tree, const std::string& text) {
    try {
        checkScenario(tree, readScenario(text, "x"), "x");
    } catch (const cli::script::Error& error) {
        return error.what();
    }
    return "none";
}

TEST_F(ScenarioTest, FilesThatTheFrameDoesNotHaveAreFoundBeforehand) {
    populateAs("KELI");
    EXPECT_EQ(checkAgainst(tree,
                           "after 5s file /nosuch missing\nfile /tmp/eeprom missing\n"
                           "after 5s edit /tmp A=1\nfile /tmp/eeprim missing"),
              "x:1: the frame has no file '/nosuch'\n"
              "x:3: '/tmp' is not a file\n"
              "x:4: the frame has no file '/tmp/eeprim'");
    EXPECT_TRUE(tree.exists("/tmp/eeprom")) << "nothing was done yet";
}

TEST_F(ScenarioTest, ForAnotherProductItNamesTheProduct) {
    populateAs("KELI");
    EXPECT_EQ(checkAgainst(tree, "file /tmp/tessaradetect.txt missing"),
              "x:1: the frame has no file '/tmp/tessaradetect.txt'; it needs --product Tessara or "
              "Tessara-5ru");
}

TEST_F(ScenarioTest, AFileMayBeTakenAwayThatAnEarlierLineBrings) {
    populateAs("KELI");
    tree.setAside("/etc/build.prop");
    EXPECT_EQ(checkAgainst(tree,
                           "file /new present\nafter 1s file /new missing\nedit /also A=1\n"
                           "file /also missing\nrepeat 3\nafter 1s file /tmp/eeprom missing\n"
                           "after 1s file /tmp/eeprom present\nend\n"
                           "file /etc/build.prop missing"),
              "none");
    EXPECT_EQ(checkAgainst(tree, "at 2s file /new missing\nat 3s file /new present"),
              "x:1: the frame has no file '/new'");
}

TEST_F(ScenarioTest, WhatTheDaemonWritesMayComeLater) {
    populateAs("KELI");
    EXPECT_EQ(checkAgainst(tree, "after 1m file /vantor/etc/configurableSystemDetails missing"),
              "none");
}

// Each block of the page that is marked as a scenario.
TEST(ScenarioPage, ItsExamplesAreScenarios) {
    std::ifstream page(PALLWATCH_SOURCE "/doc/scenarios.md");
    std::string example;
    size_t examples = 0;
    bool inside = false;
    for (std::string line; std::getline(page, line);) {
        if (line == "```") {
            if (inside) {
                EXPECT_NO_THROW(readScenario(example, "doc/scenarios.md")) << example;
                ++examples;
            }
            inside = false;
        } else if (line == "```scenario") {
            inside = true;
            example.clear();
        } else {
            example += line + "\n";
        }
    }
    EXPECT_GE(examples, 4U);
}

TEST(ScenarioPage, NamesEveryChangeAndEveryFileOfTheLibrary) {
    std::ifstream file(PALLWATCH_SOURCE "/doc/scenarios.md");
    const std::string page(std::istreambuf_iterator<char>(file), {});
    for (const OperationKind& kind : operationKinds()) {
        EXPECT_NE(page.find("| `" + std::string(kind.name) + " "), std::string::npos) << kind.name;
    }
    for (const auto& entry :
         std::filesystem::directory_iterator(PALLWATCH_SOURCE "/tools/scenarios")) {
        const std::string name = entry.path().stem();
        EXPECT_NE(page.find("| `" + name + "` "), std::string::npos) << name;
    }
}

}  // namespace
