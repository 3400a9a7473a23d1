// What the doctor says of programs, their interpreters, and units.

#include <gtest/gtest.h>

#include "frame_to_inspect.h"
#include "pallframe/simulation/stub_programs.h"

using namespace pallframe::doctor;

namespace {

class DoctorOfPrograms : public FrameToInspect {};

TEST_F(DoctorOfPrograms, WantsAnInterpreterForAScript) {
    runAs("KELI");
    const std::string script = "/vantor/bin/restartNetworking.sh";
    tree.replace(script, "#! /bin/nosuch -e\necho\n", 0755);
    EXPECT_EQ(at(script).state, State::notExecutable);
    EXPECT_EQ(at(script).reason, "its interpreter /bin/nosuch: No such file or directory");
    tree.replace("/bin/nosuch", "", 0644);
    EXPECT_EQ(at(script).state, State::notExecutable);
    for (const char* text : {"#!/bin/sh\n", "#! /bin/sh -e", "echo\n", "#!\necho\n"}) {
        tree.replace(script, text, 0755);
        EXPECT_EQ(at(script).state, State::ok) << text;
    }
}

TEST_F(DoctorOfPrograms, TakesAnEmptyScriptForNone) {
    runAs("KELI");
    tree.replace("/vantor/bin/restartNetworking.sh", "", 0755);
    EXPECT_EQ(at("/vantor/bin/restartNetworking.sh").state, State::notExecutable);
    EXPECT_EQ(at("/vantor/bin/restartNetworking.sh").reason, "empty");
}

TEST_F(DoctorOfPrograms, WantsWhatEnvLooksForBehindAScript) {
    runAs("KELI");
    const std::string script = "/vantor/bin/restartNetworking.sh";
    tree.replace(script, "#!/usr/bin/env nosuch\n", 0755);
    EXPECT_EQ(at(script).state, State::notExecutable);
    EXPECT_EQ(at(script).reason, "its interpreter /usr/bin/env: No such file or directory");
    tree.replace("/usr/bin/env", "", 0755);
    EXPECT_EQ(at(script).state, State::notExecutable);
    EXPECT_EQ(at(script).reason,
              "its interpreter nosuch: not in " + std::string(pallframe::simulation::kSearchPath));
    tree.replace("/usr/bin/nosuch",
                 "\x7f"
                 "ELF",
                 0755);
    EXPECT_EQ(at(script).state, State::ok);
}

TEST_F(DoctorOfPrograms, FindsAUnitWhereSystemdLooks) {
    runAs("QuoraneBrio");
    tree.remove(pallframe::simulation::paths::kProduct);  // a real one
    EXPECT_EQ(at("ssh.service").state, State::ok);
    tree.remove("/etc/systemd/system/ssh.service");
    EXPECT_EQ(at("ssh.service").state, State::missing);
    EXPECT_EQ(at("vsftpd.service").state, State::ok);
    tree.replace("/lib/systemd/system/ssh.service", "[Service]\n");
    EXPECT_EQ(at("ssh.service").state, State::ok);
}

TEST_F(DoctorOfPrograms, ASimulatedFrameHasNoUnitsOfItsMachine) {
    runAs("QuoraneBrio");
    tree.replace("/lib/systemd/system/ssh.service", "[Service]\n");
    tree.setAside("/etc/systemd/system/ssh.service");
    EXPECT_EQ(at("ssh.service").state, State::missing);
}

TEST_F(DoctorOfPrograms, AUnitThatIsMaskedIsNotUsable) {
    runAs("QuoraneBrio");
    tree.remove("/etc/systemd/system/ssh.service");
    tree.makeDirectory("/etc/systemd/system/ssh.service");
    EXPECT_EQ(at("ssh.service").state, State::unreadable);
}

}  // namespace
