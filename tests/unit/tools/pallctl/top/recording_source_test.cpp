#include "pallctl/top/recording_source.h"

#include <stdexcept>

#include <gmock/gmock.h>

#include "messages.h"
#include "recording/recording.h"
#include "support/temporary_directory.h"

namespace pallctl::top {
namespace {

using namespace std::chrono_literals;

// Half a minute of a device; gives the path.
std::string recorded(const TemporaryDirectory& directory) {
    recording::Writer writer(directory.path("bus.rec"), "test");
    writer.write({0s, 8, announcement(R"("systemName":"One")")});
    writer.write({30s, 8, announcement(R"("systemName":"Two")")});
    return directory.path("bus.rec");
}

class RecordingSourceTest : public testing::Test {
  protected:
    Moment at() const { return source.status().playing->at; }

    TemporaryDirectory directory;
    RecordingSource source{recorded(directory), "system"};
    View view{source.state(), SourceKind::recording};
};

TEST_F(RecordingSourceTest, CarriesOutWhatTheKeysAskFor) {
    source.carryOut(Request::forward, view);
    source.carryOut(Request::forward, view);
    EXPECT_EQ(at(), Moment(20s));
    source.carryOut(Request::back, view);
    EXPECT_EQ(at(), Moment(10s));
    source.carryOut(Request::faster, view);
    source.step(view, 1s);
    EXPECT_EQ(at(), Moment(12s));
    source.carryOut(Request::slower, view);
    EXPECT_EQ(source.status().playing->speed, 1);
    source.carryOut(Request::begin, view);
    EXPECT_EQ(at(), Moment(0));
    source.carryOut(Request::pause, view);
    EXPECT_TRUE(source.status().playing->paused);
}

TEST_F(RecordingSourceTest, ItsPresentIsThatOfTheRecording) {
    source.step(view, 5s);
    EXPECT_EQ(source.now(), Moment(5s));
    EXPECT_EQ(source.descriptor(), -1);
    EXPECT_EQ(source.status().place, directory.path("bus.rec"));
    EXPECT_EQ(view.notice().text, "") << "the file is whole";
}

TEST_F(RecordingSourceTest, ItsTimeOfDayIsThatOfTheRecording) {
    directory.write("made.rec",
                    R"({"recording":1,"start":"1970-01-01T01:02:03.000004Z","by":"test"})"
                    "\n");
    RecordingSource made(directory.path("made.rec"), "system");
    EXPECT_EQ(made.status().begin.time_since_epoch(), 1h + 2min + 3s + 4us);
}

TEST_F(RecordingSourceTest, ALastLineThatIsNotWholeIsToldOnce) {
    directory.write("torn.rec", directory.read("bus.rec") + R"({"at":40.000000,"fro)");
    RecordingSource torn(directory.path("torn.rec"), "system");
    torn.step(view, 0s);
    EXPECT_EQ(view.notice().text, directory.path("torn.rec") + ":4: incomplete last line ignored");
    EXPECT_EQ(view.notice().style, Style::bad);
    view.say({});
    torn.step(view, 40s);
    EXPECT_EQ(torn.status().playing->length, Moment(30s));
    EXPECT_EQ(view.notice().text, "");
}

// systemName is One at 0 s, Two at 10 s, Three at 20 s; the bus says a last word at 30 s.
std::string recordedNames(const TemporaryDirectory& directory) {
    recording::Writer writer(directory.path("names.rec"), "test");
    writer.write({0s, 8, describeParameters({descriptor("systemName", "STRING", "\"One\"")})});
    writer.write({10s, 8, announcement(R"("systemName":"Two")")});
    writer.write({10s, 5, "no message at all"});
    writer.write({20s, 8, announcement(R"("systemName":"Three")")});
    writer.write({30s, 0, "[\"SET\", \"\", 0, 0, 0]\n{}"});
    EXPECT_EQ(writer.finish(), std::nullopt);
    return directory.path("names.rec");
}

class RecordingPlaybackTest : public testing::Test {
  protected:
    std::string name() const { return displayValue(player.state().find("systemName")); }
    std::optional<Moment> changedAt() const {
        return player.state().changedAt("system.systemName");
    }
    Playing playing() const { return player.status().playing.value(); }
    void request(Request request) { player.carryOut(request, view); }

