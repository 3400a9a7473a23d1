#include "pallctl/top/live_source.h"

#include <gmock/gmock.h>

#include "messages.h"
#include "support/file_size_limit.h"
#include "support/temporary_directory.h"
#include "tools/listening_peer.h"

namespace pallctl::top {
namespace {

using namespace std::chrono_literals;

// Nobody listens on this port.
const client::ConnectionOptions kNowhere{1, {}, {}, "system"};

TEST(LiveSourceTest, SaysWhereItLooksAndWhatItFinds) {
    LiveSource source(kNowhere);
    View view(source.state(), SourceKind::device);
    source.step(view, 1s);
    source.step(view, 4s);
    EXPECT_EQ(source.now(), Moment(5s));
    EXPECT_EQ(source.status().place, "127.0.0.1:1");
    EXPECT_EQ(source.status().link, Link::noBus);
    EXPECT_EQ(source.status().linkSince, Moment(0));
    EXPECT_EQ(source.descriptor(), -1);
    EXPECT_FALSE(source.status().playing);
}

// Whatever the clock does meanwhile: what was just now was just now.
TEST(LiveSourceTest, ItsPresentIsThatOfTheClock) {
    LiveSource source(kNowhere);
    View view(source.state(), SourceKind::device);
    source.step(view, 5s);
    const auto before = std::chrono::system_clock::now();
    const auto present = source.status().begin + source.now();
    EXPECT_GE(present, before);
    EXPECT_LE(present, std::chrono::system_clock::now());
}

TEST(LiveSourceTest, IsDueAgainAtOnceWhileThereIsMoreToTakeIn) {
    ListeningPeer peer;
    LiveSource source({peer.port(), {}, {}, "system"});
    View view(source.state(), SourceKind::device);
    source.step(view, 0s);
    peer.accept();
    peer.writeFrame(describeParameters({descriptor("psu1Voltage", "FLOAT", "0")}));
    for (int value = 1; value <= 1000; ++value) {
        peer.writeFrame(announcement("\"psu1Voltage\":" + std::to_string(value)));
    }
    // It has come in time or is about to, and each step takes in a part.
    int hurried = 0;
    while (displayValue(source.state().find("psu1Voltage")) != "1000") {
        source.step(view, 0s);
        hurried += source.untilNext() == Moment(0) ? 1 : 0;
    }
    EXPECT_GT(hurried, 0);
    source.step(view, 0s);
    EXPECT_EQ(source.untilNext(), Moment(1s));
}

TEST(LiveSourceTest, AGoodRecordingNeedsNoWord) {
    const TemporaryDirectory directory;
    LiveSource source(kNowhere, directory.path("bus.rec"));
    EXPECT_EQ(source.status().recordingTo, directory.path("bus.rec"));
    EXPECT_EQ(source.finish(), std::nullopt);
    EXPECT_TRUE(directory.holds("bus.rec"));
}

TEST(LiveSourceTest, ARecordingThatEndedByItselfIsToldAgainInTheEnd) {
    const TemporaryDirectory directory;
    ListeningPeer peer;
    LiveSource source({peer.port(), {}, {}, "system"}, directory.path("bus.rec"));
    View view(source.state(), SourceKind::device);
    const FileSizeLimit limit(200);
    source.step(view, 0s);
    peer.accept();
    peer.writeFrame(announcement(R"("systemName":")" + std::string(1000, 'x') + "\""));
    const auto patience = std::chrono::steady_clock::now() + 20s;
    while (source.status().recordingTo && std::chrono::steady_clock::now() < patience) {
        source.step(view, 0s);
    }
    EXPECT_THAT(view.notice().text, testing::StartsWith("the recording ended: "));
    EXPECT_EQ(source.finish(), directory.path("bus.rec") + ": File too large");
}

}  // namespace
}  // namespace pallctl::top
