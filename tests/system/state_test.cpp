// The settings that survive a restart, and the file that keeps them.

#include <fcntl.h>
#include <linux/seccomp.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/syscall.h>
#include <syslog.h>

#include <cstddef>
#include <filesystem>
#include <thread>

#include "harness/file_version.h"
#include "harness/system_call_filter.h"
#include "on_bus.h"

using namespace harness;
using testing::Contains;
using testing::ElementsAre;
using testing::Field;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

const std::string kOldFile = std::string(kStateFile) + ".old";
const std::string kNewFile = std::string(kStateFile) + ".new";

// As the file has it: a tab for each two blanks, and one behind each colon.
std::string tabbed(std::string text) {
    for (const auto& [from, to] : {std::pair{"  ", "\t"}, std::pair{": ", ":\t"}}) {
        for (size_t at = text.find(from); at != std::string::npos; at = text.find(from, at)) {
            text.replace(at, 2, to);
        }
    }
    return text;
}

struct Choice {
    int value;
    std::string name;
};

const std::vector<Choice> kSwitch{{0, "Disabled"}, {1, "Enabled"}};
const std::vector<Choice> kCommand{{0, "Cancel"}, {1, "Apply"}};
const std::vector<Choice> kPort{{0, "Port 1"}, {1, "Port 2"}};

std::string constraintText(const std::vector<Choice>& choices) {
    std::string list;
    for (const Choice& choice : choices) {
        list += list.empty() ? "{\n" : ", {\n";
        list += R"(                  "value": )" + std::to_string(choice.value) + ",\n";
        list += R"(                  "name": ")" + choice.name + "\"\n";
        list += "                }";
    }
    return R"(            "constraint": {
              "type": "INT_CHOICE",
              "choices": [)" +
           list + "]\n            },\n";
}

// One parameter of the file; all that it holds may be set.
std::string param(const std::string& leaf, const std::string& name, const std::string& type,
                  const std::string& value, const std::vector<Choice>& choices = {}) {
    return "          \"d_system." + leaf + "\": {\n" +         //
           "            \"oid\": \"system." + leaf + "\",\n" +  //
           "            \"name\": \"" + name + "\",\n" +        //
           "            \"type\": \"" + type + "\",\n" +        //
           "            \"readonly\": false,\n" +
           (choices.empty() ? "" : constraintText(choices)) +  //
           "            \"value\": " + value + "\n" +          //
           "          }";
}

std::string file(const std::vector<std::string>& params, const std::string& version = "0") {
    std::string list;
    for (const std::string& one : params) {
        list += (list.empty() ? "" : ",\n") + one;
    }
    return tabbed(R"({
  "version": )" + version +
                  R"(,
  "systemState": {
    "devices": [{
        "type": "device",
        "slot": 0,
        "params": {
)" + list + R"(
        }
      }]
  }
})");
}

// What a fresh start writes: only the identity group exists at that time.
std::string freshFile(const std::string& version = "0") {
    return file({param("active", "Active", "INT32", "1"),
                 param("frameName", "Frame Name", "STRING", "\"QuoraneBrio\""),
                 param("quoraneProfilesEnabled", "Quo-Profiles", "INT32", "0", kSwitch),
                 param("quoraneUsersEnabled", "Quo-Credentials", "INT32", "1", kSwitch),
                 param("systemName", "System Name", "STRING", "\"System\"")},
                version);
}

auto logs(const std::string& beginning) {
    return Contains(Field(&LogLine::text, StartsWith(beginning)));
}

class State : public OnBus {
  protected:
    void setAndWait(const std::string& param) {
        set(param);
        EXPECT_THAT(sentUntilNow(), Contains(answered(200, "OK")));
    }

    void restart() {
        stop();
        start();
    }

    void expectFresh(const std::string& version = "0") {
        EXPECT_EQ(frame.read(kStateFile), freshFile(version));
        EXPECT_FALSE(frame.exists(kOldFile));
        EXPECT_FALSE(frame.exists(kNewFile));
    }
};

TEST_F(State, AFreshStartWritesTheIdentityGroup) {
    start();
    expectFresh();
}

