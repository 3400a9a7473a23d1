#include "pallctl/top/view.h"

#include <gmock/gmock.h>

#include "messages.h"

namespace pallctl::top {
namespace {

using testing::HasSubstr;

// Three groups: two, one and two parameters.
class ViewTest : public DeviceStateFixture {
  protected:
    ViewTest() {
        describe({descriptor("frameName", "STRING", "\"Quorane\""),
                  descriptor("systemName", "STRING", "\"Studio\""),
                  descriptor("ipAddress", "INT32", "167772165", kAddress),
                  descriptor("sshEnabled", "INT32", "1", kSwitchChoices),
                  descriptor("ftpEnabled", "INT32", "0", kSwitchChoices)});
    }

    std::string selected() const {
        return view.selected() ? state.leafName(*view.selected()) : "nothing";
    }

    View view{state, SourceKind::device};
};

TEST_F(ViewTest, BeginsAtTheTop) {
    EXPECT_EQ(selected(), "frameName");
}

TEST_F(ViewTest, AnEmptyTableHasNothingToSelect) {
    DeviceState empty;
    View nowhere(empty, SourceKind::device);
    for (const KeyCode code : {KeyCode::down, KeyCode::end, KeyCode::pageUp, KeyCode::enter}) {
        EXPECT_EQ(press(nowhere, code), Request::none);
    }
    EXPECT_EQ(nowhere.selected(), nullptr);
    EXPECT_EQ(nowhere.mode(), Mode::browse);
}

TEST_F(ViewTest, MovesByRowPageAndEndAndStopsThere) {
    press(view, KeyCode::down);
    EXPECT_EQ(selected(), "systemName");
    type(view, "j");
    EXPECT_EQ(selected(), "ipAddress");
    type(view, "k");
    press(view, KeyCode::up);
    press(view, KeyCode::up);
    EXPECT_EQ(selected(), "frameName");
    view.setPage(3);
    press(view, KeyCode::pageDown);
    EXPECT_EQ(selected(), "sshEnabled");
    press(view, KeyCode::pageDown);
    EXPECT_EQ(selected(), "ftpEnabled");
    press(view, KeyCode::pageUp);
    EXPECT_EQ(selected(), "systemName");
    press(view, KeyCode::end);
    EXPECT_EQ(selected(), "ftpEnabled");
    type(view, "g");
    EXPECT_EQ(selected(), "frameName");
}

TEST_F(ViewTest, StaysOnAParameterWhenOthersAppearBeforeIt) {
    press(view, KeyCode::end);
    describe({descriptor("netmask", "INT32", "1")});
    EXPECT_EQ(selected(), "ftpEnabled");
}

TEST_F(ViewTest, SearchesWhileTyping) {
    type(view, "/enab");
    EXPECT_EQ(view.mode(), Mode::search);
    EXPECT_EQ(selected(), "sshEnabled");
    press(view, KeyCode::enter);
    EXPECT_EQ(view.mode(), Mode::browse);
    EXPECT_EQ(selected(), "sshEnabled");
}

TEST_F(ViewTest, GoesToTheNextMatchAndRoundAgain) {
    type(view, "/Enabled label");
    press(view, KeyCode::enter);
    type(view, "n");
    EXPECT_EQ(selected(), "ftpEnabled");
    type(view, "n");
    EXPECT_EQ(selected(), "sshEnabled");
    type(view, "N");
    EXPECT_EQ(selected(), "ftpEnabled");
}

TEST_F(ViewTest, AnAbandonedSearchGoesBackToWhereItBegan) {
    press(view, KeyCode::down);
    type(view, "/ssh");
    press(view, KeyCode::escape);
    EXPECT_EQ(selected(), "systemName");
    EXPECT_EQ(view.mode(), Mode::browse);
}

TEST_F(ViewTest, SaysWhenNothingMatches) {
    type(view, "/sshx");
    EXPECT_THAT(view.notice().text, HasSubstr("nothing matches sshx"));
    EXPECT_EQ(selected(), "frameName");
    press(view, KeyCode::backspace);
    EXPECT_EQ(view.notice().text, "");
    EXPECT_EQ(selected(), "sshEnabled");
    type(view, "y");
    press(view, KeyCode::enter);
    EXPECT_THAT(view.notice().text, HasSubstr("nothing matches sshy")) << "not only while typing";
}

TEST_F(ViewTest, SaysThatThereIsNothingToSearchForYet) {
    type(view, "n");
    EXPECT_THAT(view.notice().text, HasSubstr("type / and a text"));
}

TEST_F(ViewTest, AFilterHidesWhatDoesNotMatch) {
    type(view, "fenabled");
    EXPECT_EQ(view.mode(), Mode::filter);
    press(view, KeyCode::enter);
    EXPECT_EQ(view.filter(), "enabled");
    ASSERT_EQ(view.sections().size(), 1u);
    EXPECT_EQ(selected(), "sshEnabled");
    press(view, KeyCode::down);
    press(view, KeyCode::down);
    EXPECT_EQ(selected(), "ftpEnabled");
    press(view, KeyCode::escape);
    EXPECT_EQ(view.sections().size(), 3u);
    EXPECT_EQ(selected(), "ftpEnabled");
}

TEST_F(ViewTest, AnAbandonedFilterShowsEverything) {
    type(view, "fenabled");
    press(view, KeyCode::escape);
    EXPECT_EQ(view.filter(), "");
}

TEST_F(ViewTest, HelpGoesWithAnyKeyWhichDoesNothingElse) {
    type(view, "?");
    EXPECT_EQ(view.mode(), Mode::help);
    EXPECT_EQ(type(view, "q"), Request::none);
    EXPECT_EQ(view.mode(), Mode::browse);
}

TEST_F(ViewTest, LeavesToOthersWhatItCannotDo) {
    EXPECT_EQ(type(view, "q"), Request::quit);
    EXPECT_EQ(type(view, "r"), Request::record);
    EXPECT_EQ(press(view, KeyCode::redraw), Request::redraw);
    EXPECT_EQ(type(view, " "), Request::none) << "nothing is being played";
}

TEST_F(ViewTest, ARecordingIsPausedSoughtAndSpedUp) {
    View played(state, SourceKind::recording);
    EXPECT_EQ(type(played, " "), Request::pause);
    EXPECT_EQ(type(played, "+"), Request::faster);
    EXPECT_EQ(type(played, "-"), Request::slower);
    EXPECT_EQ(type(played, "0"), Request::begin);
    EXPECT_EQ(press(played, KeyCode::left), Request::back);
    EXPECT_EQ(press(played, KeyCode::right), Request::forward);
    EXPECT_EQ(type(played, "r"), Request::none) << "it is recorded already";
}

TEST_F(ViewTest, ANoticeGoesWithTheNextKey) {
    view.say({"something", Style::plain});
    EXPECT_EQ(view.notice().text, "something");
    press(view, KeyCode::down);
    EXPECT_EQ(view.notice().text, "");
}

}  // namespace
}  // namespace pallctl::top
