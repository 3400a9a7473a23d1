// Settings outlive a disk that is full, files that are torn and names that are taken: seen from
// outside, by the daemon that ships.

#include <signal.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>

#include "on_product.h"
#include "pallframe/simulation/frame_paths.h"

using namespace harness;
using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
namespace fs = std::filesystem;

namespace {

const std::string kState = kStateFile;
const std::string kNew = kState + ".new";
const std::string kOld = kState + ".old";
const std::string kBad = kState + ".bad";

class SettingsKept : public OnBus {
  protected:
    explicit SettingsKept(std::string_view product = "QuoraneBrio") : OnBus(product) {}

    void setName(const std::string& name) {
        set(R"({"systemName":")" + name + "\"}");
        EXPECT_THAT(sentUntilNow(), Contains(answered(200, "OK")));
    }

    // As a power cut does, but for what the disk has not seen yet.
    void kill() {
        daemon->signal(SIGKILL);
        daemon->waitForEnd();
        daemon.reset();
    }

    std::string nameAfterRestart() {
        kill();
        start();
        return valueOf("systemName");
    }

    // No descriptor above those that the daemon has.
    void limitDescriptors(bool limited) const {
        const rlimit limit{limited ? rlim_t{3} : rlim_t{1024}, 1024};
        ASSERT_EQ(prlimit(daemon->pid(), RLIMIT_NOFILE, &limit, nullptr), 0);
    }
};

// A request for descriptors through the tunnel renames the parameters, and a save keeps the names.
TEST_F(SettingsKept, UnderATunnelledNameGetTheirOwnNameAtTheStart) {
    start({"-p", "frameB"});
    bus.get("frameB.system", R"({"id":"2@5","paramDescriptor":{"objectName":["systemName"]}})");
    setName("Studio");
    EXPECT_THAT(frame.read(kState), HasSubstr("frameB.system"));
    EXPECT_EQ(nameAfterRestart(), "\"Studio\"");
    setName("Stage");
    EXPECT_THAT(frame.read(kState), Not(HasSubstr("frameB.system")));
}

TEST_F(SettingsKept, WithATornNewFileAndNoDescriptor) {
    start();
    setName("Studio");
    frame.write(kNew, "{\"version\":0,\"systemState\":{\"dev");
    limitDescriptors(true);
    setName("Lost");
    EXPECT_EQ(nameAfterRestart(), "\"Studio\"");
    setName("Found");
    EXPECT_EQ(nameAfterRestart(), "\"Found\"");
    EXPECT_FALSE(frame.exists(kNew));
}

TEST_F(SettingsKept, WhateverStandsUnderTheNewName) {
    const std::string another = "/vantor/etc/another";
    frame.write(another, "another's");
    const std::function<void()> obstacles[] = {
        [] { fs::create_directory(kNew); },
        [&] {
            fs::create_directory(kNew);
            std::ofstream(kNew + "/something") << "kept";
        },
        [] { ASSERT_EQ(mkfifo(kNew.c_str(), 0600), 0); },
        [] { fs::create_symlink(kNew, kNew); },
        [&] { fs::create_symlink(another, kNew); },
    };
    start();
    int number = 0;
    for (const auto& stand : obstacles) {
        stand();
        const std::string name = "Studio " + std::to_string(++number);
        setName(name);
        EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(kState)));
        EXPECT_EQ(nameAfterRestart(), "\"" + name + "\"");
        EXPECT_FALSE(fs::exists(fs::symlink_status(kNew)));
    }
    EXPECT_EQ(frame.read(another), "another's");
    EXPECT_EQ(frame.read(kNew + ".bad/something"), "kept");
}

TEST_F(SettingsKept, InTheOldFileBesideOneThatIsTorn) {
    start();
    setName("Studio");
    kill();
    const std::string whole = frame.read(kState);
    for (const size_t size : {size_t{0}, size_t{1}, whole.size() / 2, whole.size() - 1}) {
        frame.write(kOld, whole);
        frame.write(kState, whole.substr(0, size));
        start();
        EXPECT_EQ(log.waitFor("Not a valid JSON file").text,
                  "Not a valid JSON file: " + kState + "\n");
        EXPECT_EQ(valueOf("systemName"), "\"Studio\"");
        setName("Control");
        EXPECT_EQ(frame.read(kBad), whole.substr(0, size));
        EXPECT_EQ(nameAfterRestart(), "\"Control\"");
        kill();
    }
}