TEST_F(State, ASetWritesEveryParameterThatIsSaved) {
    start();
    setAndWait(R"({"systemName":"Studio"})");
    EXPECT_EQ(frame.read(kStateFile),
              file({param("active", "Active", "INT32", "1"),
                    param("activeEthernet", "Active Ethernet Port", "INT32", "0", kPort),
                    param("ambrixEnabled", "Ambrix", "INT32", "1", kSwitch),
                    param("frameName", "Frame Name", "STRING", "\"QuoraneBrio\""),
                    param("ftpEnabled", "FTP Server", "INT32", "1", kSwitch),
                    param("generateReport", "Generate Report", "INT32", "0", kCommand),
                    param("quoraneProfilesEnabled", "Quo-Profiles", "INT32", "0", kSwitch),
                    param("quoraneUsersEnabled", "Quo-Credentials", "INT32", "1", kSwitch),
                    param("restartNetwork", "Restart Network", "INT32", "0", kCommand),
                    param("sshEnabled", "SSH Server", "INT32", "1", kSwitch),
                    param("systemName", "System Name", "STRING", "\"Studio\"")}));
    EXPECT_FALSE(frame.exists(kOldFile));
    EXPECT_FALSE(frame.exists(kNewFile));
}

TEST_F(State, ASetOfWhatIsNotSavedWritesNothing) {
    start();
    const FileVersion before = versionOf(kStateFile);
    setAndWait(R"({"activeKeli":1})");
    set(R"({"frameName":7})");  // refused
    sentUntilNow();
    EXPECT_EQ(versionOf(kStateFile), before);
}

TEST_F(State, SavedSettingsComeBack) {
    start();
    setAndWait(R"({"systemName":"Stu\"dio\n\u00e9","frameName":"A","active":-2147483648,)"
               R"("quoraneProfilesEnabled":1,"quoraneUsersEnabled":0,"activeEthernet":1,)"
               R"("sshEnabled":0,"ftpEnabled":0,"ambrixEnabled":0})");
    restart();
    EXPECT_EQ(valueOf("systemName"), "\"Stu\\\"dio\\n\u00e9\"");
    EXPECT_EQ(valueOf("frameName"), "\"A\"");
    EXPECT_EQ(valueOf("active"), "-2147483648");
    EXPECT_EQ(valueOf("quoraneProfilesEnabled"), "1");
    EXPECT_EQ(valueOf("quoraneUsersEnabled"), "0");
    EXPECT_EQ(valueOf("sshEnabled"), "0");
    EXPECT_EQ(valueOf("ftpEnabled"), "0");
    EXPECT_EQ(valueOf("ambrixEnabled"), "0");
}

TEST_F(State, SavedSwitchesAreAppliedAtTheNextStart) {
    start();
    setAndWait(R"({"sshEnabled":0,"ftpEnabled":1,"ambrixEnabled":0})");
    const size_t before = frame.waitForCommands(14).size();
    restart();
    const std::vector<std::string> all = frame.waitForCommands(before + 6);
    EXPECT_THAT(
        std::vector(all.begin() + static_cast<ptrdiff_t>(before), all.end()),
        ElementsAre("sudo systemctl stop ssh", "systemctl stop ssh", "sudo systemctl start vsftpd",
                    "systemctl start vsftpd", "pkill ambrixsrvtst", "pkill brio-ambrix-shu"));
}

TEST_F(State, LiveReadingsDoNotComeBack) {
    start();
    setAndWait(R"({"activeKeli":0,"pcbIssue":7})");
    EXPECT_EQ(valueOf("pcbIssue"), "7");
    restart();
    EXPECT_EQ(valueOf("activeKeli"), "1");
    EXPECT_EQ(valueOf("pcbIssue"), "0");
}

TEST_F(State, AnUnchangedStateIsNotWrittenAgain) {
    start();
    setAndWait(R"({"systemName":"Studio"})");
    restart();
    const FileVersion before = versionOf(kStateFile);
    const size_t linesBefore = log.linesUntilNow().size();
    restart();
    EXPECT_EQ(versionOf(kStateFile), before);
    std::vector<LogLine> lines = log.linesUntilNow();
    lines.erase(lines.begin(), lines.begin() + static_cast<ptrdiff_t>(linesBefore));
    EXPECT_THAT(lines, Not(logs("systemState container")));
}

