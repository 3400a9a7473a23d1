// What may stand still around the daemon, or be missing where it is started, without taking it
// along.

#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include "harness/held_program.h"
#include "harness/process_table.h"
#include "on_bus.h"
#include "pallframe/simulation/devices.h"

using namespace harness;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using namespace std::string_literals;

namespace {

constexpr const char* kPowerLoad = "/sbin/devmem";
constexpr const char* kAmbrixScript = "/etc/init.d/S81ambrix";
constexpr const char* kAmbrixMarker = "/vantor/etc/ambrixDisabled";
constexpr const char* kHanging = "#!/bin/sh\nexec sleep 10000\n";

std::string program() {
    return programDirectory() / "pallwatch";
}

rlimit limitOf(const Child& process, __rlimit_resource resource) {
    rlimit limit{};
    pallframe::simulation::check(::prlimit(process.pid(), resource, nullptr, &limit), "prlimit");
    return limit;
}

void setLimit(const Child& process, __rlimit_resource resource, const rlimit& limit) {
    pallframe::simulation::check(::prlimit(process.pid(), resource, &limit, nullptr), "prlimit");
}

// A pipe in the frame that is full and that nobody reads.
class FullPipe {
  public:
    explicit FullPipe(const std::string& path) {
        pallframe::simulation::check(::mkfifo(path.c_str(), 0600), path);
        pipe_ = pallframe::simulation::Descriptor(pallframe::simulation::check(
            ::open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC), path));
        while (::write(pipe_.get(), "x", 1) == 1) {
        }
    }

  private:
    pallframe::simulation::Descriptor pipe_;
};

// On a controller, where the status poll has something to do.
class NeverStuck : public OnBus {
  protected:
    NeverStuck() : OnBus("Quorane") {}

    void expectToAnswer() {
        set(R"({"generateReport":0})");  // which is traced on standard output
        EXPECT_EQ(sentUntilNow().back(), answered(200, "OK"));
    }

    void expectToPoll() {
        pallframe::simulation::setCable(frame.tree(), "eth1", false);
        log.waitFor("ETHERNET STATUS CHANGED : eth1, was:2, now:0");
    }

    static void endWithTerm(Child& process) {
        process.signal(SIGTERM);
        EXPECT_EQ(process.waitForEnd(), 0);
    }
};

struct Redirection {
    const char* name;
    const char* words;  // for the shell that starts the daemon
};

void PrintTo(const Redirection& redirection, std::ostream* out) {
    *out << redirection.words;
}

class NeverStuckOnPipes : public NeverStuck, public testing::WithParamInterface<Redirection> {
  protected:
    const FullPipe full{"/run/full"};
};

TEST_P(NeverStuckOnPipes, ThatNobodyReads) {
    frame.writeProgram("/vantor/bin/briskel", "#!/bin/sh\necho report; echo report >&2\n");
    Process stuck(
        {"sh", "-c", "exec \"$0\" -p frameB " + std::string(GetParam().words), program()});
    greeted();
    expectToAnswer();
    set(R"({"generateReport":1})");
    EXPECT_EQ(sentUntilNow().back(), answered(200, "OK"));
    log.waitFor("Battery Sample = OFF");
    expectToPoll();
    bus.stopListening();
    bus.close();
    bus.listen();
    greeted();
    expectToAnswer();
    endWithTerm(stuck);
}

INSTANTIATE_TEST_SUITE_P(Streams, NeverStuckOnPipes,
                         testing::Values(Redirection{"Output", ">/run/full"},
                                         Redirection{"Error", "2>/run/full"},
                                         Redirection{"Both", ">/run/full 2>&1"}),
                         [](const auto& one) { return std::string(one.param.name); });

TEST_F(NeverStuck, ByACommandOfThePollThatHangs) {
    frame.writeProgram(kPowerLoad, kHanging);
    start();
    for (const char* const argument : {"0x01", "0x00"}) {
        const LogLine line =
            log.waitFor(std::string(kPowerLoad) + " 0x8aa00014 32 " + argument + " was killed");
        EXPECT_EQ(line.priority, 3);
    }
    expectToPoll();
    stop();
}

TEST_F(NeverStuck, AtTheEndByACommandOfThePollThatHangs) {
    const HeldProgram load(frame, kPowerLoad);
    start();
    load.waitForCalls(1);
    stop();
    log.waitFor("0x01 was killed");
    EXPECT_THAT(
        processes(),
        Not(testing::Contains(testing::Field(&ProcessEntry::commandLine, HasSubstr("devmem")))));
}

// The poll stops Ambrix twice: for its marker, and because the switch has changed.
TEST_F(NeverStuck, ByAStopOfAmbrixByThePollThatHangs) {
    start();
    log.waitFor("ETHERNET STATUS CHANGED : eth1, was:0, now:2");
    frame.writeProgram(kAmbrixScript, kHanging);
    frame.write(kAmbrixMarker, "");
    EXPECT_EQ(log.waitFor(kAmbrixScript + " stop was killed"s).priority, 3);
    log.waitFor("oid=system.ambrixEnabled, val=0");
    EXPECT_EQ(log.waitFor(kAmbrixScript + " stop was killed"s).priority, 3);
    expectToPoll();
    stop();
}

