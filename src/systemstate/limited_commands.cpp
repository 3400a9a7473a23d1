// The kernels of the frames have no descriptor for the end of a process, so the class polls for the
// end at growing intervals: a command of the usual few milliseconds is not delayed, and one that
// takes seconds costs little.

#include "systemstate/limited_commands.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <string_view>

#include "util/log.h"
#include "util/trace.h"

namespace systemstate {

namespace {

using Milliseconds = LimitedCommands::Milliseconds;

// Between two looks whether a command has ended passes a sixteenth of the time that it has taken so
// far, within these bounds.
constexpr std::chrono::microseconds kFirstStep{100};
constexpr std::chrono::microseconds kMaxStep{20000};
constexpr int kLooksPerDoubling = 16;
constexpr Milliseconds kLeftByInterruption{1000};
constexpr Milliseconds kLeastTime{200};
constexpr int kLooksForTheKilled = 20;
constexpr int kNoPipe = -1;

void closeEnd(int& end) {
    if (end >= 0) {
        close(end);
        end = -1;
    }
}

// The arguments of posix_spawn besides the command.
class SpawnSettings {
  public:
    explicit SpawnSettings(int output) {
        posix_spawn_file_actions_init(&actions_);
        posix_spawnattr_init(&attributes_);
        posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETPGROUP);
        posix_spawnattr_setpgroup(&attributes_, 0);
        if (output != kNoPipe) {
            posix_spawn_file_actions_adddup2(&actions_, output, STDOUT_FILENO);
        } else {
            spare(STDOUT_FILENO);
        }
        spare(STDERR_FILENO);
    }
    ~SpawnSettings() {
        posix_spawn_file_actions_destroy(&actions_);
        posix_spawnattr_destroy(&attributes_);
    }
    SpawnSettings(const SpawnSettings&) = delete;
    SpawnSettings& operator=(const SpawnSettings&) = delete;

    const posix_spawn_file_actions_t* actions() const { return &actions_; }
    const posix_spawnattr_t* attributes() const { return &attributes_; }

  private:
    // A blocked reader of our output must not block the command as well.
    void spare(int stream) {
        if (!util::takesOutput(stream)) {
            posix_spawn_file_actions_addopen(&actions_, stream, "/dev/null", O_WRONLY, 0);
        }
    }

    posix_spawn_file_actions_t actions_;
    posix_spawnattr_t attributes_;
};

// Nothing while it runs. A process that somebody else has waited for has ended as well.
std::optional<int> readEndStatus(pid_t child) {
    int status = -1;
    return waitpid(child, &status, WNOHANG) == 0 ? std::nullopt : std::optional(status);
}

std::chrono::nanoseconds nextStep(std::chrono::nanoseconds elapsed) {
    return std::clamp<std::chrono::nanoseconds>(elapsed / kLooksPerDoubling, kFirstStep, kMaxStep);
}

// Until there is output to read, or for so long.
void waitAt(const CommandOutput* output, std::chrono::nanoseconds time) {
    pollfd pipe = {output != nullptr ? output->readEnd() : -1, POLLIN, 0};
    const timespec most = {0, static_cast<long>(time.count())};  // less than a second
    ppoll(&pipe, pipe.fd >= 0 ? 1 : 0, &most, nullptr);
}

}  // namespace

CommandOutput::CommandOutput() {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) == 0) {
        readEnd_ = ends[0];
        writeEnd_ = ends[1];
        fcntl(readEnd_, F_SETFL, O_NONBLOCK);
    }
}

CommandOutput::~CommandOutput() {
    closeEnd(readEnd_);
    closeEnd(writeEnd_);
}

void CommandOutput::closeWriteEnd() {
    closeEnd(writeEnd_);
}