TEST_F(State, ASettingThatTheFileLacksIsMadeAndSaved) {
    frame.write(kStateFile, file({param("systemName", "Mine", "STRING", "\"Studio\"")}, "3"));
    start();
    EXPECT_EQ(valueOf("systemName"), "\"Studio\"");
    EXPECT_EQ(frame.read(kStateFile),
              file({param("active", "Active", "INT32", "1"),
                    param("frameName", "Frame Name", "STRING", "\"QuoraneBrio\""),
                    param("quoraneProfilesEnabled", "Quo-Profiles", "INT32", "0", kSwitch),
                    param("quoraneUsersEnabled", "Quo-Credentials", "INT32", "1", kSwitch),
                    param("systemName", "Mine", "STRING", "\"Studio\"")},
                   "3"));
    EXPECT_THAT(log.linesUntilNow(), Not(logs("systemState container")));
}

// What the daemon writes back is what it understood.
TEST_F(State, TrueIsOneInThePlaceOfASlotAPrecisionOrAChoice) {
    frame.write(
        kStateFile,
        R"({"version":0,"systemState":{"devices":[{"slot":true,"params":{"d_system.active":)"
        R"({"oid":"system.active","name":"Active","type":"INT32","readonly":true,)"
        R"("precision":true,"constraint":{"type":"INT_CHOICE","choices":[)"
        R"({"value":true,"name":"Yes"}]},"value":1}}}]}})");
    start();
    std::string written = frame.read(kStateFile);
    std::erase_if(written, [](char letter) { return letter == '\t' || letter == '\n'; });
    EXPECT_THAT(written, HasSubstr(R"("slot":1,)"));
    EXPECT_THAT(written, HasSubstr(R"("precision":1,)"));
    EXPECT_THAT(written, HasSubstr(R"("choices":[{"value":1,"name":"Yes"}])"));
}

TEST_F(State, ThePreviousCopyServesWhenTheFileIsMissing) {
    start();
    setAndWait(R"({"systemName":"Studio"})");
    stop();
    std::filesystem::rename(kStateFile, kOldFile);
    start();
    EXPECT_EQ(valueOf("systemName"), "\"Studio\"");
    EXPECT_FALSE(frame.exists(kStateFile));
    EXPECT_TRUE(frame.exists(kOldFile));
    setAndWait(R"({"systemName":"Control"})");
    EXPECT_THAT(frame.read(kStateFile), HasSubstr("\"Control\""));
    EXPECT_FALSE(frame.exists(kOldFile));
}

TEST_F(State, ThePreviousCopyIsToldOfOnce) {
    frame.write(kOldFile, freshFile());
    start();
    const std::string open =
        "systemState container could not open \"" + std::string(kStateFile) + "\". ";
    EXPECT_EQ(log.waitFor(open),
              (LogLine{LOG_CRIT, LOG_USER, "Pallwatch", open + "previous copy used.\n"}));
    EXPECT_THAT(log.linesUntilNow(), Not(logs(open + "Empty set used.")));
    EXPECT_THAT(log.linesUntilNow(), Not(logs("Not a valid JSON file")));
}

struct Broken {
    const char* text;
    const char* line;
    const char* version;
};

class BrokenFile : public State, public testing::WithParamInterface<Broken> {};

constexpr const char* kNotJSON =
    "Not a valid JSON file: /vantor/etc/configurableSystemDetails.json\n";
constexpr const char* kNoPayload =
    "Error decoding JSON object, path:/vantor/etc/configurableSystemDetails.json, "
    "objectName:systemState\n";

INSTANTIATE_TEST_SUITE_P(
    All, BrokenFile,
    testing::Values(Broken{"", kNotJSON, "0"},
                    Broken{"{\"version\":1,\"systemState\":{", kNotJSON, "0"},
                    Broken{"\xff\xfe\x01", kNotJSON, "0"}, Broken{"[7]", kNoPayload, "0"},
                    Broken{"7", kNoPayload, "0"},
                    Broken{R"({"version":4,"SystemState":{"devices":[]}})", kNoPayload, "4"}));

