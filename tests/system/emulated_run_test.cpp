// tests/emulated/system with a suite of three tests in place of the system tests. None of them
// needs the emulator.

#include "pallframe_process.h"

using namespace outside;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

namespace {

constexpr const char* kPassedAlone = "passed when run again alone: ";

class EmulatedRun : public testing::Test {
  protected:
    EmulatedRun() {
        fs::create_directories(directory.path("build/default/bin"));
        for (const char* program : {"system_tests", "pallframe", "pallbus", "pallctl"}) {
            directory.write(std::string("build/default/bin/") + program, "");
        }
        fs::create_directories(directory.path("build/default/tests/system"));
        fs::create_directories(directory.path("tests"));
        fs::copy("tests/emulated", directory.path("tests/emulated"), fs::copy_options::recursive);
    }

    // Adds a test to the suite.
    void add(const std::string& name, const std::string& script) {
        suite_ += "add_test(" + name + " sh -c \"" + script + "\")\n";
    }
    void addPassing(const std::string& name) { add(name, "true"); }
    void addFailing(const std::string& name) { add(name, "false"); }
    void addPassingTheSecondTime(const std::string& name) {
        const std::string file = directory.path(name);
        add(name, "test -e " + file + " || ! touch " + file);
    }

    Result runSuite() const {
        directory.write("build/default/tests/system/system_tests[1]_tests.cmake", suite_);
        return run({directory.path("tests/emulated/system"), "armhf", "-j", "2"});
    }

    const TemporaryDirectory directory;

  private:
    std::string suite_;
};

TEST_F(EmulatedRun, EndsWithTheNamesOfTestsThatPassedAlone) {
    addPassing("sound");
    addPassingTheSecondTime("slow");
    addPassingTheSecondTime("slower");
    const Result result = runSuite();
    EXPECT_EQ(result.status, 0) << result.error;
    EXPECT_THAT(result.output, EndsWith(std::string("\n") + kPassedAlone + "slow slower\n"));
}

TEST_F(EmulatedRun, FailsWithATestThatFailsAlone) {
    addPassingTheSecondTime("slow");
    addFailing("broken");
    const Result result = runSuite();
    EXPECT_NE(result.status, 0);
    EXPECT_THAT(result.output, EndsWith(std::string("\n") + kPassedAlone + "slow\n"));
}

TEST_F(EmulatedRun, NamesNoTestIfNoneNeededASecondRun) {
    addPassing("sound");
    EXPECT_EQ(runSuite().status, 0);
    EXPECT_THAT(runSuite().output, Not(HasSubstr(kPassedAlone)));
    addFailing("broken");
    EXPECT_THAT(runSuite().output, Not(HasSubstr(kPassedAlone)));
}

}  // namespace
