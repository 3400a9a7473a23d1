#include <gmock/gmock.h>

#include "client/known_parameters.h"
#include "messages.h"
#include "pallctl/top/view.h"

namespace pallctl::top {
namespace {

using namespace std::chrono_literals;
using testing::AllOf;
using testing::HasSubstr;

class EditTest : public DeviceStateFixture {
  protected:
    EditTest() {
        describe({descriptor("systemName", "STRING", "\"Studio\""),
                  descriptor("version", "STRING", "\"4.2\"", kReadOnly),
                  descriptor("ipAddress", "INT32", "167772165", kAddress),
                  descriptor("sshEnabled", "INT32", "1", kSwitchChoices)});
    }

    // Begins to edit the parameter with that name.
    void edit(const std::string& leaf) {
        type(view, "/" + leaf);
        press(view, KeyCode::enter);
        press(view, KeyCode::enter);
    }
    void propose(const std::string& leaf, const std::string& text) {
        edit(leaf);
        press(view, KeyCode::clearLine);
        type(view, text);
        press(view, KeyCode::enter);
    }

    View view{state, SourceKind::device};
};

TEST_F(EditTest, BeginsWithThePresentValue) {
    edit("ipAddress");
    EXPECT_EQ(view.mode(), Mode::edit);
    EXPECT_EQ(view.line().text(), "10.0.0.5");
    press(view, KeyCode::escape);
    EXPECT_EQ(view.mode(), Mode::browse);
}

TEST_F(EditTest, BeginsEmptyWhenTheValueIsNotTold) {
    client::describeKnownParameters(client::DevicePath("system"), state.cache());
    edit("netmask");
    EXPECT_EQ(view.line().text(), "");
    type(view, "255.0.0.0");
    press(view, KeyCode::enter);
    EXPECT_EQ(view.change().from, "-");
    EXPECT_EQ(view.change().to, "255.0.0.0");
}

TEST_F(EditTest, AsksBeforeItSets) {
    propose("ipAddress", "10.0.0.6");
    EXPECT_EQ(view.mode(), Mode::confirm);
    EXPECT_EQ(view.change().from, "10.0.0.5");
    EXPECT_EQ(view.change().to, "10.0.0.6");
    EXPECT_EQ(type(view, "y", 3s), Request::set);
    const Change change = view.takeChange();
    EXPECT_EQ(change.leaf, "ipAddress");
    EXPECT_EQ(change.value->valuedouble, 167772166);
    ASSERT_TRUE(view.waiting());
    EXPECT_EQ(view.waiting()->since, Moment(3s));
}

TEST_F(EditTest, NoAndEscapeLeaveTheValueAlone) {
    for (const Key& key : {Key{KeyCode::character, "n"}, Key{KeyCode::escape, ""}}) {
        propose("systemName", "Truck");
        EXPECT_EQ(view.press(key, 0s), Request::none);
        EXPECT_EQ(view.mode(), Mode::browse);
        EXPECT_FALSE(view.waiting());
        EXPECT_EQ(view.notice().text, "systemName stays Studio");
    }
}

TEST_F(EditTest, NothingButYesAndNoAnswersTheQuestion) {
    propose("systemName", "Truck");
    EXPECT_EQ(type(view, "qx "), Request::none);
    EXPECT_EQ(press(view, KeyCode::enter), Request::none);
    EXPECT_EQ(view.mode(), Mode::confirm);
}

TEST_F(EditTest, AValueThatDoesNotFitIsNotAskedAbout) {
    propose("ipAddress", "10.0.0.256");
    EXPECT_EQ(view.mode(), Mode::edit);
    EXPECT_THAT(view.notice().text, HasSubstr("must be an address"));
    EXPECT_EQ(view.notice().style, Style::bad);
    EXPECT_EQ(view.line().text(), "10.0.0.256") << "to be corrected";
}

TEST_F(EditTest, TheValueThatItHasIsNotSetAgain) {
    propose("ipAddress", "10.0.0.5");
    EXPECT_EQ(view.mode(), Mode::browse);
    EXPECT_EQ(view.notice().text, "ipAddress is 10.0.0.5 already");
}

TEST_F(EditTest, OfAStructureOnlyTheMembersThatDifferAreSet) {
    describe({descriptor("serial0", "STRUCT",
                         R"({"_d_name":{"name":"Name","type":"STRING","value":"COM1"},)"
                         R"("_d_place":{"name":"Place","type":"STRING","value":"Node 1"}})")});
    edit("serial0");
    EXPECT_EQ(view.line().text(), "name=COM1, place=Node 1");
    press(view, KeyCode::backspace);
    type(view, "7");
    press(view, KeyCode::enter);
    EXPECT_EQ(view.change().from, "name=COM1, place=Node 1");
    EXPECT_EQ(view.change().to, "place=Node 7");
    type(view, "y");
    EXPECT_EQ(util::renderJSON(view.takeChange().value.get(), false),
              R"({"_d_place":{"type":"STRING","value":"Node 7"}})");
}

TEST_F(EditTest, ChoicesAreGoneThrough) {
    edit("sshEnabled");
    EXPECT_EQ(view.line().text(), "Enabled");
    press(view, KeyCode::down);
    EXPECT_EQ(view.line().text(), "Disabled");
    press(view, KeyCode::down);
    EXPECT_EQ(view.line().text(), "Enabled");
    press(view, KeyCode::up);
    EXPECT_EQ(view.line().text(), "Disabled");
    press(view, KeyCode::enter);
    type(view, "y");
    EXPECT_EQ(view.takeChange().value->valuedouble, 0);
}

TEST_F(EditTest, ReadOnlyParametersAreNotEdited) {
    edit("version");
    EXPECT_EQ(view.mode(), Mode::browse);
    EXPECT_EQ(view.notice().text, "version is read-only");
}

TEST_F(EditTest, ARecordingIsNotEdited) {
    View played(state, SourceKind::recording);
    press(played, KeyCode::enter);
    EXPECT_EQ(played.mode(), Mode::browse);
    EXPECT_EQ(played.notice().text, "a recording cannot be changed");
}

TEST_F(EditTest, StaysWithItsParameterWhenTheFilterLosesIt) {
    type(view, "fStudio");
    press(view, KeyCode::enter);
    press(view, KeyCode::enter);
    announce(R"("systemName":"Truck")");
    press(view, KeyCode::clearLine);
    type(view, "Van");
    press(view, KeyCode::enter);
    EXPECT_EQ(view.change().leaf, "systemName");
    EXPECT_EQ(view.change().from, "Truck");
}

TEST_F(EditTest, OneSetAfterTheOther) {
    propose("systemName", "Truck");
    type(view, "y");
    edit("ipAddress");
    EXPECT_EQ(view.mode(), Mode::browse);
    EXPECT_THAT(view.notice().text, HasSubstr("still waiting for the answer to systemName"));
    view.showSetResult({SetResult::Kind::answered, 200});
    edit("ipAddress");
    EXPECT_EQ(view.mode(), Mode::edit);
}

struct OutcomeRow {
    SetResult result;
    const char* text;
    Style style;
};

TEST_F(EditTest, TellsHowASetWent) {
    using Kind = SetResult::Kind;
    const OutcomeRow rows[] = {
        {{Kind::answered, 200}, "systemName: 200 OK", Style::good},
        {{Kind::answered, 400}, "systemName: 400 Bad Request", Style::bad},
        {{Kind::answered, 404}, "systemName: 404 Not Found", Style::bad},
        {{Kind::noAnswer, 0}, "systemName: no answer; it may still be carried out", Style::bad},
        {{Kind::connectionLost, 0},
         "systemName: connection lost; it may still be carried out",
         Style::bad},
        {{Kind::notConnected, 0}, "systemName: no bus; nothing was sent", Style::bad},
    };
    for (const OutcomeRow& row : rows) {
        propose("systemName", "Truck");
        type(view, "y");
        view.showSetResult(row.result);
        EXPECT_EQ(view.notice().text, row.text);
        EXPECT_EQ(view.notice().style, row.style) << row.text;
        EXPECT_FALSE(view.waiting());
    }
}

}  // namespace
}  // namespace pallctl::top
