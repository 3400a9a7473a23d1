// What the start runs, on each product: as the markers or the saved switches say.

#include <array>

#include "on_product.h"
#include "pallframe/simulation/frame_paths.h"

using namespace harness;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::UnorderedElementsAreArray;

namespace {

// The three switches, in the order the start comes to them.
using Switches = std::array<bool, 3>;

constexpr std::array<const char*, 3> kMarkers{kSSHMarker, kFTPMarker, kAmbrixMarker};
constexpr std::array<const char*, 3> kKeys{"sshEnabled", "ftpEnabled", "ambrixEnabled"};

using Commands = std::vector<std::string>;

// What an edition's start runs for a switch that is off or on; Ambrix is started in the background.
struct Edition {
    std::array<std::array<Commands, 2>, 2> services;
    Commands stopAmbrix;
    Commands startAmbrix;
};

const Edition kBrio{{{{{{"sudo systemctl stop ssh", "systemctl stop ssh"},
                        {"sudo systemctl start ssh", "systemctl start ssh"}}},
                      {{{"sudo systemctl stop vsftpd", "systemctl stop vsftpd"},
                        {"sudo systemctl start vsftpd", "systemctl start vsftpd"}}}}},
                    {"pkill ambrixsrvtst", "pkill brio-ambrix-shu"},
                    {"/vantor/bin/ambrixsrvlaunch.sh", "/vantor/bin/brio-ambrix-shutoff.sh"}};

const Edition kTessara{
    {{{{{"/etc/init.d/S50dropbear stop"}, {"/etc/init.d/S50dropbear restart"}}},
      {{{"/etc/init.d/S56tcpsvd stop"}, {"/etc/init.d/S56tcpsvd restart"}}}}},
    {"/etc/init.d/S81ambrix stop", "pkill -f '/bin/sh /vantor/bin/ambrix-shutoff.sh'"},
    {"/etc/init.d/S81ambrix start", "/vantor/bin/ambrix-shutoff.sh"}};

std::vector<LogLine> logOfBrio(const Switches& on) {
    std::vector<LogLine> lines{
        info(on[0] ? "SSH server started in Brio, rv: 0\n" : "SSH server stopped in Brio, rv: 0\n"),
        info(on[1] ? "FTP server started in Brio, rv: 0\n" : "FTP server stopped in Brio, rv: 0\n"),
        debug("disabling ambrix in Quorane Brio...\n"), error("Error stopping Ambrix - Success")};
    return on[2] ? joined(lines, {debug("enabling ambrix in Quorane Brio...\n")}) : lines;
}

std::vector<LogLine> logOfTessara(const Switches& on) {
    std::vector<LogLine> lines{info(on[0] ? "SSH server restarted in Tessara, rv: 0\n"
                                          : "SSH server stopped in Tessara, rv: 0\n"),
                               info(on[1] ? "FTP server restarted in Tessara, rv: 0\n"
                                          : "FTP server stopped in Tessara, rv: 0\n"),
                               debug("disabling ambrix in Tessara...\n"),
                               error("Error stopping Ambrix - Success")};
    return on[2] ? joined(lines, {debug("enabling ambrix in Tessara...\n")}) : lines;
}

bool isOfServices(const LogLine& line) {
    for (const char* part : {"SSH", "FTP", "mbrix"}) {
        if (line.text.find(part) != std::string::npos) {
            return true;
        }
    }
    return false;
}

// Services are not running before, and nothing else is run or logged about them.
class ServicesAtStart : public OnProduct, public testing::WithParamInterface<const char*> {
  protected:
    ServicesAtStart() : OnProduct(GetParam()), edition(onBrio(product) ? kBrio : kTessara) {
        silencePoll();
    }

    void markDisabled(const Switches& on) const {
        for (size_t i = 0; i < on.size(); ++i) {
            if (on[i]) {
                frame.remove(kMarkers[i]);
            } else {
                frame.write(kMarkers[i], "");
            }
        }
    }

    // Starts the daemon; what it does about the services has to make them so.
    void expectStart(const Switches& on) {
        const size_t linesBefore = log.linesUntilNow().size();
        const Commands commandsBefore = newCommands();
        start();
        expectCommands(on, commandsBefore.size());
        std::vector<LogLine> lines = log.linesUntilNow();
        lines.erase(lines.begin(), lines.begin() + static_cast<ptrdiff_t>(linesBefore));
        std::erase_if(lines, [](const LogLine& line) { return !isOfServices(line); });
        EXPECT_THAT(lines, ElementsAreArray(onBrio(product) ? logOfBrio(on) : logOfTessara(on)));
    }

