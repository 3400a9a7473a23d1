// A frame belongs to whoever starts it: nothing of it needs root, where the kernel has namespaces
// for everybody.

#include <unistd.h>

#include "pallframe_process.h"

using namespace harness;
using namespace outside;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

constexpr uid_t kNobody = 65534;

// The words, run as a user without any privilege; only root can become one, others are one already.
Words asOrdinaryUser(Words words) {
    if (::geteuid() == 0) {
        const std::string user = std::to_string(kNobody);
        const Words drop{"setpriv", "--reuid=" + user, "--regid=" + user, "--clear-groups"};
        words.insert(words.begin(), drop.begin(), drop.end());
    }
    return words;
}

// Why the kernel of this machine gives an ordinary user no frame; empty when it does.
std::string refusal() {
    const Result result = run(asOrdinaryUser({"unshare", "--user", "--map-root-user", "true"}));
    return result.status == 0 ? "" : "no user namespaces here: " + result.error;
}

// A copy of the program where that user can read it, in a directory of that user's.
class OrdinaryUser : public testing::Test {
  protected:
    void SetUp() override {
        if (const std::string why = refusal(); !why.empty()) {
            GTEST_SKIP() << why;
        }
        fs::permissions(directory.path(), fs::perms::all);
        if (::geteuid() == 0) {
            ASSERT_EQ(::chown(directory.path().c_str(), kNobody, kNobody), 0);
        }
        fs::copy(programDirectory() / "pallframe", program);
    }

    Words pallframeCommand(const Words& arguments) const {
        Words words = asOrdinaryUser({program});
        words.insert(words.end(), arguments.begin(), arguments.end());
        // Frames of other tests are frames of that user, too.
        words.insert(words.begin(),
                     {"env", "-C", directory.path(), "XDG_RUNTIME_DIR=" + directory.path()});
        return words;
    }

    const TemporaryDirectory directory;
    const std::string program = directory.path("program");
};

TEST_F(OrdinaryUser, HasAFrameToo) {
    const Result inside =
        run(pallframeCommand({"run", "--frame-dir", directory.path("tree"), "--", "sh", "-c",
                              "id -u; sudo systemctl start ssh; tail -1 /var/log/frame-commands"}));
    EXPECT_EQ(inside.error, "");
    EXPECT_EQ(inside.status, 0);
    EXPECT_EQ(inside.output, "0\nsystemctl start ssh\n");
    EXPECT_FALSE(fs::exists(directory.path("tree")));
}

TEST_F(OrdinaryUser, EntersAndChangesIt) {
    Process frame(pallframeCommand({"run", "--", "sh", "-c", "echo ready; exec sleep 1000"}));
    frame.output().waitFor("ready");
    const Result changed = run(pallframeCommand({"set", "psu", "1", "11.5"}));
    EXPECT_EQ(changed.error, "");
    EXPECT_EQ(changed.status, 0);
    const Result inside =
        run(pallframeCommand({"enter", "--", "sh", "-c", "id -u; pallframe status"}));
    EXPECT_EQ(inside.error, "");
    EXPECT_THAT(inside.output, StartsWith("0\n"));
    EXPECT_THAT(inside.output, HasSubstr("supply   1           11.50 V\n"));
}

TEST_F(OrdinaryUser, ExaminesItAndPlaysOnIt) {
    fs::copy(programDirectory() / "pallbus", directory.path("pallbus"));
    Process frame(pallframeCommand({"run", "--", "sh", "-c", "echo ready; exec pallbus"}));
    frame.output().waitFor("ready");
    Result well;
    waitUntil(
        [&] {
            well = run(pallframeCommand({"doctor"}));
            return well.status == 0;
        },
        "the doctor to be satisfied");
    EXPECT_THAT(well.output, HasSubstr("ok              127.0.0.1:15000\n"));
    const std::string scenario = directory.write("my.scenario", "file /etc/build.prop missing\n");
    EXPECT_EQ(run(pallframeCommand({"play", scenario})).error, "");
    EXPECT_EQ(run(pallframeCommand({"doctor"})).status, 1);
}

TEST_F(OrdinaryUser, SeesNoFrameOfAnother) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can be two users";
    }
    Process frame(
        outside::pallframeCommand({"run", "--", "sh", "-c", "echo ready; exec sleep 1000"}));
    frame.output().waitFor("ready");
    EXPECT_EQ(run(outside::pallframeCommand({"status"})).status, 0);
    EXPECT_EQ(run(pallframeCommand({"status"})).status, 2);
}

TEST(OrdinaryUserWithoutNamespaces, IsToldWhatToDoWhenTheKernelForbidsIt) {
    const std::string program = programDirectory() / "pallframe";
    const Result result = run({"unshare", "-r", "sh", "-c",
                               "echo 0 >/proc/sys/user/max_user_namespaces; "
                               "exec setpriv --bounding-set=-sys_admin " +
                                   program + " run -- true"});
    EXPECT_EQ(result.status, 125);
    EXPECT_EQ(result.error,
              "pallframe: no namespaces for this user (No space left on device): run as root, or "
              "allow them with: sudo sysctl -w user.max_user_namespaces=15000\n");
}

}  // namespace
