#include "pallframe/simulation/operations.h"

#include <gmock/gmock.h>

#include "pallframe/simulation/devices.h"
#include "pallframe/simulation/frame_paths.h"
#include "pallframe/simulation/stub_programs.h"
#include "temporary_frame.h"

using namespace pallframe::simulation;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

class ChangesTest : public TemporaryFrame {
  protected:
    ChangesTest() { populateAs("Quorane"); }

    void make(const Words& words) const { parseOperation(words)(tree); }
};

TEST_F(ChangesTest, CablesArePulledAndPluggedIn) {
    make({"cable", "eth0", "down"});
    EXPECT_EQ(readBond(tree).active, "eth1");
    make({"cable", "eth0", "up"});
    EXPECT_TRUE(readBond(tree).slaves.at(0).up);
}

TEST_F(ChangesTest, SuppliesAndBatteryGetTheirVolts) {
    make({"psu", "1", "11.5"});
    make({"psu", "2", "0"});
    make({"battery", "2.7"});
    EXPECT_EQ(readPower(tree), (Power{11.5, 0, 2.7, false}));
}

TEST_F(ChangesTest, AFileIsTakenAwayAndPutBack) {
    make({"file", "/tmp/eeprom", "missing"});
    EXPECT_FALSE(tree.exists("/tmp/eeprom"));
    make({"file", "/tmp/eeprom", "present"});
    EXPECT_THAT(tree.read("/tmp/eeprom"), StartsWith("PRODUCT=Quorane"));
}

TEST_F(ChangesTest, ALineIsEditedInItsPlaceOrAdded) {
    tree.replace("/etc/some", "A=1\nAB=2\nB=3");
    make({"edit", "/etc/some", "A=5"});
    EXPECT_EQ(tree.read("/etc/some"), "A=5\nAB=2\nB=3\n");
    make({"edit", "/etc/some", "C=x=y z"});
    EXPECT_EQ(tree.read("/etc/some"), "A=5\nAB=2\nB=3\nC=x=y z\n");
    make({"edit", "/etc/new", "A=1"});
    EXPECT_EQ(tree.read("/etc/new"), "A=1\n");
}

TEST_F(ChangesTest, AFileThatIsAwayIsEditedWhereItIsKept) {
    make({"file", "/etc/build.prop", "missing"});
    make({"edit", "/etc/build.prop", "VERSION=\"5\""});
    EXPECT_FALSE(tree.exists("/etc/build.prop"));
    make({"file", "/etc/build.prop", "present"});
    EXPECT_THAT(tree.read("/etc/build.prop"), StartsWith("VERSION=\"5\"\nPROJECT"));
}

TEST_F(ChangesTest, AFileThatWasNeverThereCannotBeTakenAway) {
    EXPECT_THROW(make({"file", "/tmp/eeprim", "missing"}), FrameError);
    make({"file", "/tmp/eeprom", "missing"});
    EXPECT_NO_THROW(make({"file", "/tmp/eeprom", "missing"})) << "is away already";
}

TEST_F(ChangesTest, ADirectoryHasNoLines) {
    EXPECT_THROW(make({"edit", "/etc", "A=1"}), FrameError);
}

TEST_F(ChangesTest, APathIsTakenInItsShortestForm) {
    make({"file", "/tmp/./eeprom", "missing"});
    EXPECT_THAT(tree.filesSetAside(), testing::ElementsAre("/tmp/eeprom"));
}

TEST_F(ChangesTest, AProgramFailsAndWorksAgain) {
    make({"exit-status", "S50dropbear", "3"});
    EXPECT_EQ(runProgram(tree, {"/etc/init.d/S50dropbear", "restart"}), 3);
    EXPECT_EQ(tree.read(paths::kCommands), "/etc/init.d/S50dropbear restart\n");
    EXPECT_FALSE(tree.exists(std::string(paths::kServices) + "/ssh")) << "nothing was done";
    make({"exit-status", "S50dropbear", "0"});
    EXPECT_EQ(runProgram(tree, {"/etc/init.d/S50dropbear", "restart"}), 0);
    EXPECT_EQ(tree.read(std::string(paths::kServices) + "/ssh"), "running");
}