TEST_F(NeverStuck, AtTheEndByAStopOfAmbrixByThePollThatHangs) {
    start();
    log.waitFor("ETHERNET STATUS CHANGED : eth1, was:0, now:2");
    const HeldProgram script(frame, kAmbrixScript);
    frame.write(kAmbrixMarker, "");
    script.waitForCalls(1);
    script.release();
    script.waitForCalls(2);
    stop();
    log.waitFor(kAmbrixScript + " stop was killed"s);
}

TEST_F(NeverStuck, ByAChildOfIfenslaveThatKeepsItsOutput) {
    frame.writeProgram("/sbin/ifenslave", "#!/bin/sh\nsleep 10000 &\n");
    start();
    set(R"({"activeEthernet":1})");
    EXPECT_EQ(sentUntilNow().back(), answered(200, "OK"));
    stop();
    for (const LogLine& line : log.linesUntilNow()) {
        EXPECT_THAT(line.text, Not(HasSubstr("was killed")));
    }
}

TEST_F(NeverStuck, ByAnIfenslaveThatHangs) {
    frame.writeProgram("/sbin/ifenslave", kHanging);
    start();
    set(R"({"activeEthernet":1})");
    EXPECT_EQ(sentUntilNow().back(), answered(200, "OK"));
    log.waitFor("/sbin/ifenslave --change-active bond0 eth1 was killed");
    stop();
}

TEST_F(NeverStuck, AtTheStartByAProductThatCannotBeRead) {
    frame.remove("/tmp/eeprom");
    pallframe::simulation::check(::mkfifo("/tmp/eeprom", 0600), "/tmp/eeprom");
    start();
    log.waitFor("echo $PRODUCT was killed");
    EXPECT_THAT(daemon->output().text(), HasSubstr("ERROR reading product string"));
    expectToAnswer();
}

TEST_F(NeverStuck, ByClosedStandardStreams) {
    Process closed({"sh", "-c", "exec \"$0\" -p frameB <&- >&- 2>&-", program()});
    bus.accept();
    bus.receive(4);
    expectToAnswer();  // a trace among the frames would be none
    const std::vector<std::string> open = closed.descriptors();
    ASSERT_GT(open.size(), 3U);
    EXPECT_THAT(std::vector(open.begin(), open.begin() + 3),
                ElementsAre("/dev/null", "/dev/null", "/dev/null"));
    endWithTerm(closed);
}

// What a parent has blocked or ignored is so in its child too (execve(2)).
TEST_F(NeverStuck, BySignalsThatItsParentHasBlockedOrIgnored) {
    sigset_t stops;
    sigemptyset(&stops);
    sigaddset(&stops, SIGTERM);
    sigset_t before;
    ASSERT_EQ(::sigprocmask(SIG_BLOCK, &stops, &before), 0);
    const auto usual = ::signal(SIGCHLD, SIG_IGN);
    daemon.emplace();
    ::signal(SIGCHLD, usual);
    ASSERT_EQ(::sigprocmask(SIG_SETMASK, &before, nullptr), 0);
    greeted();
    EXPECT_EQ(log.waitFor("SSH server").text, "SSH server restarted in Tessara, rv: 0\n");
    stop();
}

TEST_F(NeverStuck, ByAFileThatMayNotGrow) {
    start();
    const rlimit before = limitOf(*daemon, RLIMIT_FSIZE);
    setLimit(*daemon, RLIMIT_FSIZE, {16, before.rlim_max});
    set(R"({"systemName":"Studio"})");
    EXPECT_EQ(sentUntilNow().back(), answered(200, "OK"));
    log.waitFor("could not write");
    setLimit(*daemon, RLIMIT_FSIZE, before);
    set(R"({"systemName":"Stage"})");
    EXPECT_EQ(sentUntilNow().back(), answered(200, "OK"));
    waitUntil([this] { return frame.read(kStateFile).find("Stage") != std::string::npos; },
              "the settings to be saved");
    stop();
}

// The number of the process behind the bus's connection is in the ids of its messages.
pid_t senderOf(const BusMessage& message) {
    const std::string id = message.id();
    return std::stoi(id.substr(id.find('@') + 1));
}

TEST_F(NeverStuck, ByAHangUpOnceItHasDetached) {
    daemon.emplace(std::vector<std::string>{"-d"});
    EXPECT_EQ(daemon->waitForEnd(), 0);
    const pid_t detached = senderOf(greeted().front());
    expectToAnswer();
    ASSERT_EQ(::kill(detached, SIGHUP), 0);
    expectToAnswer();
    ASSERT_EQ(::kill(detached, SIGTERM), 0);
    bus.waitForClose();
}

TEST_F(NeverStuck, InFrontOfATerminalAHangUpEndsIt) {
    start();
    daemon->signal(SIGHUP);
    EXPECT_EQ(daemon->waitForEnd(), 128 + SIGHUP);
}

// A thread's stack is to be larger than all the memory that the process may have.
TEST_F(NeverStuck, WithoutAThreadToBeHadForAMoment) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "the sanitizer takes more memory than any limit";
#endif
    Process starved(
        {"sh", "-c", "ulimit -S -s 2097152; ulimit -S -v 1048576; exec \"$0\"", program()});
    log.waitFor("no thread to be had, trying again");
    setLimit(starved, RLIMIT_AS, {RLIM_INFINITY, RLIM_INFINITY});
    greeted();
    log.waitFor("ETHERNET STATUS CHANGED : eth0");  // by the poll
    endWithTerm(starved);
}

}  // namespace
