// The order of a reaction: what is logged and announced before its command runs, and that nothing
// else is until the command has ended.

#include "harness/held_program.h"
#include "on_product.h"
#include "pallframe/simulation/devices.h"
#include "pallframe/simulation/frame_paths.h"

using namespace harness;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

constexpr const char* kNetworkScript = "/etc/init.d/S40network";

struct Step {
    const char* name;
    const char* product;
    const char* program;  // the command, and the one to hold
    const char* param;
    LogLine before;                  // the last line that is logged before the command
    std::vector<LogLine> after;      // and the first ones behind it
    std::vector<std::string> bus{};  // between the command's end and the answer
};

void PrintTo(const Step& step, std::ostream* out) {
    *out << step.param << " on " << step.product;
}

std::vector<Step> steps() {
    return {
        {"SSH",
         "Tessara",
         "/etc/init.d/S50dropbear",
         R"({"sshEnabled":0})",
         logOfChange("sshEnabled", "0")[1],
         {info("SSH server stopped in Tessara, rv: 0\n")}},
        {"FTP",
         "QuoraneBrio",
         "/usr/local/sbin/systemctl",
         R"({"ftpEnabled":1})",
         logOfChange("ftpEnabled", "1")[1],
         {info("FTP server started in Brio, rv: 0\n")}},
        {"Ambrix",
         "Tessara-5ru",
         "/etc/init.d/S81ambrix",
         R"({"ambrixEnabled":0})",
         debug("disabling ambrix in Tessara...\n"),
         {info("System param Set: system.ambrixEnabled = 0\n")}},
        {"AmbrixOfTheBrio",
         "QuoraneBrio",
         "/usr/local/sbin/pkill",
         R"({"ambrixEnabled":0})",
         debug("disabling ambrix in Quorane Brio...\n"),
         {info("System param Set: system.ambrixEnabled = 0\n")}},
        {"ActivePort",
         "Quorane",
         "/sbin/ifenslave",
         R"({"activeEthernet":1})",
         logOfChange("activeEthernet", "1")[1],
         {info("System param Set: system.activeEthernet = 1\n")}},
        {"RestartNetwork",
         "KELI",
         "/vantor/bin/restartNetworking.sh",
         R"({"restartNetwork":1})",
         logOfChange("restartNetwork", "1")[1],
         {info("System param Set: system.restartNetwork = 0\n")}},
        {"Report",
         "KELI",
         "/vantor/bin/briskel",
         R"({"generateReport":1})",
         logOfChange("generateReport", "1")[1],
         logOfChange("generateReport", "0"),
         {announced(R"({"generateReport":0})")}},
        {"Address",
         "Tessara",
         "/etc/init.d/S80tarnaview",
         R"({"ipAddress":167772166})",
         info("ok\n"),
         {info("System param Set: system.ipAddress = 167772166\n")}},
    };
}

class Order : public OnProduct {
  protected:
    explicit Order(std::string_view name) : OnProduct(name) {}

    void startSilently() {
        silencePoll();
        startAndSettle();
    }

    // What has left the daemon before its command, not with the end of the next poll, which would
    // take whatever still waits along.
    std::string sentAlready() {
        return withoutId(bus.receive(Deadline(std::chrono::milliseconds(200))));
    }

    void expectNothingMore() {
        EXPECT_THROW(bus.receive(Deadline(std::chrono::milliseconds(0))), TimedOut);
    }
};

class OrderOfReactions : public Order, public testing::WithParamInterface<Step> {
  protected:
    OrderOfReactions() : Order(GetParam().product) {}
};

INSTANTIATE_TEST_SUITE_P(All, OrderOfReactions, testing::ValuesIn(steps()),
                         [](const auto& one) { return std::string(one.param.name); });

TEST_P(OrderOfReactions, LogLineThenAnnouncementThenCommandThenAnswer) {
    const Step& step = GetParam();
    startSilently();
    const HeldProgram command(frame, step.program);
    set(step.param);
    command.waitForCalls(1);
    EXPECT_EQ(sentAlready(), announced(step.param));
    expectNothingMore();
    const std::vector<LogLine> before = newLog();
    EXPECT_EQ(before.back(), step.before);
    command.release();
    command.release();  // for a reaction that calls it twice
    EXPECT_THAT(sentUntilNow(), ElementsAreArray(joined(step.bus, {answered(200, "OK")})));
    const std::vector<LogLine> all = newLog();
    ASSERT_GE(all.size(), before.size() + step.after.size());
    const auto behind = all.begin() + static_cast<ptrdiff_t>(before.size());
    EXPECT_THAT(std::vector(behind, behind + static_cast<ptrdiff_t>(step.after.size())),
                ElementsAreArray(step.after));
}

