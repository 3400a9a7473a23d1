// The command line, and how the daemon starts, as seen by whoever starts it.

#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>

#include "harness/process_table.h"
#include "on_bus.h"

using namespace harness;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

constexpr const char* kUsage =
    "Pallwatch.\n"
    "example usage: pallwatch [options]\n"
    "options:\n"
    "  -v --logging                 Extended network logging\n"
    "  -d --daemon                  Run in daemon mode\n"
    "  -p --prefix <prefix_string>  Also listen for this prefix - for tunnelling state requests\n"
    "  -b --brio                    Brio mode - do not perform Tessara hardware scans\n"
    "  -h --help                    Show this help\n";

std::string program() {
    return programDirectory() / "pallwatch";
}

using CommandLine = OnBus;

TEST_F(CommandLine, HelpIsShownWhereverItStands) {
    const std::vector<std::vector<std::string>> lines{
        {"-h"}, {"--help"}, {"-v", "-b", "-p", "x", "-h"}, {"-h", "-x"}};
    for (const auto& arguments : lines) {
        Daemon asked(arguments);
        EXPECT_EQ(asked.waitForEnd(), 0);
        EXPECT_EQ(asked.error().waitForEnd(), kUsage);
        EXPECT_EQ(asked.output().waitForEnd(), "");
    }
    EXPECT_THAT(log.linesUntilNow(), IsEmpty());
    EXPECT_FALSE(frame.exists(kStateFile));
}

struct Mistake {
    std::vector<std::string> arguments;
    std::string line;
};

class Mistakes : public CommandLine, public testing::WithParamInterface<Mistake> {};

INSTANTIATE_TEST_SUITE_P(
    All, Mistakes,
    testing::Values(Mistake{{"-x"}, "option `-x' is invalid: ignored. Try --help.\n"},
                    Mistake{{"-v", "-x", "-h"}, "option `-x' is invalid: ignored. Try --help.\n"},
                    Mistake{{"-p"}, "option `-p' is invalid: ignored. Try --help.\n"},
                    Mistake{{"--prefix"}, "option `-p' is invalid: ignored. Try --help.\n"}));

// The parser's own line, which is the system library's, comes first.
TEST_P(Mistakes, EndTheProcessWithStatus1AndNothingIsTouched) {
    Daemon mistaken(GetParam().arguments);
    EXPECT_EQ(mistaken.waitForEnd(), 1);
    EXPECT_THAT(mistaken.error().waitForEnd(), EndsWith("\n" + program() + ": " + GetParam().line));
    EXPECT_EQ(mistaken.output().waitForEnd(), "");
    EXPECT_THAT(log.linesUntilNow(), IsEmpty());
    EXPECT_FALSE(frame.exists(kStateFile));
}

class Flags : public OnBus {
  protected:
    // Everything that a short life shows: bus, log, both outputs, the state file, the commands.
    std::vector<std::string> run(const std::vector<std::string>& arguments) {
        frame = Frame("QuoraneBrio");
        frame.remove(kStateFile);
        const size_t linesBefore = log.lines().size();
        daemon.emplace(arguments);
        std::vector<std::string> trace;
        for (const BusMessage& message : greeted()) {
            trace.push_back(withoutId(message));
        }
        set(R"({"systemName":"Studio"})");
        const std::vector<std::string> sent = sentUntilNow();
        trace.insert(trace.end(), sent.begin(), sent.end());
        stop();
        trace.push_back(daemon->output().waitForEnd());
        trace.push_back(daemon->error().waitForEnd());
        trace.push_back(frame.read(kStateFile));
        const std::vector<LogLine> lines = log.linesUntilNow();
        for (size_t i = linesBefore; i < lines.size(); ++i) {
            trace.push_back(testing::PrintToString(lines[i]));
        }
        std::vector<std::string> told = frame.waitForCommands(kCommandsOfAStart);
        std::sort(told.begin(), told.end());  // some run in the background
        trace.insert(trace.end(), told.begin(), told.end());
        return trace;
    }

  private:
    // ssh and ftp, each as sudo and as what sudo runs; ambrix and its watch stopped and started.
    static constexpr size_t kCommandsOfAStart = 8;
};

TEST_F(Flags, LoggingAndBrioChangeNothingThatCanBeSeen) {
    const std::vector<std::string> plain = run({});
    EXPECT_THAT(plain, testing::Contains(HasSubstr("+7>"))) << "debug lines, without any flag";
    EXPECT_EQ(run({"-v"}), plain);
    EXPECT_EQ(run({"-b"}), plain);
    EXPECT_EQ(run({"--logging", "--brio"}), plain);
}