TEST_F(ChangesTest, AProgramTakesItsTime) {
    make({"delay", "/etc/init.d/S40network", "2.5"});
    EXPECT_THAT(tree.read(std::string(paths::kPauses) + "/S40network"), StartsWith("2.5"));
}

TEST_F(ChangesTest, EachKindIsUnderstoodWithAsManyWordsAsItNames) {
    for (const OperationKind& kind : operationKinds()) {
        const Words one{std::string(kind.name)};
        const Words four{std::string(kind.name), "1", "1", "1"};
        for (const Words& words : {one, four}) {
            try {
                parseOperation(words);
                ADD_FAILURE() << kind.name;
            } catch (const FrameError& bad) {
                EXPECT_THAT(bad.what(), StartsWith(std::string(kind.name) + " needs " +
                                                   std::string(kind.arguments[0])));
            }
        }
    }
}

struct Bad {
    Words words;
    const char* problem;
};

class BadChange : public testing::TestWithParam<Bad> {};

INSTANTIATE_TEST_SUITE_P(
    Words, BadChange,
    testing::Values(
        Bad{{},
            "'' is not a change; choose from cable, psu, battery, file, edit, delay, exit-status"},
        Bad{{"cabel", "eth0", "up"}, "'cabel' is not a change; choose from cable, "},
        Bad{{"cable", "eth5", "down"}, "PORT: the frame has no interface 'eth5'"},
        Bad{{"cable", "eth0", "sideways"}, "STATE: 'sideways' is not up or down"},
        Bad{{"psu", "3", "12"}, "NUMBER: '3' is not 1 or 2"},
        Bad{{"psu", "1", "much"}, "VOLTS: 'much' is not a number from 0 to 29"},
        Bad{{"psu", "1", "29.5"}, "VOLTS: '29.5' is not a number from 0 to 29"},
        Bad{{"psu", "1", "12V"}, "VOLTS: '12V' is not a number from 0 to 29"},
        Bad{{"battery", "-1"}, "VOLTS: '-1' is not a number from 0 to 5"},
        Bad{{"battery", "nan"}, "VOLTS: 'nan' is not a number from 0 to 5"},
        Bad{{"file", "tmp/eeprom", "missing"},
            "PATH: 'tmp/eeprom' is not a path from the frame's root on"},
        Bad{{"file", "/../victim", "missing"},
            "PATH: '/../victim' is not a path from the frame's root on"},
        Bad{{"edit", "/etc/../../victim", "A=1"},
            "PATH: '/etc/../../victim' is not a path from the frame's root on"},
        Bad{{"file", "/", "missing"}, "PATH: '/' is not a file that a frame can do without"},
        Bad{{"file", "/run/", "missing"},
            "PATH: '/run/' is not a file that a frame can do without"},
        Bad{{"file", "/run/frame/lock", "missing"},
            "PATH: '/run/frame/lock' is not a file that a frame can do without"},
        Bad{{"file", "/tmp/eeprom", "gone"}, "STATE: 'gone' is not present or missing"},
        Bad{{"edit", "/etc/build.prop", "VERSION"}, "LINE: 'VERSION' is not one line KEY=VALUE"},
        Bad{{"edit", "/etc/build.prop", "A=1\nB=2"}, "LINE: 'A=1\nB=2' is not one line KEY=VALUE"},
        Bad{{"delay", "S99nothing", "1"}, "PROGRAM: the frame has no program 'S99nothing'"},
        Bad{{"delay", "S40network", "3601"}, "TIME: '3601' is not a time of at most 1h"},
        Bad{{"delay", "S40network", "5 s"}, "TIME: invalid duration '5 s'"},
        Bad{{"exit-status", "S40network", "256"}, "STATUS: '256' is not a number from 0 to 255"},
        Bad{{"exit-status", "S40network", "1.5"}, "STATUS: '1.5' is not a number from 0 to 255"}));

TEST_P(BadChange, IsExplained) {
    try {
        parseOperation(GetParam().words);
        FAIL() << "was understood";
    } catch (const FrameError& bad) {
        EXPECT_THAT(bad.what(), StartsWith(GetParam().problem));
    }
}

}  // namespace
