#include <gmock/gmock.h>

#include "messages.h"
#include "support/file_size_limit.h"
#include "support/temporary_directory.h"
#include "tools/listening_peer.h"
#include "top/stage.h"

namespace top {
namespace {

using namespace std::chrono_literals;

// Nobody listens on this port.
const pallctl::Reach kNowhere{1, {}, {}, "system"};

TEST(LiveStageTest, SaysWhereItLooksAndWhatItFinds) {
    const auto stage = makeLiveStage(kNowhere, "");
    View view(stage->board(), Source::device);
    stage->step(view, 1s);
    stage->step(view, 4s);
    EXPECT_EQ(stage->now(), Moment(5s));
    EXPECT_EQ(stage->status().place, "127.0.0.1:1");
    EXPECT_EQ(stage->status().link, Link::noBus);
    EXPECT_EQ(stage->status().linkSince, Moment(0));
    EXPECT_EQ(stage->descriptor(), -1);
    EXPECT_FALSE(stage->status().playing);
}

// Whatever the clock does meanwhile: what was just now was just now.
TEST(LiveStageTest, ItsPresentIsThatOfTheClock) {
    const auto stage = makeLiveStage(kNowhere, "");
    View view(stage->board(), Source::device);
    stage->step(view, 5s);
    const auto before = std::chrono::system_clock::now();
    const auto present = stage->status().begin + stage->now();
    EXPECT_GE(present, before);
    EXPECT_LE(present, std::chrono::system_clock::now());
}

TEST(LiveStageTest, IsDueAgainAtOnceWhileThereIsMoreToTakeIn) {
    ListeningPeer peer;
    const auto stage = makeLiveStage({peer.port(), {}, {}, "system"}, "");
    View view(stage->board(), Source::device);
    stage->step(view, 0s);
    peer.accept();
    peer.writeFrame(description({descriptor("psu1Voltage", "FLOAT", "0")}));
    for (int value = 1; value <= 1000; ++value) {
        peer.writeFrame(announcement("\"psu1Voltage\":" + std::to_string(value)));
    }
    // It has come in time or is about to, and each step takes in a part.
    int hurried = 0;
    while (valueOf(stage->board().find("psu1Voltage")) != "1000") {
        stage->step(view, 0s);
        hurried += stage->untilNext() == Moment(0) ? 1 : 0;
    }
    EXPECT_GT(hurried, 0);
    stage->step(view, 0s);
    EXPECT_EQ(stage->untilNext(), Moment(1s));
}

TEST(LiveStageTest, AGoodRecordingNeedsNoWord) {
    const TemporaryDirectory directory;
    const auto stage = makeLiveStage(kNowhere, directory.path("bus.rec"));
    EXPECT_EQ(stage->status().recordingTo, directory.path("bus.rec"));
    EXPECT_EQ(stage->finish(), std::nullopt);
    EXPECT_TRUE(directory.holds("bus.rec"));
}

TEST(LiveStageTest, ARecordingThatEndedByItselfIsToldAgainInTheEnd) {
    const TemporaryDirectory directory;
    ListeningPeer peer;
    const auto stage = makeLiveStage({peer.port(), {}, {}, "system"}, directory.path("bus.rec"));
    View view(stage->board(), Source::device);
    const FileSizeLimit limit(200);
    stage->step(view, 0s);
    peer.accept();
    peer.writeFrame(announcement(R"("systemName":")" + std::string(1000, 'x') + "\""));
    const auto patience = std::chrono::steady_clock::now() + 20s;
    while (stage->status().recordingTo && std::chrono::steady_clock::now() < patience) {
        stage->step(view, 0s);
    }
    EXPECT_THAT(view.notice().text, testing::StartsWith("the recording ended: "));
    EXPECT_EQ(stage->finish(), directory.path("bus.rec") + ": File too large");
}

}  // namespace
}  // namespace top
