// The system log as the daemon uses it: the lines of syslog(3), and what becomes of them when the
// log stands still or somebody makes too many.

#include <sys/socket.h>
#include <syslog.h>

#include <algorithm>
#include <cerrno>
#include <functional>
#include <regex>

#include "log_socket.h"
#include "on_bus.h"
#include "util/log.h"

using namespace harness;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

// The same with "<time>" in the place of every time that has the form of one.
std::string withoutTimes(const std::string& line) {
    static const std::regex kTime("[A-Z][a-z]{2} [ 1-3][0-9] [0-9]{2}:[0-9]{2}:[0-9]{2} ");
    return std::regex_replace(line, kTime, "<time>");
}

std::vector<std::string> withoutTimes(std::vector<std::string> lines) {
    for (std::string& line : lines) {
        line = withoutTimes(line);
    }
    return lines;
}

// Some lines of each kind, logged in this process one way or the other.
void logSome(void (*log)(int, const char*, ...)) {
    log(LOG_INFO, "%s = %d\n", "answer", 42);
    log(LOG_DEBUG, "no line end");
    log(LOG_USER | LOG_CRIT, "another facility\n");
    log(LOG_KERN | LOG_EMERG, "%s", "");
    log(LOG_INFO, "%s\n", std::string(5000, 'x').c_str());
    errno = ENOENT;
    log(LOG_ERR, "reason: %m\n");
    log(LOG_ERR, "%s: %m\n", std::string(5000, 'x').c_str());
}

class SystemLogLines : public OnBus {
  protected:
    SystemLogLines() {
        ::openlog("Pallwatch", 0, LOG_LOCAL2);
        ::setlogmask(0xff);
        util::openLog("Pallwatch", LOG_LOCAL2);
    }
    ~SystemLogLines() override { ::closelog(); }
};

TEST_F(SystemLogLines, AreThoseOfSyslogByteForByte) {
    const LogSocket socket(SOCK_DGRAM);
    logSome(::syslog);
    const std::vector<std::string> expected = withoutTimes(socket.take());
    ASSERT_EQ(expected.size(), 7U);
    EXPECT_THAT(expected[0], HasSubstr("<time>"));
    logSome(util::logMessage);
    EXPECT_EQ(withoutTimes(socket.take()), expected);
}

TEST_F(SystemLogLines, AreThoseOfSyslogOnAStreamToo) {
    const LogSocket socket(SOCK_STREAM);
    logSome(::syslog);
    const std::string expected = withoutTimes(socket.takeStream());
    logSome(util::logMessage);
    EXPECT_EQ(withoutTimes(socket.takeStream()), expected);
    EXPECT_EQ(std::count(expected.begin(), expected.end(), '\0'), 7);
}

// A log that stands still holds about ten lines, fewer than the start of the daemon makes.
class SystemLogThatStandsStill : public OnBus {
  protected:
    void setNames(int count, const std::string& ending) {
        for (int i = 0; i < count; ++i) {
            set(R"({"systemName":")" + std::to_string(i) + ending + "\"}");
            EXPECT_EQ(sentUntilNow().back(), answered(200, "OK"));
        }
    }

    // The lines that have that part, once the last one has come.
    std::vector<std::string> linesUntil(const std::string& last, const std::string& part) const {
        std::vector<std::string> found;
        bool ended = false;
        const auto look = [&] {
            for (const std::string& line : stuck.take()) {
                ended = ended || line.ends_with(last);
                if (line.find(part) != std::string::npos) {
                    found.push_back(line);
                }
            }
            return ended;
        };
        waitUntil(look, last);
        return found;
    }

    const LogSocket stuck{SOCK_DGRAM};
};

TEST_F(SystemLogThatStandsStill, KeepsNobodyFromAnAnswerAndNotFromTheEnd) {
    start();
    setNames(100, std::string(500, 'x'));
    stop();
}