    void expectCommands(const Switches& on, size_t before) const {
        Commands inOrder = edition.services[0][on[0]];
        inOrder = joined(joined(inOrder, edition.services[1][on[1]]), edition.stopAmbrix);
        const Commands background = on[2] ? edition.startAmbrix : Commands();
        Commands all = waitForNewCommands(before + inOrder.size() + background.size());
        all.erase(all.begin(), all.begin() + static_cast<ptrdiff_t>(before));
        ASSERT_EQ(all.size(), inOrder.size() + background.size()) << testing::PrintToString(all);
        const auto split = all.begin() + static_cast<ptrdiff_t>(inOrder.size());
        EXPECT_THAT(Commands(all.begin(), split), ElementsAreArray(inOrder));
        EXPECT_THAT(Commands(split, all.end()), UnorderedElementsAreArray(background));
        if (on[2]) {
            waitForAmbrix();
        }
    }

    void expectValues(const std::array<const char*, 3>& values) {
        for (size_t i = 0; i < kKeys.size(); ++i) {
            EXPECT_EQ(valueOf(kKeys[i]), values[i]) << kKeys[i];
        }
    }

    // As if the frame had been switched off and on again.
    void forgetServices() const {
        std::filesystem::remove_all(pallframe::simulation::paths::kServices);
    }

    const Edition& edition;
};

INSTANTIATE_TEST_SUITE_P(On, ServicesAtStart, testing::ValuesIn(kProducts),
                         [](const auto& one) { return identifierOf(one.param); });

TEST_P(ServicesAtStart, AreStartedWhereNothingIsMarked) {
    expectStart({true, true, true});
    expectValues({"1", "1", "1"});
}

TEST_P(ServicesAtStart, AreStoppedWhereTheyAreMarked) {
    markDisabled({false, true, true});
    expectStart({false, true, true});
    expectValues({"0", "1", "1"});
    stop();
    markDisabled({true, false, false});
    forgetServices();
    expectStart({true, false, false});
    expectValues({"1", "0", "0"});
}

TEST_P(ServicesAtStart, AreWhatWasSavedWhateverIsMarked) {
    markDisabled({true, false, true});
    expectStart({true, false, true});
    set(R"({"sshEnabled":0,"ftpEnabled":1,"ambrixEnabled":0})");
    sentUntilNow();
    stop();
    markDisabled({true, false, true});
    expectStart({false, true, false});
    expectValues({"0", "1", "0"});
    set(R"({"ambrixEnabled":2})");
    sentUntilNow();
    stop();
    waitForAmbrix();
    forgetServices();
    markDisabled({false, false, true});
    expectStart({false, true, true});
    expectValues({"0", "1", "2"});
}

// What only a damaged file brings: SSH and FTP run and show what is marked, Ambrix does not and
// shows nothing until it is set.
TEST_P(ServicesAtStart, AreSafeWhereTheFileHoldsNoNumber) {
    frame.write(kStateFile, R"({"version":1,"systemState":{"devices":[{"type":"device","slot":0,
        "params":{
          "a":{"oid":"system.sshEnabled","name":"SSH Server","type":"STRING","value":"0"},
          "b":{"oid":"system.ftpEnabled","name":"FTP Server","type":"INT32"},
          "c":{"oid":"system.ambrixEnabled","name":"Ambrix","type":"INT32"}}}]}})");
    markDisabled({true, false, true});
    expectStart({true, true, false});
    expectValues({"1", "0", "null"});
    const Commands before = newCommands();
    set(R"({"ambrixEnabled":1})");
    EXPECT_THAT(sentUntilNow(),
                testing::ElementsAre(announced(R"({"ambrixEnabled":1})"), answered(200, "OK")));
    const Commands all = waitForNewCommands(before.size() + 4);
    EXPECT_THAT(Commands(all.begin() + static_cast<ptrdiff_t>(before.size()), all.end()),
                UnorderedElementsAreArray(joined(edition.stopAmbrix, edition.startAmbrix)));
}

class SavedCommands : public OnProduct {
  protected:
    SavedCommands() : OnProduct("Quorane") { silencePoll(); }
};

// They are saved like the switches, but describe a moment.
TEST_F(SavedCommands, AreNotCarriedOutAgain) {
    startAndSettle();
    set(R"({"activeEthernet":1,"restartNetwork":0,"generateReport":0})");
    sentUntilNow();
    stop();
    EXPECT_THAT(frame.read(kStateFile), testing::HasSubstr("system.activeEthernet"));
    mark();
    start();
    EXPECT_EQ(valueOf("activeEthernet"), "0");
    const Commands commands = newCommands();
    EXPECT_THAT(commands, testing::Each(testing::Not(testing::HasSubstr("ifenslave"))));
    EXPECT_THAT(commands, testing::Each(testing::Not(testing::HasSubstr("/vantor/bin/briskel"))));
}

}  // namespace
