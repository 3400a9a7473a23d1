// What the doctor says from outside of frames that run, of those that do not, and of directories.

#include "pallframe_process.h"

using namespace harness;
using namespace outside;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

constexpr const char* kNoBus =
    "missing         127.0.0.1:15000 (nothing is listening)\n"
    "    nothing is published and nothing can be set; the bus is looked for each second\n";

// What a frame runs here: a bus, from the moment on that the file is there.
constexpr const char* kBusWhenAsked =
    "echo ready; until [ -e /tmp/go ]; do sleep 0.05; done; exec pallbus";

Result doctor(Words options = {}) {
    options.insert(options.begin(), "doctor");
    return run(pallframeCommand(options));
}

void waitForWellDoctor(const Words& options = {}) {
    waitUntil([&options] { return doctor(options).status == 0; }, "the doctor to be satisfied");
}

TEST(DoctorOutside, SaysWhetherABusListensInAFrameThatRuns) {
    Process frame(
        pallframeCommand({"run", "--product", "Tessara", "--", "sh", "-c", kBusWhenAsked}));
    frame.output().waitFor("ready\n");
    const Result without = doctor();
    EXPECT_EQ(without.status, 1);
    EXPECT_THAT(without.output, AllOf(StartsWith("frame           "),
                                      HasSubstr("\nproduct         Tessara\n"), HasSubstr(kNoBus)));
    EXPECT_EQ(run(pallframeCommand({"enter", "--", "touch", "/tmp/go"})).status, 0);
    waitForWellDoctor();
    EXPECT_THAT(doctor().output, AllOf(HasSubstr("ok              127.0.0.1:15000\n"),
                                       HasSubstr("ok              /dev/log\n"),
                                       HasSubstr(" checks passed"), Not(HasSubstr("skipped"))));
}

TEST(DoctorOutside, FindsWhatIsTakenFromAFrameInMemory) {
    Process frame(pallframeCommand({"run", "--", "sh", "-c", "echo ready; exec sleep 1000"}));
    frame.output().waitFor("ready\n");
    EXPECT_EQ(run(pallframeCommand({"set", "file", "/etc/build.prop", "missing"})).status, 0);
    const Result ill = doctor();
    EXPECT_EQ(ill.status, 1);
    EXPECT_THAT(ill.output, HasSubstr("missing         /etc/build.prop (No such file or "
                                      "directory)\n    version \"read error\"\n"));
}

TEST(DoctorInside, LooksAtTheSystemLogOfItsOwnFrame) {
    const Words words{"--", "sh", "-c", "pallbus & until pallframe doctor; do sleep 0.1; done"};
    Words with = pallframeCommand({"run", "--product", "QuoraneBrio"});
    with.insert(with.end(), words.begin(), words.end());
    const Result result = run(with);
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.output, AllOf(HasSubstr("ok              /dev/log\n"),
                                     HasSubstr("ok              ssh.service\n"),
                                     HasSubstr("ok              vsftpd.service\n")));
    Words without = pallframeCommand({"run", "--no-syslog", "--", "pallframe", "doctor"});
    EXPECT_THAT(run(without).output,
                HasSubstr("missing         /dev/log (No such file or directory)\n"
                          "    values as usual, and nobody reads what the daemon logs\n"));
}

using DoctorOfTree = Tree;

TEST_F(DoctorOfTree, LooksAtTheNetworkOfTheFrameThatRunsThere) {
    Process frame(words({"--product", "KELI"}, kBusWhenAsked));
    frame.output().waitFor("ready\n");
    const Result without = tell({"doctor"});
    EXPECT_EQ(without.status, 1);
    EXPECT_THAT(without.output, AllOf(StartsWith("root            " + tree + "\n"),
                                      HasSubstr("\nproduct         KELI\n"), HasSubstr(kNoBus)));
    std::ofstream(tree + "/tmp/go").flush();
    waitForWellDoctor({"--frame-dir", tree});
}

TEST_F(DoctorOfTree, CannotSeeWhatOnlyAFrameThatRunsHas) {
    EXPECT_EQ(run(words({"--keep"}, "exit 0")).status, 0);
    const Result result = tell({"doctor"});
    EXPECT_EQ(result.status, 0) << result.output;
    EXPECT_THAT(result.output,
                AllOf(HasSubstr("skipped         127.0.0.1:15000 (needs a running frame)\n"),
                      HasSubstr("skipped         /dev/log (needs a running frame)\n"),
                      HasSubstr(" skipped (needs a running frame).\n")));
    EXPECT_EQ(tell({"set", "file", "/tmp/eeprom", "missing"}).status, 0);
    EXPECT_EQ(tell({"doctor"}).status, 1);
}

TEST(DoctorOfDirectory, LooksAtTheOneThatItIsGiven) {
    const TemporaryDirectory empty;
    const Result result = doctor({"--root", empty.path()});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.output, HasSubstr("missing         /tmp/eeprom "));
    EXPECT_EQ(doctor({"--root", "/no/such/directory"}).status, 2);
}

}  // namespace
