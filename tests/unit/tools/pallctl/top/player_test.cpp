#include "pallctl/top/player.h"

#include <stdexcept>

#include <gmock/gmock.h>

#include "messages.h"
#include "recording/recording.h"
#include "support/temporary_directory.h"

namespace pallctl::top {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;
using testing::Throws;

// systemName is One at 0 s, Two at 10 s, Three at 20 s; the bus says a last word at 30 s.
class PlayerTest : public DeviceStateFixture {
  protected:
    PlayerTest() {
        recording::Writer writer(path, "test");
        writer.write({0s, 8, describeParameters({descriptor("systemName", "STRING", "\"One\"")})});
        writer.write({10s, 8, announcement(R"("systemName":"Two")")});
        writer.write({10s, 5, "no message at all"});
        writer.write({20s, 8, announcement(R"("systemName":"Three")")});
        writer.write({30s, 0, "[\"SET\", \"\", 0, 0, 0]\n{}"});
        EXPECT_EQ(writer.finish(), std::nullopt);
    }

    std::string name() const { return displayValue(state.find("systemName")); }

    TemporaryDirectory directory;
    const std::string path = directory.path("bus.rec");
};

TEST_F(PlayerTest, BeginsWithWhatStandsAtTheBeginning) {
    const Player player(path, state);
    EXPECT_EQ(name(), "One");
    EXPECT_EQ(player.playing().at, Moment(0));
    EXPECT_EQ(player.playing().length, Moment(30s));
    EXPECT_EQ(player.playing().speed, 1);
    EXPECT_FALSE(player.playing().paused);
}

TEST_F(PlayerTest, GoesWithTheTimeAndStopsAtTheEnd) {
    Player player(path, state);
    player.advance(9999ms);
    EXPECT_EQ(name(), "One");
    player.advance(1ms);
    EXPECT_EQ(name(), "Two");
    EXPECT_EQ(state.changedAt("system.systemName"), Moment(10s));
    player.advance(100s);
    EXPECT_EQ(name(), "Three");
    EXPECT_EQ(player.playing().at, Moment(30s));
    EXPECT_EQ(player.untilNext(), std::nullopt) << "nothing will happen any more";
}

TEST_F(PlayerTest, StandsStillWhilePaused) {
    Player player(path, state);
    player.pause();
    player.advance(15s);
    EXPECT_EQ(name(), "One");
    EXPECT_EQ(player.untilNext(), std::nullopt);
    player.pause();
    player.advance(15s);
    EXPECT_EQ(name(), "Two");
}

TEST_F(PlayerTest, SpeedsUpAndSlowsDown) {
    Player player(path, state);
    player.faster();
    player.faster();
    EXPECT_EQ(player.playing().speed, 4);
    player.advance(4s);
    EXPECT_EQ(player.playing().at, Moment(16s));
    for (int step = 0; step < 20; ++step) {
        player.slower();
    }
    EXPECT_EQ(player.playing().speed, 0.25);
    player.advance(4s);
    EXPECT_EQ(player.playing().at, Moment(17s));
    for (int step = 0; step < 20; ++step) {
        player.faster();
    }
    EXPECT_EQ(player.playing().speed, 64);
}

TEST_F(PlayerTest, SeeksAheadAndBack) {
    Player player(path, state);
    player.seek(25s);
    EXPECT_EQ(name(), "Three");
    player.seek(-10s);
    EXPECT_EQ(player.playing().at, Moment(15s));
    EXPECT_EQ(name(), "Two");
    EXPECT_EQ(state.changedAt("system.systemName"), Moment(10s));
    player.seek(-100s);
    EXPECT_EQ(name(), "One");
    EXPECT_EQ(state.changedAt("system.systemName"), std::nullopt);
    player.seek(100s);
    EXPECT_EQ(player.playing().at, Moment(30s));
}

TEST_F(PlayerTest, WakesForTheNextMessageOrTheNextSecond) {
    Player player(path, state);
    EXPECT_EQ(player.untilNext(), Moment(1s));
    player.advance(9600ms);
    EXPECT_EQ(player.untilNext(), Moment(400ms));
    player.faster();
    EXPECT_EQ(player.untilNext(), Moment(200ms));
    player.advance(195ms);
    EXPECT_EQ(player.untilNext(), Moment(50ms)) << "not more often than anybody sees";
}

TEST_F(PlayerTest, SaysWhatIsWrongWithAFile) {
    EXPECT_THAT([&] { Player(directory.path("none"), state); },
                ThrowsMessage<std::runtime_error>(HasSubstr(directory.path("none") + ": ")));
    directory.write("text", "hello\n");
    EXPECT_THAT([&] { Player(directory.path("text"), state); },
                ThrowsMessage<std::runtime_error>(HasSubstr("text:1: ")));
}

}  // namespace
}  // namespace pallctl::top
