#include <gmock/gmock.h>

#include "messages.h"
#include "pallctl/top/data_source.h"
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
    Moment at() const { return source->status().playing->at; }

    TemporaryDirectory directory;
    const std::unique_ptr<DataSource> source = makeRecordingSource(recorded(directory), "system");
    View view{source->state(), SourceKind::recording};
};

TEST_F(RecordingSourceTest, CarriesOutWhatTheKeysAskFor) {
    source->carryOut(Request::forward, view);
    source->carryOut(Request::forward, view);
    EXPECT_EQ(at(), Moment(20s));
    source->carryOut(Request::back, view);
    EXPECT_EQ(at(), Moment(10s));
    source->carryOut(Request::faster, view);
    source->step(view, 1s);
    EXPECT_EQ(at(), Moment(12s));
    source->carryOut(Request::slower, view);
    EXPECT_EQ(source->status().playing->speed, 1);
    source->carryOut(Request::begin, view);
    EXPECT_EQ(at(), Moment(0));
    source->carryOut(Request::pause, view);
    EXPECT_TRUE(source->status().playing->paused);
}

TEST_F(RecordingSourceTest, ItsPresentIsThatOfTheRecording) {
    source->step(view, 5s);
    EXPECT_EQ(source->now(), Moment(5s));
    EXPECT_EQ(source->descriptor(), -1);
    EXPECT_EQ(source->status().place, directory.path("bus.rec"));
    EXPECT_EQ(view.notice().text, "") << "the file is whole";
}

TEST_F(RecordingSourceTest, ItsTimeOfDayIsThatOfTheRecording) {
    directory.write("made.rec",
                    R"({"recording":1,"start":"1970-01-01T01:02:03.000004Z","by":"test"})"
                    "\n");
    const auto made = makeRecordingSource(directory.path("made.rec"), "system");
    EXPECT_EQ(made->status().begin.time_since_epoch(), 1h + 2min + 3s + 4us);
}

TEST_F(RecordingSourceTest, ALastLineThatIsNotWholeIsToldOnce) {
    directory.write("torn.rec", directory.read("bus.rec") + R"({"at":40.000000,"fro)");
    const auto torn = makeRecordingSource(directory.path("torn.rec"), "system");
    torn->step(view, 0s);
    EXPECT_EQ(view.notice().text, directory.path("torn.rec") + ":4: incomplete last line ignored");
    EXPECT_EQ(view.notice().style, Style::bad);
    view.say({});
    torn->step(view, 40s);
    EXPECT_EQ(torn->status().playing->length, Moment(30s));
    EXPECT_EQ(view.notice().text, "");
}

}  // namespace
}  // namespace pallctl::top