TEST_F(SettingsKept, BesideADirectoryOrAPipeInTheirPlace) {
    for (const bool pipe : {false, true}) {
        frame.remove(kState);
        if (pipe) {
            ASSERT_EQ(mkfifo(kState.c_str(), 0600), 0);
        } else {
            fs::create_directory(kState);
            std::ofstream(kState + "/something") << "kept";
        }
        start();
        EXPECT_EQ(valueOf("systemName"), "\"System\"");
        setName("Studio");
        EXPECT_EQ(nameAfterRestart(), "\"Studio\"");
        EXPECT_EQ(pipe, fs::is_fifo(kBad));
        kill();
        fs::remove_all(kBad);
    }
}

TEST_F(SettingsKept, WhereALinkLeadsTo) {
    fs::create_directory("/vantor/etc/elsewhere");
    fs::create_symlink("elsewhere/state", kState);
    start();
    setName("Studio");
    EXPECT_TRUE(fs::is_symlink(kState));
    EXPECT_THAT(frame.read("/vantor/etc/elsewhere/state"), HasSubstr("\"Studio\""));
    EXPECT_EQ(nameAfterRestart(), "\"Studio\"");
    struct stat status {};
    ASSERT_EQ(stat(kStateFile, &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0644U);
}

// The frame's settings on a disk of a few pages, filled to the last one.
class FullDisk : public OnProduct {
  protected:
    FullDisk() : OnProduct("Quorane") {
        const std::string etc = "/vantor/etc";
        const std::string conf = frame.read(pallframe::simulation::paths::kNetwork);
        mounted_ = ::mount("none", etc.c_str(), "tmpfs", 0, "size=64k") == 0;
        EXPECT_TRUE(mounted_);
        std::ofstream(std::string(pallframe::simulation::paths::kNetwork)) << conf;
    }
    ~FullDisk() override {
        daemon.reset();
        if (mounted_) {
            ::umount2("/vantor/etc", MNT_DETACH);
        }
    }

    static void fill() {
        std::ofstream filler("/vantor/etc/filler");
        while (filler << std::string(4096, 'x') << std::flush) {
        }
    }

  private:
    bool mounted_ = false;
};

TEST_F(FullDisk, KeepsTheNetworkSettingsAndRestartsNothing) {
    startAndSettle();
    const std::string before = frame.read(pallframe::simulation::paths::kNetwork);
    fill();
    mark();
    set(R"({"gateway":167772162})");
    EXPECT_THAT(sentUntilNow(), Contains(answered(200, "OK")));
    EXPECT_EQ(frame.read(pallframe::simulation::paths::kNetwork), before);
    EXPECT_THAT(newCommands(), Not(Contains(HasSubstr("S40network"))));
    EXPECT_THAT(newLog(), Contains(error("Error writing /vantor/etc/network.conf: No space left on "
                                         "device\n")));
    fs::remove("/vantor/etc/filler");
    set(R"({"gateway":167772162})");
    EXPECT_THAT(waitForNewCommands(1), Contains(HasSubstr("S40network restart")));
    EXPECT_THAT(frame.read(pallframe::simulation::paths::kNetwork),
                HasSubstr("GATEWAY=10.0.0.2\n"));
}

// What the daemon reads at its start is a pipe that nobody writes to, or has no end.
class OddFiles : public SettingsKept, public testing::WithParamInterface<const char*> {
  protected:
    OddFiles() : SettingsKept("Tessara") {}
};

INSTANTIATE_TEST_SUITE_P(At, OddFiles,
                         testing::Values("/vantor/app/tarna/node/deviceLabels.json",
                                         "/vantor/etc/deviceName", "/sys/class/net/eth0/address",
                                         "/etc/build.prop", "/vantor/etc/network.conf"),
                         [](const auto& one) { return fs::path(one.param).stem().string(); });

TEST_P(OddFiles, DoNotHoldTheStart) {
    const std::string path = GetParam();
    for (const bool pipe : {true, false}) {
        frame.remove(path);
        fs::create_directories(fs::path(path).parent_path());
        if (pipe) {
            ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
        } else {
            fs::create_symlink("/dev/zero", path);
        }
        start();
        EXPECT_EQ(valueOf("systemName"), "\"System\"");
        stop();
    }
}

}  // namespace
