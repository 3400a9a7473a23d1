// A session with the real daemon, recorded by the simulated bus and played to another daemon.

#include <signal.h>

#include "harness/deadline.h"
#include "on_bus.h"
#include "on_pallbus.h"
#include "on_product.h"
#include "recording/recording.h"
#include "support/temporary_directory.h"

namespace {

using harness::Frame;
using harness::Process;
using harness::Result;
using recording::Entry;
using recording::Reader;
using testing::AllOf;
using testing::Contains;
using testing::EndsWith;
using testing::Field;
using testing::HasSubstr;

constexpr const char* kSettings = "/vantor/etc/network.conf";

class Recorded : public OnPallbus {
  protected:
    using OnPallbus::OnPallbus;

    // What a person does with the daemon, on record from its start on and at least until the
    // recording says this.
    void recordSession(const Words& daemonArguments = {}, const std::string& until = "") {
        startBus({"--record", path_});
        startDaemon(daemonArguments);
        EXPECT_EQ(pallctl({"set", "systemName=Studio", "sshEnabled=Disabled"}).status, 0);
        EXPECT_EQ(pallctl({"get", "systemName", "nothing"}).status, 4);
        EXPECT_EQ(pallctl({"list"}).status, 0);
        harness::waitUntil(
            [&] { return directory_.read("session.rec").find(until) != std::string::npos; }, until);
        bus->signal(SIGTERM);
        EXPECT_EQ(bus->waitForEnd(), 0) << bus->error().text();
        stopDaemon();
    }

    // Makes the frame another one, that has never been used.
    void renew(const std::string& product) const {
        for (const char* path : {kStateFile, kSSHMarker}) {
            frame.remove(path);
        }
        const Frame another(product);
    }

    // Plays it to a new daemon, in a hurry.
    Result replay(const Words& options = {}, const Words& daemonArguments = {}) {
        Words words = program("pallbus", {"replay", path_, "--fast"});
        words.insert(words.end(), options.begin(), options.end());
        Process replay(words);
        replay.output().waitFor("listening on");
        daemon.emplace(daemonArguments);
        const int status = replay.waitForEnd();
        stopDaemon();
        return {status, replay.output().waitForEnd(), replay.error().waitForEnd()};
    }

    std::vector<Entry> entries() const {
        Reader reader(path_);
        std::vector<Entry> found;
        while (std::optional<Entry> entry = reader.next()) {
            found.push_back(std::move(*entry));
        }
        EXPECT_EQ(reader.truncation(), std::nullopt);
        return found;
    }

    const TemporaryDirectory directory_;
    const std::string path_ = directory_.path("session.rec");
};

class RecordedQuorane : public Recorded {
  protected:
    RecordedQuorane() : Recorded("Quorane") {}
};

auto entry(int32_t from, const std::string& text) {
    return AllOf(Field(&Entry::from, from), Field(&Entry::payload, HasSubstr(text)));
}

TEST_F(Recorded, SessionHoldsWhatTheDaemonTheClientAndTheBusSaid) {
    recordSession();
    const std::vector<Entry> session = entries();
    EXPECT_THAT(session, Contains(entry(8, "\"login\":{\"name\":\"Pallwatch\"")));
    EXPECT_THAT(session, Contains(entry(0, "[\"RSP\", \"system.connection\", 0, 8, 0]\n")));
    EXPECT_THAT(session, Contains(entry(0, "\"kelMasterSystemDetails\":{\"primary\":")));
    EXPECT_THAT(session, Contains(entry(8, "\"param\":{\"systemName\":\"Studio\"}}")));
    EXPECT_THAT(session, Contains(Field(&Entry::payload, HasSubstr("[\"SET\", \"system\", 1"))));
}

TEST_F(Recorded, SessionIsTheSameWithADaemonOnAFrameAsItWas) {
    recordSession();
    renew("QuoraneBrio");
    const Result result = replay();
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.output, EndsWith(" compared: 0 different, 0 missing, 0 extra\n"));
    EXPECT_EQ(result.error, "");
}

TEST_F(RecordedQuorane, SessionIsTheSameButForWhatIsMeasured) {
    recordSession({}, "{\\\"battVoltage\\\":");
    renew("Quorane");
    const Result result = replay({"--ignore", "psu1Voltage", "psu2Voltage", "battVoltage"});
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.output, EndsWith(" compared: 0 different, 0 missing, 0 extra\n"));
}

TEST_F(Recorded, SessionIsTheSameThroughATunnel) {
    recordSession({"-p", "frameB"});
    renew("QuoraneBrio");
    const Result result = replay({"--as=system"}, {"-p", "frameB"});
    EXPECT_EQ(result.status, 0) << result.output;
    EXPECT_THAT(result.output, HasSubstr(" compared: 0 different, 0 missing, 0 extra\n"));
}

TEST_F(Recorded, SessionNamesWhatAnotherProductDoesOtherwise) {
    recordSession();
    renew("KELI");
    const Result result = replay();
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.output, HasSubstr(" NOT system param.frameName: expected \"QuoraneBrio\", "
                                         "got \"KELI\"\n"));
}

TEST_F(RecordedQuorane, SessionNamesAnotherSetting) {
    recordSession();
    renew("Quorane");
    frame.write(kSettings,
                "USE_DHCP=0\nIPADDR=10.0.0.6\nNETMASK=255.255.255.0\nGATEWAY=10.0.0.1\n");
    const Result result = replay({"--ignore", "psu1Voltage", "psu2Voltage", "battVoltage"});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.output,
                HasSubstr("d_system.ipAddress.value: expected 167772165, got 167772166\n"));
    EXPECT_THAT(result.output, testing::Not(HasSubstr("netmask")));
}

TEST_F(Recorded, SessionOnATornFileIsPlayedAsFarAsItGoes) {
    recordSession();
    directory_.write("session.rec", directory_.read("session.rec") + "{\"at\":99.00");
    renew("QuoraneBrio");
    const Result result = replay();
    EXPECT_EQ(result.status, 0) << result.output;
    EXPECT_THAT(result.error, AllOf(isOneComplaint("pallbus"), HasSubstr("incomplete last line")));
}

TEST_F(Recorded, SessionIsNotTakenForOneWhenItIsNone) {
    directory_.write("session.rec", "ready\n");
    const Result result = harness::run(program("pallbus", {"replay", path_}));
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.error,
              "pallbus: " + path_ + ":1: not a recording: the line is not a JSON object\n");
}

}  // namespace
