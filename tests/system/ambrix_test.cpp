// Ambrix shuts itself off and marks itself as disabled; the poll finds the marker.

#include "harness/file_version.h"
#include "harness/held_program.h"
#include "on_product.h"
#include "pallframe/simulation/devices.h"
#include "pallframe/simulation/frame_paths.h"

using namespace harness;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::UnorderedElementsAreArray;
namespace paths = pallframe::simulation::paths;

namespace {

// What an edition says and runs to stop Ambrix, and to start it.
struct Edition {
    const char* product;
    LogLine stops;
    std::vector<std::string> stop;
    std::vector<std::string> start;
};

void PrintTo(const Edition& edition, std::ostream* out) {
    *out << edition.product;
}

std::vector<Edition> editions() {
    return {{"QuoraneBrio",
             debug("disabling ambrix in Quorane Brio...\n"),
             {"pkill ambrixsrvtst", "pkill brio-ambrix-shu"},
             {"/vantor/bin/ambrixsrvlaunch.sh", "/vantor/bin/brio-ambrix-shutoff.sh"}},
            {"Tessara",
             debug("disabling ambrix in Tessara...\n"),
             {"/etc/init.d/S81ambrix stop", "pkill -f '/bin/sh /vantor/bin/ambrix-shutoff.sh'"},
             {"/etc/init.d/S81ambrix start", "/vantor/bin/ambrix-shutoff.sh"}}};
}

constexpr const char* kKill = "/usr/local/sbin/pkill";
const LogLine kFindsNothing = error("Error stopping Ambrix - Success");

class Ambrix : public OnProduct, public testing::WithParamInterface<Edition> {
  protected:
    Ambrix() : OnProduct(GetParam().product) { silencePoll(); }

    void markDisabled() const { frame.write(kAmbrixMarker, ""); }

    const Edition& edition = GetParam();
};

INSTANTIATE_TEST_SUITE_P(On, Ambrix, testing::ValuesIn(editions()),
                         [](const auto& one) { return identifierOf(one.param.product); });

// Stopped once for the marker, and once as the parameter's change is carried out.
TEST_P(Ambrix, ThatShutItselfOffIsStoppedAndShownAsOff) {
    startAndSettle();
    const FileVersion state = versionOf(kStateFile);
    markDisabled();
    waitForAnnouncement("ambrixEnabled", "0");
    EXPECT_THAT(waitForNewCommands(4), ElementsAreArray(joined(edition.stop, edition.stop)));
    EXPECT_EQ(log.waitFor(kFindsNothing.text), kFindsNothing) << "once at the start";
    EXPECT_EQ(log.waitFor(kFindsNothing.text), kFindsNothing);
    EXPECT_THAT(newLog(),
                ElementsAreArray(joined(joined({edition.stops}, logOfChange("ambrixEnabled", "0")),
                                        {edition.stops, kFindsNothing})));
    EXPECT_EQ(versionOf(kStateFile), state) << "what was saved is what was asked for";
}

// It is started as asked, and the next poll stops it.
TEST_P(Ambrix, ThatIsSwitchedOnWhileItIsMarkedDoesNotLast) {
    markDisabled();
    startAndSettle();
    set(R"({"ambrixEnabled":1})");
    waitForAnnouncement("ambrixEnabled", "1");
    waitForAnnouncement("ambrixEnabled", "0");
    const size_t count = 3 * edition.stop.size() + edition.start.size();
    EXPECT_THAT(waitForNewCommands(count),
                UnorderedElementsAreArray(joined(joined(edition.stop, edition.start),
                                                 joined(edition.stop, edition.stop))));
}

// That it was started once is not forgotten by switching it off.
TEST_P(Ambrix, ThatWasSwitchedOffIsStoppedAgainAndNothingIsAnnounced) {
    startAndSettle();
    set(R"({"ambrixEnabled":0})");
    EXPECT_THAT(sentUntilNow(),
                ElementsAreArray({announced(R"({"ambrixEnabled":0})"), answered(200, "OK")}));
    mark();
    markDisabled();
    EXPECT_THAT(waitForNewCommands(2), ElementsAreArray(edition.stop));
    log.waitFor(kFindsNothing.text);
    log.waitFor(kFindsNothing.text);
    EXPECT_THAT(newLog(), testing::ElementsAre(edition.stops, kFindsNothing));
    EXPECT_THAT(sentUntilNow(), IsEmpty());
}

class AmbrixThatNeverRan : public OnProduct {
  protected:
    AmbrixThatNeverRan() : OnProduct("KELI") { hide(paths::kRegisters); }
};

TEST_F(AmbrixThatNeverRan, IsLeftAlone) {
    frame.write(kAmbrixMarker, "");
    startAndSettle();
    waitForAnnouncement("ethPort2Status", "2");
    pallframe::simulation::setCable(frame.tree(), "eth1", false);
    waitForAnnouncement("ethPort2Status", "0");
    EXPECT_THAT(newCommands(), IsEmpty());
}

class AmbrixOnABrio : public OnProduct {
  protected:
    AmbrixOnABrio() : OnProduct("QuoraneBrio") {}

    // Sees a poll come and go, with nothing else on the bus.
    void waitForAPoll() {
        set(R"({"ambrixEnabled":1})");
        for (const std::string& message : {announced(R"({"ambrixEnabled":1})"), answered(200, "OK"),
                                           announced(R"({"ambrixEnabled":0})")}) {
            EXPECT_EQ(withoutId(nextButHeartbeats()), message);
        }
    }

    BusMessage nextButHeartbeats() {
        const BusMessage message = bus.receive();
        return message.objectName.empty() ? nextButHeartbeats() : message;
    }
};

// The poll is held in the midst of its stopping, and a set is through before it goes on: the next
// poll sees to that one.
TEST_F(AmbrixOnABrio, ThatIsSwitchedOnWhileThePollStopsItIsStoppedAgain) {
    startAndSettle();
    const HeldProgram kill(frame, kKill);
    frame.write(kAmbrixMarker, "");
    kill.waitForCalls(1);
    kill.release();
    kill.release();
    kill.waitForCalls(3);
    EXPECT_EQ(withoutId(bus.receive()), announced(R"({"ambrixEnabled":0})"));
    frame.writeProgram(kKill, "#!/bin/sh\nexit 1\n");
    set(R"({"ambrixEnabled":1})");
    EXPECT_THAT(sentUntilNow(),
                testing::ElementsAre(announced(R"({"ambrixEnabled":1})"), answered(200, "OK")));
    kill.release();
    waitForAnnouncement("ambrixEnabled", "0");
}

TEST_F(AmbrixOnABrio, IsAllThatThePollLooksAt) {
    frame.write(kAmbrixMarker, "");
    frame.write(paths::kBondCopy, frame.read(paths::kBond));
    frame.write(paths::kDetection, "Frame Type: 2\n");
    frame.write(paths::kRegisters, std::string(512, '7'));
    startAndSettle();
    pallframe::simulation::setCable(frame.tree(), "eth0", false);
    frame.write(paths::kNetwork, "IPADDR=10.0.0.7\n");
    waitForAPoll();
    waitForAPoll();
    EXPECT_EQ(valueOf("ethPort2Status"), "0");
    EXPECT_EQ(valueOf("ipAddress"), "167772165");
    EXPECT_EQ(valueOf("battVoltage"), "-1");
    EXPECT_EQ(valueOf("psu1Voltage"), "0");
    EXPECT_THAT(frame.commands(), testing::Each(testing::Not(testing::HasSubstr("devmem"))));
    EXPECT_EQ(daemon->error().text(), "");
}

}  // namespace
