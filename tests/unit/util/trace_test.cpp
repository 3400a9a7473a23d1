#include "util/trace.h"

#include <fcntl.h>
#include <limits.h>
#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <string>

#include <gmock/gmock.h>

#include "support/no_free_descriptors.h"

namespace util {

namespace {

using testing::internal::CaptureStderr;
using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStderr;
using testing::internal::GetCapturedStdout;

// Standard output is this descriptor while it lives.
class StandardOutput {
  public:
    explicit StandardOutput(int descriptor) : before_(dup(STDOUT_FILENO)) {
        fflush(stdout);
        dup2(descriptor, STDOUT_FILENO);
    }
    ~StandardOutput() {
        dup2(before_, STDOUT_FILENO);
        close(before_);
    }
    StandardOutput(const StandardOutput&) = delete;
    StandardOutput& operator=(const StandardOutput&) = delete;

  private:
    int before_;
};

// Two descriptors that are closed in the end. What is written to `out` is read from `in`.
struct Ends {
    int in = -1;
    int out = -1;
    Ends() = default;
    Ends(const Ends&) = delete;
    Ends& operator=(const Ends&) = delete;
    ~Ends() {
        close(in);
        close(out);
    }

    // Until whoever writes without waiting is refused. A terminal makes room by itself once more,
    // when the kernel has brought the first bytes to the reader's side.
    void fill() const {
        setNonBlocking(true);
        const std::string much(PIPE_BUF, 'x');
        do {
            while (write(out, much.data(), much.size()) > 0) {
            }
            while (write(out, "x", 1) > 0) {
            }
        } while (getsRoom());
        setNonBlocking(false);
    }

    bool getsRoom() const {
        constexpr int kMilliseconds = 50;
        pollfd stream = {out, POLLOUT, 0};
        return poll(&stream, 1, kMilliseconds) > 0;
    }

    void setNonBlocking(bool on) const { fcntl(out, F_SETFL, on ? O_NONBLOCK : 0); }

    // Everything that is there now.
    std::string drain() const {
        fcntl(in, F_SETFL, O_NONBLOCK);
        std::string text;
        std::array<char, 4096> buffer{};
        for (ssize_t count = 0; (count = read(in, buffer.data(), buffer.size())) > 0;) {
            text.append(buffer.data(), static_cast<size_t>(count));
        }
        return text;
    }
};

struct Pipe : Ends {
    Pipe() {
        std::array<int, 2> ends{};
        EXPECT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
        in = ends[0];
        out = ends[1];
    }
};

struct SocketPair : Ends {
    SocketPair() {
        std::array<int, 2> ends{};
        EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()), 0);
        in = ends[0];
        out = ends[1];
    }
};

struct Terminal : Ends {
    Terminal() { EXPECT_EQ(openpty(&in, &out, nullptr, nullptr, nullptr), 0); }
};

TEST(Trace, GoesToStandardOutputAndStandardErrorAsItIs) {
    CaptureStdout();
    CaptureStderr();
    trace("%s = %d\n", "answer", 42);
    traceError("no line end");
    EXPECT_EQ(GetCapturedStderr(), "no line end");
    EXPECT_EQ(GetCapturedStdout(), "answer = 42\n");
}

TEST(Trace, DoesNotReadAnArgumentAsAFormat) {
    CaptureStdout();
    trace("%s", "%s%n%m");
    EXPECT_EQ(GetCapturedStdout(), "%s%n%m");
}

