// `pallctl top` changing the device.

#include "harness/held_program.h"
#include "on_top.h"

using testing::SizeIs;

namespace {

class TopEdit : public OnTop {
  protected:
    TopEdit() : OnTop("QuoraneBrio") { openOnDevice(); }

    static std::string valueOf(const std::string& leaf) { return pallctl({"get", leaf}).output; }
};

TEST_F(TopEdit, SetsAfterTheQuestion) {
    propose("systemName", "Truck");
    EXPECT_THAT(rowsWith("Set systemName from System to Truck? y/n"), SizeIs(1));
    EXPECT_EQ(valueOf("systemName"), "System\n");
    terminal->type("y");
    terminal->waitFor("*systemName               Truck");
    terminal->waitFor("systemName: 200 OK");
    EXPECT_EQ(valueOf("systemName"), "Truck\n");
}

TEST_F(TopEdit, LeavesTheValueAloneWhenTheAnswerIsNo) {
    propose("systemName", "Truck");
    terminal->type("n");
    terminal->waitFor("systemName stays System");
    EXPECT_EQ(valueOf("systemName"), "System\n");
}

TEST_F(TopEdit, OffersTheChoices) {
    edit("quoraneUsersEnabled");
    terminal->waitFor("one of: Disabled, Enabled");
    terminal->press({"Down"});
    terminal->waitFor("new value: Disabled");
    terminal->press({"Enter"});
    terminal->waitFor("Set quoraneUsersEnabled from Enabled to Disabled? y/n");
    terminal->type("y");
    terminal->waitFor("200 OK");
    EXPECT_EQ(valueOf("quoraneUsersEnabled"), "Disabled\n");
}

TEST_F(TopEdit, DoesNotSendWhatDoesNotFit) {
    edit("ipAddress");
    terminal->waitFor("new value: 10.0.0.5");
    terminal->type("x");
    terminal->press({"Enter"});
    terminal->waitFor("must be an address");
    terminal->press({"Escape"});
    edit("version");
    terminal->waitFor("version is read-only");
}

TEST_F(TopEdit, GoesOnWhileASetTakesItsTime) {
    const harness::HeldProgram network(frame, "/vantor/bin/restartNetworking.sh");
    propose("restartNetwork", "Apply");
    terminal->type("y");
    network.waitForCalls(1);
    terminal->waitFor("setting restartNetwork to Apply, ");
    terminal->press({"End"});
    terminal->waitFor("productId");
    EXPECT_THAT(rowsWith("setting restartNetwork to Apply, "), SizeIs(1));
    network.release();
    terminal->waitFor("restartNetwork: 200 OK");
}

TEST_F(TopEdit, SaysThatThereIsNobodyToSet) {
    stopBus();
    terminal->waitFor("no bus for");
    propose("systemName", "Truck");
    terminal->type("y");
    terminal->waitFor("systemName: no bus; nothing was sent");
}

}  // namespace