TEST_F(SystemLogThatStandsStill, GetsItsLinesOnceItIsReadAgain) {
    constexpr int kSets = 20;
    start();
    setNames(kSets, "");
    const std::vector<std::string> lines =
        linesUntil("Set: system.systemName = 19\n", "System param Set: ");
    ASSERT_EQ(lines.size(), static_cast<size_t>(kSets));
    for (size_t i = 0; i < lines.size(); ++i) {
        EXPECT_THAT(lines[i],
                    testing::EndsWith("Set: system.systemName = " + std::to_string(i) + "\n"));
    }
    stop();
}

TEST_F(SystemLogThatStandsStill, IsToldHowManyLinesItHasLost) {
    start();
    setNames(200, std::string(500, 'x'));
    EXPECT_THAT(
        linesUntil(" log lines were lost\n", " log lines were lost\n"),
        ElementsAre(testing::MatchesRegex("<148>.*Pallwatch: [0-9]+ log lines were lost\n")));
    stop();
}

// What is told of a kind of line: those that were written, and those that were held back.
struct Told {
    size_t written = 0;
    size_t heldBack = 0;
};

class Flood : public OnBus {
  protected:
    static constexpr size_t kMany = 5000;

    void sendMany(const std::string& bytes) const {
        std::string all;
        for (size_t i = 0; i < kMany; ++i) {
            all += bytes;
        }
        bus.sendRaw(all);
    }

    Told toldOf(const std::string& line, const std::string& kind) const {
        Told told;
        for (const LogLine& one : log.lines()) {
            if (one.text == line) {
                ++told.written;
            } else if (one.text.ends_with(" more: " + kind + "\n")) {
                told.heldBack += std::stoul(one.text);
            }
        }
        return told;
    }

    // Every line is written or counted; that many at least are counted, however slow this machine.
    void expectLimited(const std::string& line, const std::string& kind) {
        sentUntilNow();
        const auto all = [&] {
            const Told told = toldOf(line, kind);
            return told.written + told.heldBack == kMany;
        };
        waitUntil(all, "all lines to be told of: " + kind);
        EXPECT_GT(toldOf(line, kind).heldBack, kMany / 2);
    }
};

TEST_F(Flood, OfPayloadsWithoutAHeaderIsLimited) {
    start();
    sendMany("5:hello;");
    expectLimited("TarnInternalMessage Header not found:hello\n",
                  "TarnInternalMessage Header not found");
}

TEST_F(Flood, OfHeadersThatAreNoneIsLimited) {
    start();
    sendMany("3:{}\n;");
    expectLimited("TarnInternalMessage header decode error:{}\n",
                  "TarnInternalMessage header decode error");
}

TEST_F(Flood, OfMisframedPayloadsIsLimitedOnStandardError) {
    start();
    sendMany("5:hello,");
    sentUntilNow();
    daemon->error().waitFor(" more: misframed payloads\n");
    const std::string text = daemon->error().text();
    const std::regex line("hello\n");
    const auto shown = std::distance(std::sregex_iterator(text.begin(), text.end(), line), {});
    EXPECT_GT(shown, 0);
    EXPECT_LT(static_cast<size_t>(shown), kMany / 2);
}

TEST_F(Flood, OfSettingsIsLoggedWhole) {
    constexpr size_t kSettings = 300;
    start();
    for (size_t i = 0; i < kSettings; ++i) {
        set(R"({"systemName":")" + std::to_string(i) + "\"}");
    }
    sentUntilNow();
    size_t logged = 0;
    for (const LogLine& line : log.linesUntilNow()) {
        logged += line.text.starts_with("System param Set: ") ? 1U : 0U;
    }
    EXPECT_EQ(logged, kSettings);
}

TEST_F(Flood, ControlCharactersOfAPayloadAreEscapedAndALongOneIsCut) {
    start();
    bus.sendRaw("9:\x1b[2Jhello;");
    log.waitFor("TarnInternalMessage Header not found:\\x1b[2Jhello\n");
    bus.sendRaw("3000:" + std::string(3000, 'x') + ";");
    log.waitFor("TarnInternalMessage Header not found:" + std::string(1024, 'x') +
                "... (3000 bytes)\n");
}

}  // namespace