TEST(Trace, LongAndEmptyTextsAreWhole) {
    for (const size_t size : {0U, 1U, 1023U, 1024U, 1025U, 100'000U}) {
        const std::string text(size, 'x');
        CaptureStdout();
        trace("%s", text.c_str());
        EXPECT_EQ(GetCapturedStdout(), text);
    }
}

TEST(Trace, WritesTheErrorTextForPercentMAndLeavesErrno) {
    for (const size_t size : {0U, 2000U}) {
        const std::string text(size, 'x');
        CaptureStdout();
        errno = ENOENT;
        trace("%s%m", text.c_str());
        EXPECT_EQ(errno, ENOENT);
        EXPECT_EQ(GetCapturedStdout(), text + "No such file or directory");
    }
}

// What would wait here would wait for ever.
template <typename Stream>
class TraceToAReader : public testing::Test {
  protected:
    Stream stream;
};

struct StreamNames {
    template <typename Stream>
    static std::string GetName(int) {
        return std::is_same_v<Stream, Pipe>       ? "Pipe"
               : std::is_same_v<Stream, Terminal> ? "Terminal"
                                                  : "Socket";
    }
};

using Streams = testing::Types<Pipe, SocketPair, Terminal>;
TYPED_TEST_SUITE(TraceToAReader, Streams, StreamNames);

TYPED_TEST(TraceToAReader, ComesAtOnce) {
    const StandardOutput standardOutput(this->stream.out);
    trace("%s", "one");
    trace("%s", "two");
    EXPECT_EQ(this->stream.drain(), "onetwo");
}

TYPED_TEST(TraceToAReader, ThatStandsStillIsDropped) {
    this->stream.fill();
    const StandardOutput standardOutput(this->stream.out);
    trace("%s", "dropped");
    EXPECT_THAT(this->stream.drain(), testing::Not(testing::HasSubstr("dropped")));
    trace("%s", "later");
    EXPECT_EQ(this->stream.drain(), "later");
}

TYPED_TEST(TraceToAReader, LeavesTheStreamAsItsOtherUsersHaveIt) {
    const StandardOutput standardOutput(this->stream.out);
    const int before = fcntl(this->stream.out, F_GETFL);
    trace("%s", "one");
    EXPECT_EQ(fcntl(this->stream.out, F_GETFL), before);
    EXPECT_EQ(before & O_NONBLOCK, 0);
}

TYPED_TEST(TraceToAReader, NeedsNoDescriptor) {
    const StandardOutput standardOutput(this->stream.out);
    {
        const NoFreeDescriptors none;
        trace("%s", "one");
    }
    EXPECT_EQ(this->stream.drain(), "one");
    this->stream.fill();
    {
        const NoFreeDescriptors none;
        trace("%s", "dropped");
    }
    EXPECT_THAT(this->stream.drain(), testing::Not(testing::HasSubstr("dropped")));
}

TEST(Trace, IntoAPipeWithoutRoomForAllOfItIsDroppedWhole) {
    const Pipe pipe;
    pipe.fill();
    std::array<char, PIPE_BUF> page{};
    ASSERT_EQ(read(pipe.in, page.data(), page.size()), PIPE_BUF);
    const StandardOutput standardOutput(pipe.out);
    trace("%s", std::string(PIPE_BUF - 1, 'a').c_str());
    trace("%s", "bb");
    EXPECT_THAT(pipe.drain(), testing::EndsWith("xa" + std::string(PIPE_BUF - 2, 'a')));
}

TEST(Trace, AReaderThatIsGoneIsNoFailure) {
    Pipe pipe;
    close(pipe.in);
    pipe.in = -1;
    auto* const before = signal(SIGPIPE, SIG_IGN);
    {
        const StandardOutput standardOutput(pipe.out);
        trace("%s", "one");
    }
    signal(SIGPIPE, before);
}

TEST(Trace, AClosedStreamIsNoFailure) {
    const Pipe pipe;
    const StandardOutput standardOutput(pipe.out);
    close(STDOUT_FILENO);
    trace("%s", "one");
    EXPECT_EQ(pipe.drain(), "");
}

TEST(TakesOutput, WhileThePipeIsNotHalfFull) {
    const Pipe pipe;
    const std::string half(static_cast<size_t>(fcntl(pipe.out, F_GETPIPE_SZ)) / 2, 'x');
    EXPECT_TRUE(takesOutput(pipe.out));
    ASSERT_EQ(write(pipe.out, half.data(), half.size() - 1), static_cast<ssize_t>(half.size() - 1));
    EXPECT_TRUE(takesOutput(pipe.out));
    ASSERT_EQ(write(pipe.out, "x", 1), 1);
    EXPECT_FALSE(takesOutput(pipe.out));
    pipe.drain();
    EXPECT_TRUE(takesOutput(pipe.out));
}

TYPED_TEST(TraceToAReader, TakesNoOutputOfCommandsWhileItStandsStill) {
    EXPECT_TRUE(takesOutput(this->stream.out));
    this->stream.fill();
    EXPECT_FALSE(takesOutput(this->stream.out));
}

TEST(TakesOutput, AFileAlwaysDoes) {
    const int file = open("/dev/null", O_WRONLY | O_CLOEXEC);
    errno = ENOENT;
    EXPECT_TRUE(takesOutput(file));
    EXPECT_EQ(errno, ENOENT);
    close(file);
}

}  // namespace

}  // namespace util