TEST_P(BrokenFile, IsToldOfReplacedAndKept) {
    frame.write(kStateFile, GetParam().text);
    start();
    EXPECT_EQ(log.waitFor(GetParam().line),
              (LogLine{LOG_ERR, LOG_LOCAL2, "Pallwatch", GetParam().line}));
    expectFresh(GetParam().version);
    EXPECT_EQ(frame.read(std::string(kStateFile) + ".bad"), GetParam().text);
    EXPECT_THAT(log.linesUntilNow(), Not(logs("systemState container")));
}

class OddFile : public State, public testing::WithParamInterface<std::string> {};

INSTANTIATE_TEST_SUITE_P(
    All, OddFile,
    testing::Values(R"({"systemState":7})", R"({"systemState":{"devices":7}})",
                    R"({"systemState":{"devices":[7,null,{}]}})",
                    R"({"systemState":{"devices":[{"type":"device","slot":1e300,"params":[7]}]}})",
                    R"({"systemState":)" + std::string(5000, '[') + "7" + std::string(5000, ']') +
                        "}"));

TEST_P(OddFile, DoesNotKeepTheDaemonFromServing) {
    frame.write(kStateFile, GetParam());
    start();
    EXPECT_EQ(valueOf("systemName"), "\"System\"");
    setAndWait(R"({"systemName":"Studio"})");
    restart();
    EXPECT_EQ(valueOf("systemName"), "\"Studio\"");
}

// From here on this thread and the programs that it starts cannot open a directory (EIO).
void forbidDirectories() {
    constexpr unsigned kFlags = offsetof(seccomp_data, args) + 2 * sizeof(uint64_t);
    sock_filter steps[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_openat, 0, 3),
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, kFlags),
        BPF_JUMP(BPF_JMP | BPF_JSET | BPF_K, O_DIRECTORY, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EIO),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    filterSystemCalls(steps);
}

// Without its directory synced a save is not over: the new file is in place, and the old one stays.
TEST_F(State, ADirectoryThatCannotBeSyncedIsReportedWithTheNewFile) {
    frame.write(kStateFile, file({}));
    std::thread([this] {
        forbidDirectories();
        daemon.emplace();
    }).join();
    greeted();
    set(R"({"systemName":"Studio"})");
    EXPECT_EQ(sentUntilNow().back(), answered(200, "OK"));
    EXPECT_EQ(log.waitFor("could not write"),
              (LogLine{LOG_CRIT, LOG_USER, "Pallwatch",
                       "systemState container could not write \"" + kNewFile + "\" (5).\n"}));
    EXPECT_THAT(frame.read(kStateFile), HasSubstr("Studio"));
    EXPECT_TRUE(frame.exists(kOldFile));
    EXPECT_FALSE(frame.exists(kNewFile));
}

// What stands under the new file's name cannot be taken away.
TEST_F(State, AFileThatCannotBeWrittenIsToldOfAndTheSettingStands) {
    frame.write(kNewFile, "");
    ASSERT_EQ(::mount(kNewFile.c_str(), kNewFile.c_str(), nullptr, MS_BIND, nullptr), 0);
    start();
    EXPECT_EQ(log.waitFor("couldn't open"), (LogLine{LOG_ERR, LOG_LOCAL2, "Pallwatch",
                                                     std::string("Error - couldn't open file ") +
                                                         kStateFile + " for writing\n"}));
    EXPECT_EQ(log.waitFor("could not write"),
              (LogLine{LOG_CRIT, LOG_USER, "Pallwatch",
                       "systemState container could not write \"" + kNewFile + "\" (17).\n"}));
    set(R"({"systemName":"Studio"})");
    EXPECT_THAT(sentUntilNow(),
                ElementsAre(announced(R"({"systemName":"Studio"})"), answered(200, "OK")));
    EXPECT_EQ(valueOf("systemName"), "\"Studio\"");
    EXPECT_FALSE(frame.exists(kStateFile));
    EXPECT_EQ(::umount(kNewFile.c_str()), 0);
}

}  // namespace
