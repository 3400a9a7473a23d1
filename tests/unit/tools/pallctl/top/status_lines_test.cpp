#include "pallctl/top/status_lines.h"

#include <gmock/gmock.h>

#include "messages.h"
#include "pallctl/top/line_layout.h"
#include "screen_contents.h"

namespace pallctl::top {
namespace {

using namespace std::chrono_literals;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

class StatusLinesTest : public DeviceStateFixture {
  protected:
    StatusLinesTest() {
        status.place = "127.0.0.1:15000";
        describe({descriptor("frameName", "STRING", "\"Quorane\""),
                  descriptor("systemName", "STRING", "\"Studio\""),
                  descriptor("version", "STRING", "\"4.2\"", kReadOnly),
                  descriptor("ipAddress", "INT32", "167772165", kAddress),
                  descriptor("sshEnabled", "INT32", "1", kSwitchChoices)});
    }

    RenderInput input() const { return {state, view, status, now, Charset::unicode}; }
    std::string bar(size_t columns = 80) const { return textOf(renderTitleBar(input(), columns)); }
    std::string notice() const { return textOf(renderFooter(input(), 80).notice); }
    std::string keys() const { return textOf(renderFooter(input(), 80).keys); }
    void edit(const std::string& leaf) {
        type(view, "/" + leaf);
        press(view, KeyCode::enter);
        press(view, KeyCode::enter);
    }

    View view{state, SourceKind::device};
    Status status;
};

TEST_F(StatusLinesTest, TheBarNamesDeviceAndConnection) {
    status.link = Link::connected;
    EXPECT_THAT(bar(), StartsWith(" Quorane · Studio · 4.2 "));
    EXPECT_THAT(bar(), EndsWith(" 127.0.0.1:15000 · connected"));
}

TEST_F(StatusLinesTest, TheBarTellsForHowLongSomethingIsMissing) {
    status.linkSince = 10s;
    now = 22s;
    EXPECT_THAT(bar(), EndsWith("no bus for 12s"));
    status.link = Link::noDevice;
    EXPECT_THAT(bar(), EndsWith("no answer for 12s"));
}

TEST_F(StatusLinesTest, TheConnectionIsWhatANarrowBarKeeps) {
    status.link = Link::connected;
    EXPECT_EQ(bar(35), " Quora 127.0.0.1:15000 · connected");
}

TEST_F(StatusLinesTest, TheBarShowsThatSomethingIsRecorded) {
    status.recordingTo = "out.rec";
    EXPECT_THAT(bar(), HasSubstr(" REC out.rec "));
}

TEST_F(StatusLinesTest, TheBarShowsWhereARecordingIs) {
    status.place = "out.rec";
    status.playing = Playing{62s, 600s, 0.5, false};
    EXPECT_THAT(bar(), EndsWith(" out.rec · 1:02/10:00 x0.5"));
    status.playing->paused = true;
    EXPECT_THAT(bar(), EndsWith(" out.rec · 1:02/10:00 paused"));
    status.playing->at = status.playing->length;
    EXPECT_THAT(bar(), EndsWith(" out.rec · 10:00/10:00 end"));
}

TEST_F(StatusLinesTest, AFilterThatLetsNothingThroughSaysSo) {
    type(view, "fssh");
    EXPECT_EQ(notice(), " only what matches ssh (Esc shows all)");
    type(view, "x");
    EXPECT_EQ(notice(), " nothing matches sshx (Esc shows all)");
    press(view, KeyCode::enter);
    EXPECT_EQ(notice(), " nothing matches sshx (Esc shows all)");
}

TEST_F(StatusLinesTest, EditingSaysWhatFits) {
    edit("ipAddress");
    EXPECT_EQ(notice(), " ipAddress label (INT32): an address such as 10.1.2.3");
    EXPECT_EQ(keys(), " new value: 10.0.0.5");
    press(view, KeyCode::escape);
    edit("sshEnabled");
    EXPECT_EQ(notice(), " sshEnabled label (INT32): one of: Disabled, Enabled (up, down)");
    press(view, KeyCode::escape);
    edit("systemName");
    EXPECT_EQ(notice(), " systemName label (STRING): a text");
}

TEST_F(StatusLinesTest, AProblemTakesThePlaceOfWhatFits) {
    edit("ipAddress");
    type(view, "x");
    press(view, KeyCode::enter);
    EXPECT_THAT(notice(), HasSubstr("must be an address"));
    EXPECT_EQ(keys(), " new value: 10.0.0.5x");
}

TEST_F(StatusLinesTest, TheCursorIsWhereThePersonTypes) {
    edit("systemName");
    EXPECT_EQ(renderFooter(input(), 80).cursor, std::string(" new value: Studio").size());
    press(view, KeyCode::home);
    EXPECT_EQ(renderFooter(input(), 80).cursor, std::string(" new value: ").size());
}

TEST_F(StatusLinesTest, ALongLineIsScrolledToItsCursor) {
    edit("systemName");
    type(view, "abcdefghijklmnopqrstuvwxyz");
    const Footer foot = renderFooter(input(), 10);
    EXPECT_EQ(textOf(foot.keys), "rstuvwxyz");
    EXPECT_EQ(foot.cursor, 9u);
}

TEST_F(StatusLinesTest, TheQuestionNamesBothValues) {
    edit("systemName");
    type(view, "x");
    press(view, KeyCode::enter);
    EXPECT_EQ(notice(), " Set systemName from Studio to Studiox? y/n");
    EXPECT_EQ(keys(), "");
    EXPECT_FALSE(renderFooter(input(), 80).cursor);
}

TEST_F(StatusLinesTest, TheQuestionAboutTheNetworkNamesTheWayBack) {
    edit("ipAddress");
    press(view, KeyCode::backspace);
    type(view, "7");
    press(view, KeyCode::enter);
    EXPECT_EQ(notice(), " Set ipAddress from 10.0.0.5 to 10.0.0.7? y/n");
    EXPECT_EQ(keys(),
              " Takes effect even if it disconnects you; pallctl network --address can roll back");
}

TEST_F(StatusLinesTest, ASetThatTakesLongIsShown) {
    edit("systemName");
    type(view, "x");
    press(view, KeyCode::enter);
    type(view, "y", 10s);
    now = 17s;
    EXPECT_EQ(notice(), " setting systemName to Studiox, 7s");
}

TEST_F(StatusLinesTest, AFilterIsNotForgotten) {
    type(view, "fssh");
    EXPECT_EQ(keys(), " filter: ssh");
    press(view, KeyCode::enter);
    EXPECT_EQ(notice(), " only what matches ssh (Esc shows all)");
}

}  // namespace
}  // namespace pallctl::top