class OrderOnABrio : public Order {
  protected:
    OrderOnABrio() : Order("QuoraneBrio") {}
};

TEST_F(OrderOnABrio, TheSettingsAreInTheirFileBeforeTheNetworkRestarts) {
    startSilently();
    const HeldProgram restart(frame, kNetworkScript);
    set(R"({"ipAddress":167772166})");
    restart.waitForCalls(1);
    EXPECT_EQ(frame.read(pallframe::simulation::paths::kNetwork),
              "USE_DHCP=0\nIPADDR=10.0.0.6\nNETMASK=255.255.255.0\nGATEWAY=10.0.0.1\n");
    EXPECT_THAT(newCommands(), IsEmpty()) << "the others wait for it";
    restart.release();
    waitForNewCommands(3);
}

TEST_F(OrderOnABrio, EachMemberIsThroughBeforeTheNextOne) {
    startSilently();
    const HeldProgram restart(frame, "/vantor/bin/restartNetworking.sh");
    set(R"({"systemName":"Studio","restartNetwork":1,"quoraneUsersEnabled":0})");
    restart.waitForCalls(1);
    EXPECT_EQ(withoutId(bus.receive()), announced(R"({"systemName":"Studio"})"));
    EXPECT_EQ(withoutId(bus.receive()), answered(200, "OK"));
    EXPECT_EQ(withoutId(bus.receive()), announced(R"({"restartNetwork":1})"));
    expectNothingMore();
    EXPECT_THAT(frame.read(kStateFile), HasSubstr("\"Studio\""));
    restart.release();
    EXPECT_THAT(sentUntilNow(),
                ElementsAre(answered(200, "OK"), announced(R"({"quoraneUsersEnabled":0})"),
                            answered(200, "OK")));
}

TEST_F(OrderOnABrio, RequestsWaitForTheCommandThatRuns) {
    startSilently();
    const HeldProgram report(frame, "/vantor/bin/briskel");
    set(R"({"generateReport":1})");
    report.waitForCalls(1);
    bus.get("system", R"({"id":"2@5","param":{"objectName":["systemName"]}})");
    EXPECT_EQ(withoutId(bus.receive()), announced(R"({"generateReport":1})"));
    expectNothingMore();
    report.release();
    EXPECT_EQ(withoutId(bus.receive()), announced(R"({"generateReport":0})"));
    EXPECT_EQ(withoutId(bus.receive()), answered(200, "OK"));
    EXPECT_EQ(bus.receive().id(), "2@5");
}

class OrderBesideThePoll : public Order {
  protected:
    OrderBesideThePoll() : Order("KELI") {}

    // Of the poll that comes next, or the one behind it.
    void waitForAPoll() {
        pallframe::simulation::setCable(frame.tree(), "eth1", cable_ = !cable_);
        waitForAnnouncement("ethPort2Status", cable_ ? "2" : "0");
    }

  private:
    bool cable_ = true;
};

TEST_F(OrderBesideThePoll, ThePollGoesOnWhileACommandRuns) {
    startAndSettle();
    waitForAnnouncement("ethPort2Status", "2");
    const HeldProgram report(frame, "/vantor/bin/briskel");
    set(R"({"generateReport":1})");
    waitForAnnouncement("generateReport", "1");
    waitForAPoll();
    EXPECT_EQ(report.ended(), 0U);
    report.release();
    waitForAnnouncement("generateReport", "0");
}

// The poll leaves the file alone only until the set has written it: neither is lost.
TEST_F(OrderBesideThePoll, AnEditOfTheFileIsPublishedWhileTheNetworkRestartsForASet) {
    startAndSettle();
    waitForAnnouncement("ethPort2Status", "2");
    const HeldProgram restart(frame, kNetworkScript);
    mark();
    set(R"({"ipAddress":167772166})");
    restart.waitForCalls(1);
    frame.write(pallframe::simulation::paths::kNetwork,
                "IPADDR=10.0.0.7\nNETMASK=255.255.0.0\nGATEWAY=10.0.0.1\n");
    EXPECT_EQ(withoutId(bus.receive()), announced(R"({"ipAddress":167772166})"));
    waitForAnnouncement("ipAddress", "167772167");
    waitForAnnouncement("netmask", "4294901760");
    EXPECT_EQ(restart.ended(), 0U);
    restart.release();
    bus.waitFor("RSP", "system");
    EXPECT_EQ(frame.read(pallframe::simulation::paths::kNetwork),
              "IPADDR=10.0.0.7\nNETMASK=255.255.0.0\nGATEWAY=10.0.0.1\n");
    EXPECT_THAT(newCommands(),
                ElementsAre("/etc/init.d/S53slpreg", "/etc/init.d/S54openslp restart",
                            "/etc/init.d/S80tarnaview restart"));
}

}  // namespace
