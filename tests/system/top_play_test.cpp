// `pallctl top` writing and playing recordings.

#include <sys/mount.h>
#include <sys/stat.h>

#include "on_top.h"

using testing::SizeIs;

namespace {

class TopPlay : public OnTop {
  protected:
    TopPlay() : OnTop("QuoraneBrio") {}

    static void name(const std::string& text) {
        EXPECT_EQ(pallctl({"set", "systemName=" + text}).status, 0);
    }
    void quit() {
        terminal->type("q");
        terminal->waitFor("ended with 0");
    }
    // Plays the file where there is neither bus nor daemon.
    void play(const std::string& file) {
        stopDaemon();
        stopBus();
        open({"--play", file});
    }
};

TEST_F(TopPlay, ShowsWhatItRecorded) {
    openOnDevice({"--record", "/run/one.rec"});
    terminal->waitFor("REC /run/one.rec");
    terminal->waitFor("10.1.1.2");
    name("Truck");
    terminal->waitFor("Truck");
    quit();
    play("/run/one.rec");
    terminal->waitFor("· Truck ·");
    terminal->waitFor("10.1.1.2");
    terminal->waitFor("/run/one.rec");
    EXPECT_THAT(rowsWith("connected"), SizeIs(0));
    terminal->type("0");
    terminal->waitFor("· Truck ·");
}

TEST_F(TopPlay, StartsAndStopsARecordingWhileItRuns) {
    openOnDevice();
    terminal->type("r");
    terminal->waitFor("REC pallwatch-");
    name("Truck");
    terminal->waitFor("Truck");
    terminal->type("r");
    terminal->waitFor("recorded to pallwatch-");
    terminal->waitUntilGone("REC");
}

TEST_F(TopPlay, PlaysWhatTheBusRecorded) {
    startBus({"--record", "/run/bus.rec"});
    startDaemon();
    name("Truck");
    EXPECT_EQ(pallctl({"list"}).status, 0);
    name("Van");
    bus->signal(SIGTERM);
    bus->waitForEnd();
    play("/run/bus.rec");
    terminal->waitFor("· Van ·");
    terminal->waitFor("  quoraneUsersEnabled      Enabled");
}

// Nobody asked for descriptions while the bus recorded.
TEST_F(TopPlay, LabelsWhatWasOnlyAnnounced) {
    frame.write("/run/made.rec",
                R"({"recording":1,"start":"2026-11-21T15:30:00.000000Z","by":"test"})"
                "\n"
                R"({"at":0.000000,"from":8,"payload":"[\"NOT\", \"system\", 8, 0, 0]\n)"
                R"({\"param\":{\"sshEnabled\":0}}"})"
                "\n");
    open({"--play", "/run/made.rec"}, {.columns = 100});
    terminal->waitFor("*sshEnabled               SSH Server             Disabled");
}

TEST_F(TopPlay, PausesSeeksAndChangesItsSpeed) {
    frame.write("/run/made.rec",
                R"({"recording":1,"start":"2026-11-21T15:30:00.000000Z","by":"test"})"
                "\n"
                R"({"at":0.000000,"from":8,"payload":"[\"NOT\", \"system\", 8, 0, 0]\n)"
                R"({\"param\":{\"systemName\":\"One\"}}"})"
                "\n"
                R"({"at":118.000000,"from":8,"payload":"[\"NOT\", \"system\", 8, 0, 0]\n)"
                R"({\"param\":{\"systemName\":\"Two\"}}"})"
                "\n"
                R"({"at":120.000000,"from":0,"payload":"[\"SET\", \"\", 0, 0, 0]\n{}"})"
                "\n");
    open({"--play", "/run/made.rec"});
    terminal->waitFor("/2:00 x1");
    terminal->type(" ");
    terminal->waitFor("/2:00 paused");
    terminal->press({"Right", "Right", "Right", "Right", "Right", "Right"});
    terminal->waitFor("1:0");
    terminal->waitFor(" One");
    terminal->type(" ++++++++++");
    terminal->waitFor("2:00/2:00 end");
    terminal->waitFor(" Two");
    terminal->type(" ");
    terminal->press({"Left"});
    terminal->waitFor("1:50/2:00 paused");
    terminal->waitFor(" One");
    terminal->type("0");
    terminal->waitFor("0:00/2:00 paused");
}

TEST_F(TopPlay, NothingCanBeSetInARecording) {
    openOnDevice({"--record", "/run/one.rec"});
    quit();
    play("/run/one.rec");
    terminal->waitFor("systemName");
    terminal->press({"Enter"});
    terminal->waitFor("a recording cannot be changed");
}

TEST_F(TopPlay, SaysWhichLineOfAFileIsWrong) {
    frame.write("/run/bad.rec",
                R"({"recording":1,"start":"2026-11-21T15:30:00.000000Z","by":"test"})"
                "\nno line\n{}\n");
    open({"--play", "/run/bad.rec"});
    terminal->waitFor("pallctl: top: /run/bad.rec:2: ");
    terminal->waitFor("ended with 2");
    open({"--play", "/run/none.rec"});
    terminal->waitFor("pallctl: top: /run/none.rec: No such file or directory");
    terminal->waitFor("ended with 2");
}

TEST_F(TopPlay, SaysWhenARecordingEndsByItself) {
    // The catalogue does not fit into a page.
    ASSERT_EQ(::mkdir("/run/small", 0755), 0);
    ASSERT_EQ(::mount("small", "/run/small", "tmpfs", 0, "size=4k"), 0);
    openOnDevice({"--record", "/run/small/one.rec"});
    terminal->waitFor("the recording ended: /run/small/one.rec: No space left on device");
    EXPECT_THAT(rowsWith("REC"), SizeIs(0));
    terminal->type("q");
    terminal->waitFor("ended with 1");
    EXPECT_THAT(rowsWith("pallctl: top: /run/small/one.rec: No space left on device"), SizeIs(1));
}

TEST_F(TopPlay, SaysWhenItCannotRecord) {
    open({"--record", "/no/such/place/one.rec"});
    terminal->waitFor("pallctl: /no/such/place/one.rec: No such file or directory");
    terminal->waitFor("ended with 1");
}

}  // namespace
