#include "util/system_log.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <limits>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>

#include "support/temporary_directory.h"

namespace util {

namespace {

using testing::AnyOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::MatchesRegex;
using testing::SizeIs;

constexpr const char* kTime = "[A-Z][a-z][a-z] [ 0-9][0-9] [0-9:]{8} ";

auto isLine(const std::string& priority, const std::string& text) {
    return MatchesRegex("<" + priority + ">" + kTime + "Pallwatch: " + text);
}

// Where a program looks for the system log: a socket at a path, read when the test says so.
class LogSocket {
  public:
    explicit LogSocket(const std::string& path, int type = SOCK_DGRAM)
        : socket_(::socket(AF_UNIX, type | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)) {
        std::filesystem::remove(path);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        path.copy(address.sun_path, sizeof address.sun_path - 1);
        EXPECT_EQ(bind(socket_, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
        if (type == SOCK_STREAM) {
            EXPECT_EQ(listen(socket_, 4), 0);
        }
    }
    ~LogSocket() { close(socket_); }
    LogSocket(const LogSocket&) = delete;
    LogSocket& operator=(const LogSocket&) = delete;

    // All datagrams so far.
    std::vector<std::string> take() const {
        std::vector<std::string> all;
        for (std::string one = receive(socket_); !one.empty(); one = receive(socket_)) {
            all.push_back(one);
        }
        return all;
    }

    // What came on the next connection so far.
    std::string takeStream() const {
        const int connection = accept4(socket_, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
        std::string bytes = receive(connection);
        close(connection);
        return bytes;
    }

  private:
    static std::string receive(int socket) {
        std::array<char, 65536> buffer{};
        const ssize_t size = recv(socket, buffer.data(), buffer.size(), 0);
        return {buffer.data(), static_cast<size_t>(std::max<ssize_t>(size, 0))};
    }

    int socket_;
};

class SystemLogTest : public testing::Test {
  protected:
    SystemLogTest() { log.setSource("Pallwatch", LOG_LOCAL2); }

    // Writes numbered lines until one does not go any more; gives how many went.
    int fill() {
        const int socket = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        path.copy(address.sun_path, sizeof address.sun_path - 1);
        EXPECT_EQ(connect(socket, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
        int count = 0;
        while (send(socket, "full", 4, 0) == 4) {
            ++count;
        }
        close(socket);
        return count;
    }

    const TemporaryDirectory directory;
    const std::string path = directory.path() + "/log";
    SystemLog log{path};
};

TEST_F(SystemLogTest, ALineHasPriorityTimeNameAndTheTextAsItIs) {
    const LogSocket socket(path);
    log.write(LOG_INFO, "text\n");
    log.write(LOG_USER | LOG_CRIT, "");
    EXPECT_THAT(socket.take(), ElementsAre(isLine("150", "text\n"), isLine("10", "")));
}

TEST_F(SystemLogTest, EachLineHasTheTimeOfItsOwnSecond) {
    const LogSocket socket(path);
    const auto writeAndCompare = [&] {
        const std::string before(LogLineHeader(150, std::time(nullptr), "Pallwatch").text());
        log.write(LOG_INFO, "");
        const std::string after(LogLineHeader(150, std::time(nullptr), "Pallwatch").text());
        EXPECT_THAT(socket.take(), ElementsAre(AnyOf(before, after)));
    };
    const std::time_t start = std::time(nullptr);
    writeAndCompare();
    while (std::time(nullptr) == start) {
        std::this_thread::yield();
    }
    writeAndCompare();
}

TEST_F(SystemLogTest, UntilToldOtherwiseTheLinesAreTheProgramsOwn) {
    const LogSocket socket(path);
    SystemLog(path).write(LOG_INFO, "text");
    EXPECT_THAT(socket.take(), ElementsAre(MatchesRegex(std::string("<14>") + kTime +
                                                        program_invocation_short_name + ": text")));
}

TEST_F(SystemLogTest, ALineOfAnyLengthThatTheSocketTakesIsWhole) {
    const LogSocket socket(path);
    const std::string text(60'000, 'x');
    log.write(LOG_INFO, text);
    EXPECT_THAT(socket.take(), ElementsAre(EndsWith("Pallwatch: " + text)));
}

TEST_F(SystemLogTest, LinesFollowALogThatWasStartedAnew) {
    {
        const LogSocket socket(path);
        log.write(LOG_INFO, "one");
        EXPECT_THAT(socket.take(), SizeIs(1));
    }
    const LogSocket socket(path);
    log.write(LOG_INFO, "two");
    EXPECT_THAT(socket.take(), ElementsAre(isLine("150", "two")));
}

TEST_F(SystemLogTest, LinesWithoutALogAreCountedAndToldOnceThereIsOne) {
    log.write(LOG_INFO, "lost");
    log.write(LOG_INFO, "lost");
    log.countLost();
    const LogSocket socket(path);
    log.write(LOG_INFO, "one");
    log.write(LOG_INFO, "two");
    EXPECT_THAT(socket.take(), ElementsAre(isLine("148", "3 log lines were lost\n"),
                                           isLine("150", "one"), isLine("150", "two")));
}

// What would wait here would wait for ever.
TEST_F(SystemLogTest, ALogThatStandsStillHoldsNobodyAndGetsItsLinesLater) {
    const LogSocket socket(path);
    log.write(LOG_INFO, "one");
    const int taken = fill();
    log.write(LOG_INFO, "two");
    log.write(LOG_INFO, "three");
    EXPECT_THAT(socket.take(), SizeIs(static_cast<size_t>(taken) + 1));
    log.write(LOG_INFO, "four");
    EXPECT_THAT(socket.take(),
                ElementsAre(isLine("150", "two"), isLine("150", "three"), isLine("150", "four")));
}

TEST_F(SystemLogTest, AFlushSendsWhatWasKept) {
    const LogSocket socket(path);
    log.write(LOG_INFO, "one");
    fill();
    log.write(LOG_INFO, "two");
    log.flush();
    socket.take();
    log.flush();
    EXPECT_THAT(socket.take(), ElementsAre(isLine("150", "two")));
}

TEST_F(SystemLogTest, WhatIsKeptIsBoundedAndTheRestCounted) {
    const std::string text(10'000, 'x');
    const LogSocket socket(path);
    log.write(LOG_INFO, "one");
    fill();
    for (int i = 0; i < 10; ++i) {
        log.write(LOG_INFO, text);
    }
    socket.take();
    log.write(LOG_INFO, "two");
    const std::vector<std::string> lines = socket.take();
    ASSERT_THAT(lines, SizeIs(8));
    for (size_t i = 0; i < 6; ++i) {
        EXPECT_THAT(lines[i], EndsWith(text));
    }
    EXPECT_THAT(lines[6], isLine("148", "4 log lines were lost\n"));
    EXPECT_THAT(lines[7], isLine("150", "two"));
}

TEST_F(SystemLogTest, AFlushTellsWhatWasLost) {
    log.write(LOG_INFO, "lost");
    const LogSocket socket(path);
    log.flush();
    EXPECT_THAT(socket.take(), ElementsAre(isLine("148", "1 log lines were lost\n")));
}

TEST_F(SystemLogTest, WhatWasKeptWaitsForALogThatIsStartedAnew) {
    auto before = std::make_unique<LogSocket>(path);
    log.write(LOG_INFO, "one");
    fill();
    log.write(LOG_INFO, "two");
    before.reset();
    log.write(LOG_INFO, "three");
    const LogSocket socket(path);
    log.flush();
    EXPECT_THAT(socket.take(), ElementsAre(isLine("150", "two"), isLine("150", "three")));
}

TEST_F(SystemLogTest, ALineThatNoDatagramHoldsIsCounted) {
    const LogSocket socket(path);
    log.write(LOG_INFO, std::string(5'000'000, 'x'));
    log.write(LOG_INFO, "one");
    EXPECT_THAT(socket.take(),
                ElementsAre(isLine("148", "1 log lines were lost\n"), isLine("150", "one")));
}

// The number of datagrams that a socket holds for its reader.
size_t readQueueLength() {
    size_t length = 0;
    std::ifstream("/proc/sys/net/unix/max_dgram_qlen") >> length;
    EXPECT_GT(length, 0U);
    return length;
}

// The reader comes to its turn only when the writer waits. More lines would ask for more waiting
// than a busy machine allows in a second.
TEST_F(SystemLogTest, ALogThatIsJustBehindLosesNothing) {
    const size_t lines = readQueueLength() + 20;
    const LogSocket socket(path);
    std::vector<std::string> taken;
    std::thread reader([&] {
        while (taken.size() < lines) {
            const std::vector<std::string> more = socket.take();
            taken.insert(taken.end(), more.begin(), more.end());
            std::this_thread::sleep_for(std::chrono::microseconds(more.empty() ? 100 : 0));
        }
    });
    for (size_t i = 0; i < lines; ++i) {
        log.write(LOG_INFO, "text");
    }
    reader.join();
    EXPECT_THAT(taken, testing::Each(isLine("150", "text")));
}

TEST_F(SystemLogTest, AStreamHasAZeroByteBehindEachLine) {
    const LogSocket socket(path, SOCK_STREAM);
    log.write(LOG_INFO, "one");
    log.write(LOG_INFO, "two\n");
    const std::string end(1, '\0');
    const std::string bytes = socket.takeStream();
    const size_t half = bytes.find('\0');
    ASSERT_NE(half, std::string::npos);
    EXPECT_THAT(bytes.substr(0, half), isLine("150", "one"));
    EXPECT_THAT(bytes.substr(half + 1, bytes.size() - half - 2), isLine("150", "two\n"));
    EXPECT_EQ(bytes.back(), '\0');
}

TEST_F(SystemLogTest, AStreamThatStandsStillHoldsNobody) {
    const LogSocket socket(path, SOCK_STREAM);
    const std::string text(60'000, 'x');
    for (int i = 0; i < 1000; ++i) {
        log.write(LOG_INFO, text);
    }
    std::string all;
    for (int i = 0; i < 1000 && all.find("Pallwatch: one") == std::string::npos; ++i) {
        log.write(LOG_INFO, "one");
        all += socket.takeStream();
    }
    EXPECT_THAT(all, testing::HasSubstr(" log lines were lost\n"));
    EXPECT_THAT(all, testing::HasSubstr("Pallwatch: one"));
}

TEST_F(SystemLogTest, TheKindOfSocketMayChange) {
    for (const int type : {SOCK_DGRAM, SOCK_STREAM, SOCK_DGRAM}) {
        const LogSocket socket(path, type);
        log.write(LOG_INFO, "one");
        EXPECT_THAT(type == SOCK_STREAM ? socket.takeStream() : socket.take().at(0),
                    testing::HasSubstr("Pallwatch: one"));
    }
}

TEST_F(SystemLogTest, NoCommandInheritsTheSocket) {
    const LogSocket socket(path);
    log.write(LOG_INFO, "one");
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        const int descriptor = std::stoi(entry.path().filename());
        sockaddr_un peer{};
        socklen_t size = sizeof peer;
        if (getpeername(descriptor, reinterpret_cast<sockaddr*>(&peer), &size) == 0 &&
            path == peer.sun_path) {
            EXPECT_TRUE(fcntl(descriptor, F_GETFD) & FD_CLOEXEC);
        }
    }
}

TEST_F(SystemLogTest, ThreadsMayWriteAtOnce) {
    constexpr size_t kThreads = 4;
    constexpr size_t kLines = 2;  // few enough for a socket that nobody reads meanwhile
    const LogSocket socket(path);
    std::vector<std::thread> threads;
    for (size_t i = 0; i < kThreads; ++i) {
        threads.emplace_back([this] {
            for (size_t line = 0; line < kLines; ++line) {
                log.write(LOG_INFO, "text");
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_THAT(socket.take(),
                testing::AllOf(SizeIs(kThreads * kLines), testing::Each(isLine("150", "text"))));
}

TEST(LogLineHeader, HasTheDayOfTheMonthInTwoColumns) {
    setenv("TZ", "UTC0", 1);
    tzset();
    constexpr time_t kDay = 86'400;
    EXPECT_EQ(LogLineHeader(150, 0, "Pallwatch").text(), "<150>Jan  1 00:00:00 Pallwatch: ");
    EXPECT_EQ(LogLineHeader(8, 9 * kDay + 3723, "a").text(), "<8>Jan 10 01:02:03 a: ");
    unsetenv("TZ");
    tzset();
}

TEST(LogLineHeader, HasNoTimeBeyondEveryCalendar) {
    EXPECT_EQ(LogLineHeader(150, std::numeric_limits<time_t>::max(), "Pallwatch").text(),
              "<150>Pallwatch: ");
}

}  // namespace

}  // namespace util
