// Completion as a person meets it: an interactive shell on a terminal, in a frame with the real
// daemon. What Tab makes of a line is seen by what the program is told when it is entered.

#include "harness/terminal.h"
#include "pallframe_process.h"
#include "tools/listening_peer.h"

using namespace outside;

namespace {

struct Line {
    const char* typed;
    const char* told;
};

constexpr Line kLines[] = {
    // verbs, options, choices
    {"pallctl g\t", "<get>"},
    {"pallctl wat\t--ta\t", "<watch><--table>"},
    {"pallctl --ver\t", "<--version>"},
    {"pallframe set c\teth0 d\t", "<set><cable><eth0><down>"},
    {"pallframe set delay S40n\t5", "<set><delay><S40network><5>"},
    {"pallframe set file /vantor/etc/net\tm\t", "<set><file></vantor/etc/network.conf><missing>"},
    {"pallframe set edit /etc/b\tVERSION=2", "<set><edit></etc/build.prop><VERSION=2>"},
    {"pallframe run --pro\tTessara-\t", "<run><--product><Tessara-5ru>"},
    {"pallbus --verb\t", "<--verbose>"},
    // faults, word by word or in one
    {"pallbus inj\tdr\tfr\tdae\tevery 3 fo\t1s", "<inject><drop><from><daemon><every><3><for><1s>"},
    {"pallbus inject sta\tan\t", "<inject><stall><any>"},
    {"pallbus inject at 2s ref\t", "<inject><at><2s><refuse>"},
    {"pallbus sta\t", "<status>"},
    {"pallbus inject --scr\tREAD\t", "<inject><--script><README.md>"},
    {"pallbus rec\tREAD\t", "<record><README.md>"},
    {"pallbus -f 'drop fr\t", "<-f><drop from>"},
    {"pallbus -f \"delay 1s ev\t", "<-f><delay 1s every>"},
    // names, of the device that answers
    {"pallctl get ipA\tnetm\t", "<get><ipAddress><netmask>"},
    {"pallctl get system.ipA\t", "<get><system.ipAddress>"},
    {"pallctl get sys\t.ipA\t", "<get><system.ipAddress>"},
    {"pallctl get frame\tN\t", "<get><frameName>"},
    {"pallctl che\tpsu1\t--warn\t12", "<check><psu1Voltage><--warning><12>"},
    {"pallctl list batt\t", "<list><battVoltage>"},
    {"pallctl wait sshE\tEn\tftpE\tDi\t", "<wait><sshEnabled=Enabled><ftpEnabled=Disabled>"},
    {"pallctl import REA\t", "<import><README.md>"},
    {"pallctl watch --time i\t", "<watch><--time><iso>"},
    {"pallctl get --port 1 ipA\t", "<get><--port><1><ipA>"},
    // values, that stand behind a character that bash takes for the end of a word
    {"pallctl set netm\t\t", "<set><netmask=255.255.255.0>"},
    {"pallctl set system.netmask=\t", "<set><system.netmask=255.255.255.0>"},
    {"pallctl set sshE\tEn\tftpEnabled=Di\t", "<set><sshEnabled=Enabled><ftpEnabled=Disabled>"},
    {"pallctl set sshEnabled=dis\tftpE\ten\t", "<set><sshEnabled=Disabled><ftpEnabled=Enabled>"},
    {"pallctl get IPA\t", "<get><ipAddress>"},
    {"pallctl set psu1V\t", "<set><psu1V>"},
    {"pallctl network --add\t1\t", "<network><--address><10.0.0.5>"},
    {"pallctl network --netmask=\t", "<network><--netmask=255.255.255.0>"},
    // values with blanks, with all ways to quote them
    {"pallctl set activeEth\tPo\t2\t", "<set><activeEthernet=Port 2>"},
    {"pallctl set activeEthernet=Port\\ 2\t", "<set><activeEthernet=Port 2>"},
    {"pallctl set activeEthernet=\"Port 2\t", "<set><activeEthernet=Port 2>"},
    {"pallctl set 'activeEthernet=Port 2\t", "<set><activeEthernet=Port 2>"},
    {"pallctl set activeEthernet=po\t2\t", "<set><activeEthernet=Port 2>"},
    {"pallctl set \"activeEthernet=po\t2\t", "<set><activeEthernet=Port 2>"},
    // files and directories
    {"pallframe run --frame-dir /vant\tet\tx", "<run><--frame-dir></vantor/etc/x>"},
    {"pallframe run -- tou\t/vantor/etc/netw\t", "<run><--><touch></vantor/etc/network.conf>"},
};

struct Shell {
    const char* name;
    Words command;
};

class Completion : public testing::TestWithParam<Shell> {
  protected:
    Completion() : shell(withDaemon(GetParam().command), kColumns) { readUntil("ready> "); }

    // Everything from the last call on up to the text.
    std::string readUntil(const std::string& text) {
        std::string shown;
        harness::waitUntil(
            [&] {
                shown = shell.screen().text().substr(seen_);
                return shown.find(text) != std::string::npos;
            },
            "'" + text + "' on the screen");
        seen_ += shown.size();
        return shown;
    }

    // What the program is told when that line is entered.
    std::string toldBy(const std::string& typed) {
        shell.type(typed + "\r");
        const std::string shown = readUntil(">\r\n");
        const size_t told = shown.rfind("told: ") + 6;
        return shown.substr(told, shown.find('\r', told) - told);
    }

    harness::Terminal shell;

  private:
    static constexpr unsigned short kColumns = 200;  // no line is that long

    size_t seen_ = 0;
};

INSTANTIATE_TEST_SUITE_P(
    Shells, Completion,
    testing::Values(Shell{"bash", {"bash", "--rcfile", "tests/system/completion/bashrc", "-i"}},
                    Shell{"zsh", {"env", "ZDOTDIR=tests/system/completion", "zsh", "-i"}}),
    [](const auto& shell) { return shell.param.name; });

TEST_P(Completion, PutsWholeWordsOnTheLine) {
    for (const Line& line : kLines) {
        EXPECT_EQ(toldBy(line.typed), line.told) << line.typed;
    }
}

TEST_P(Completion, QuotesWhatShellsTakeForTheirOwn) {
    shell.type("command pallctl set systemName='\"$5\" or `true`, it'\\''s'; echo '<set''>'\r");
    readUntil("<set>\r\n");
    for (const char* quote : {"", "'", "\""}) {
        EXPECT_EQ(toldBy("pallctl set " + std::string(quote) + "systemName=\t"),
                  "<set><systemName=\"$5\" or `true`, it's>")
            << quote;
    }
}

TEST_P(Completion, OffersWhatThereIsToChooseFrom) {
    shell.type("pallframe run --product Tess\t\t\t");
    EXPECT_NO_THROW(readUntil("Tessara-5ru"));
}

// Somebody waits at the keyboard.
void expectNothing(uint16_t port) {
    const std::string text = std::to_string(port);
    const Result result =
        run({programDirectory() / "pallctl", "complete", "--port", text, "get", ""});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, "words\n");
    EXPECT_EQ(result.error, "");
}

TEST(Completing, EndsWithNothingWhenThereIsNoBus) {
    ListeningPeer peer;
    peer.stopListening();
    expectNothing(peer.port());
}

TEST(Completing, EndsWithNothingWhenTheBusDoesNotAnswer) {
    ListeningPeer peer;
    expectNothing(peer.port());
    peer.accept();
    EXPECT_NE(peer.read(), "") << "it had asked";
}

}  // namespace