class BrioFlagOnAFrame : public OnBus {
  protected:
    BrioFlagOnAFrame() : OnBus("Tessara") {}
};

TEST_F(BrioFlagOnAFrame, TheHardwareIsPolledAllTheSame) {
    start({"-b"});
    log.waitFor("ETHERNET STATUS CHANGED : eth0");
    while (bus.receive().at({"param", "frameType"}) != "2") {
    }
    EXPECT_EQ(valueOf("frameType"), "2");
}

class Detached : public OnBus {
  protected:
    // The process that sent the message: it is in its id, "counter@process.address".
    static pid_t senderOf(const BusMessage& message) {
        const std::string id = message.id();
        return std::stoi(id.substr(id.find('@') + 1));
    }

    std::vector<BusMessage> startDetached(const std::vector<std::string>& arguments) {
        daemon.emplace(arguments);
        EXPECT_EQ(daemon->waitForEnd(), 0);
        std::vector<BusMessage> greeting = greeted();
        child = senderOf(greeting[0]);
        return greeting;
    }

    std::optional<ProcessEntry> find(pid_t pid) const {
        for (const ProcessEntry& entry : processes()) {
            if (entry.pid == pid) {
                return entry;
            }
        }
        return std::nullopt;
    }

    pid_t child = -1;
};

TEST_F(Detached, ServesTheBusFromAProcessOfItsOwn) {
    startDetached({"-d"});
    EXPECT_NE(child, daemon->pid());
    const std::optional<ProcessEntry> entry = find(child);
    ASSERT_TRUE(entry);
    EXPECT_EQ(entry->parent, find(1)->proc.filename())
        << "the shell that started it has its prompt";
    EXPECT_EQ(::getsid(child), child);
    EXPECT_EQ(std::filesystem::read_symlink(entry->proc / "cwd"), std::filesystem::current_path());
    const std::vector<std::string> open = descriptorsOf(entry->proc);
    EXPECT_THAT(std::vector(open.begin(), open.begin() + 3),
                ElementsAre("/dev/null", "/dev/null", "/dev/null"));
    EXPECT_EQ(daemon->output().waitForEnd() + daemon->error().waitForEnd(), "");
    set(R"({"systemName":"Studio"})");
    EXPECT_THAT(sentUntilNow(),
                ElementsAre(announced(R"({"systemName":"Studio"})"), answered(200, "OK")));
}

TEST_F(Detached, EndsOnASignal) {
    startDetached({"--daemon"});
    ASSERT_EQ(::kill(child, SIGTERM), 0);
    bus.waitForClose();
    waitUntil([this] { return !find(child); }, "the detached process to end");
}

TEST_F(Detached, TheRestOfTheLineIsParsedInTheChild) {
    const std::vector<BusMessage> greeting = startDetached({"-d", "-p", "frameB"});
    EXPECT_EQ(greeting[1].at({"param", "subscribeList"}),
              R"([{"path":"system"},{"path":"frameB.system"}])");
}

TEST_F(Detached, AMistakeBehindItIsTheChildsAlone) {
    daemon.emplace(std::vector<std::string>{"-d", "-x"});
    EXPECT_EQ(daemon->waitForEnd(), 0);
    EXPECT_EQ(daemon->error().waitForEnd(), "");
    const auto stillThere = [] {
        const std::vector<ProcessEntry> all = processes();
        return std::any_of(all.begin(), all.end(), [](const ProcessEntry& entry) {
            return entry.commandLine.find("pallwatch ") != std::string::npos;
        });
    };
    waitUntil([&] { return !stillThere(); }, "the child to end");
    EXPECT_THAT(log.linesUntilNow(), IsEmpty());
}

using Starting = OnBus;

// Three descriptors are taken and the fourth goes to the system log, so none is left for the loop.
TEST_F(Starting, AnExceptionEndsTheProcessWithItsTextAndStatus1) {
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "the sanitizer needs descriptors of its own to look at an object";
#endif
    Process starved({"sh", "-c", "ulimit -n 4; exec \"$0\"", program()});
    EXPECT_EQ(starved.waitForEnd(), 1);
    EXPECT_THAT(starved.error().waitForEnd(), EndsWith("Too many open files"));
}

TEST_F(Starting, AReaderOfItsOutputThatLeavesDoesNotTakeItAlong) {
    Process piped({"sh", "-c", "\"$0\" | { exec <&-; echo left >&2; }", program()});
    greeted();
    piped.error().waitFor("left");
    for (int i = 0; i < 3; ++i) {
        set(R"({"generateReport":0})");  // which is traced on standard output
        EXPECT_THAT(sentUntilNow(),
                    ElementsAre(announced(R"({"generateReport":0})"), answered(200, "OK")));
    }
}

}  // namespace