    TemporaryDirectory directory;
    RecordingSource player{recordedNames(directory), "system"};
    View view{player.state(), SourceKind::recording};
};

TEST_F(RecordingPlaybackTest, BeginsWithWhatStandsAtTheBeginning) {
    EXPECT_EQ(name(), "One");
    EXPECT_EQ(playing().at, Moment(0));
    EXPECT_EQ(playing().length, Moment(30s));
    EXPECT_EQ(playing().speed, 1);
    EXPECT_FALSE(playing().paused);
}

TEST_F(RecordingPlaybackTest, GoesWithTheTimeAndStopsAtTheEnd) {
    player.advance(9999ms);
    EXPECT_EQ(name(), "One");
    player.advance(1ms);
    EXPECT_EQ(name(), "Two");
    EXPECT_EQ(changedAt(), Moment(10s));
    player.advance(100s);
    EXPECT_EQ(name(), "Three");
    EXPECT_EQ(playing().at, Moment(30s));
    EXPECT_EQ(player.untilNext(), std::nullopt) << "nothing will happen any more";
}

TEST_F(RecordingPlaybackTest, StandsStillWhilePaused) {
    request(Request::pause);
    player.advance(15s);
    EXPECT_EQ(name(), "One");
    EXPECT_EQ(player.untilNext(), std::nullopt);
    request(Request::pause);
    player.advance(15s);
    EXPECT_EQ(name(), "Two");
}

TEST_F(RecordingPlaybackTest, SpeedsUpAndSlowsDown) {
    request(Request::faster);
    request(Request::faster);
    EXPECT_EQ(playing().speed, 4);
    player.advance(4s);
    EXPECT_EQ(playing().at, Moment(16s));
    for (int step = 0; step < 20; ++step) {
        request(Request::slower);
    }
    EXPECT_EQ(playing().speed, 0.25);
    player.advance(4s);
    EXPECT_EQ(playing().at, Moment(17s));
    for (int step = 0; step < 20; ++step) {
        request(Request::faster);
    }
    EXPECT_EQ(playing().speed, 64);
}

TEST_F(RecordingPlaybackTest, SeeksAheadAndBack) {
    player.seek(25s);
    EXPECT_EQ(name(), "Three");
    player.seek(-10s);
    EXPECT_EQ(playing().at, Moment(15s));
    EXPECT_EQ(name(), "Two");
    EXPECT_EQ(changedAt(), Moment(10s));
    player.seek(-100s);
    EXPECT_EQ(name(), "One");
    EXPECT_EQ(changedAt(), std::nullopt);
    player.seek(100s);
    EXPECT_EQ(playing().at, Moment(30s));
}

TEST_F(RecordingPlaybackTest, WakesForTheNextMessageOrTheNextSecond) {
    EXPECT_EQ(player.untilNext(), Moment(1s));
    player.advance(9600ms);
    EXPECT_EQ(player.untilNext(), Moment(400ms));
    request(Request::faster);
    EXPECT_EQ(player.untilNext(), Moment(200ms));
    player.advance(195ms);
    EXPECT_EQ(player.untilNext(), Moment(50ms)) << "not more often than anybody sees";
}

TEST_F(RecordingPlaybackTest, SaysWhatIsWrongWithAFile) {
    EXPECT_THAT([&] { RecordingSource(directory.path("none"), "system"); },
                testing::ThrowsMessage<std::runtime_error>(
                    testing::HasSubstr(directory.path("none") + ": ")));
    directory.write("text", "hello\n");
    EXPECT_THAT([&] { RecordingSource(directory.path("text"), "system"); },
                testing::ThrowsMessage<std::runtime_error>(testing::HasSubstr("text:1: ")));
}

}  // namespace
}  // namespace pallctl::top