void CommandOutput::read() {
    while (readEnd_ >= 0) {
        const ssize_t count = ::read(readEnd_, bytes_.data() + filled_, bytes_.size() - filled_);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0 && errno == EAGAIN) {
            return;
        }
        if (count < 0) {
            util::trace("fread error %d\n", static_cast<int>(count));
        }
        filled_ += count > 0 ? static_cast<std::size_t>(count) : 0;
        if (count <= 0 || filled_ == bytes_.size()) {
            closeEnd(readEnd_);
        }
    }
}

std::string CommandOutput::firstLine() const {
    const std::string_view text(bytes_.data(), filled_);
    return std::string(text.substr(0, text.find_first_of(std::string_view("\n\0", 2))));
}

int LimitedCommands::run(const char* command) {
    const pid_t child = start(command, kNoPipe);
    if (child < 0) {
        return -1;
    }
    const int status = waitForEnd(command, child, nullptr).status;
    errno = 0;  // an exit code has no error text
    return status;
}

std::optional<std::string> LimitedCommands::firstLine(const char* command) {
    CommandOutput output;
    const pid_t child = output.readEnd() < 0 ? -1 : start(command, output.writeEnd());
    if (child < 0) {
        return std::nullopt;
    }
    output.closeWriteEnd();
    const End end = waitForEnd(command, child, &output);
    output.read();
    return end.killed ? std::string() : output.firstLine();
}

void LimitedCommands::pause(Milliseconds time) {
    std::unique_lock lock(mutex_);
    interrupted_.wait_for(lock, time, [this] { return interruptedAt_.has_value(); });
}

void LimitedCommands::interrupt() {
    const std::lock_guard lock(mutex_);
    interruptedAt_ = interruptedAt_.value_or(Clock::now());
    interrupted_.notify_all();
}

pid_t LimitedCommands::start(const char* command, int output) {
    reapAbandoned();
    const SpawnSettings settings(output);
    std::array<const char*, 4> words = {"sh", "-c", command, nullptr};
    pid_t child = -1;
    const int failure = posix_spawn(&child, "/bin/sh", settings.actions(), settings.attributes(),
                                    const_cast<char* const*>(words.data()), environ);
    if (failure != 0) {
        errno = failure;
        return -1;
    }
    return child;
}

LimitedCommands::End LimitedCommands::waitForEnd(const char* command, pid_t child,
                                                 CommandOutput* output) {
    const Clock::time_point start = Clock::now();
    while (true) {
        if (const std::optional<int> status = readEndStatus(child)) {
            return {*status, false};
        }
        if (Clock::now() >= computeDeadline(start)) {
            break;
        }
        waitAt(output, nextStep(Clock::now() - start));
        if (output != nullptr) {
            output->read();
        }
    }
    const int status = killGroup(child);
    const auto time = std::chrono::duration_cast<Milliseconds>(Clock::now() - start);
    util::logMessage(LOG_ERR, "%s was killed after %lld ms\n", command,
                     static_cast<long long>(time.count()));
    return {status, true};
}

// A process in the middle of a transfer that the hardware does not end cannot be killed: it is left
// alone for now.
int LimitedCommands::killGroup(pid_t child) {
    kill(-child, SIGKILL);
    for (int i = 0; i < kLooksForTheKilled; ++i) {
        if (const std::optional<int> status = readEndStatus(child)) {
            return *status;
        }
        waitAt(nullptr, i == 0 ? Milliseconds(1) : kLeastTime / kLooksForTheKilled);
    }
    const std::lock_guard lock(mutex_);
    abandoned_.push_back(child);
    return SIGKILL;
}

LimitedCommands::Clock::time_point LimitedCommands::computeDeadline(Clock::time_point start) {
    const std::lock_guard lock(mutex_);
    const Clock::time_point usual = start + limit_;
    return interruptedAt_ ? std::min(usual, std::max(*interruptedAt_ + kLeftByInterruption,
                                                     start + kLeastTime))
                          : usual;
}

void LimitedCommands::reapAbandoned() {
    const std::lock_guard lock(mutex_);
    std::erase_if(abandoned_, [](pid_t child) { return readEndStatus(child).has_value(); });
}

}  // namespace systemstate
