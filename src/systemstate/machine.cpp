#include "systemstate/machine.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <utility>

#include "util/files.h"
#include "util/log.h"
#include "util/trace.h"

namespace systemstate {

namespace {

// A blocked reader of our output must not block a command as well.
std::string withoutStuckStreams(const char* command) {
    std::string text;
    if (!util::takesOutput(STDOUT_FILENO)) {
        text += "exec >/dev/null; ";
    }
    if (!util::takesOutput(STDERR_FILENO)) {
        text += "exec 2>/dev/null; ";
    }
    return text + command;
}

// Counts a command for as long as it is under way.
class UnderWay {
  public:
    explicit UnderWay(std::atomic<int>& count) : count_(count) { ++count_; }
    ~UnderWay() { --count_; }
    UnderWay(const UnderWay&) = delete;
    UnderWay& operator=(const UnderWay&) = delete;

  private:
    std::atomic<int>& count_;
};

}  // namespace

Machine::Machine(std::string root) : root_(std::move(root)) {}

std::string Machine::path(const char* absolute) const {
    return root_ + absolute;
}

int Machine::run(const char* command, TimeLimit limit) {
    if (beforeCommand_) {
        beforeCommand_();
    }
    const UnderWay underWay(commandsUnderWay_);
    errno = 0;
    if (limit == TimeLimit::none) {
        return limitedRuns_ ? limitedRuns_->run(command) : runCommand(command);
    }
    return runLimitedCommand(command);
}

void Machine::limitRuns(std::optional<std::chrono::milliseconds> limit) {
    limitedRuns_.reset();
    if (limit) {
        limitedRuns_.emplace(*limit);
    }
}

std::optional<std::string> Machine::firstLine(const char* command) {
    if (beforeCommand_) {
        beforeCommand_();
    }
    const UnderWay underWay(commandsUnderWay_);
    return readCommand(command);
}

bool Machine::exists(const char* absolute) const {
    return access(path(absolute).c_str(), F_OK) == 0;
}

bool Machine::stats(const char* absolute) const {
    struct stat status {};
    return stat(path(absolute).c_str(), &status) == 0;
}

std::optional<std::string> Machine::readFile(const char* absolute) const {
    util::FileContents contents = util::readContents(path(absolute));
    errno = contents.errorNumber;
    switch (contents.outcome) {
        case util::Reading::missing:
        case util::Reading::notOpened:
            return std::nullopt;
        case util::Reading::noMemory:
            throw std::bad_alloc();
        default:
            return std::move(contents.bytes);
    }
}

util::WriteFailure Machine::writeFile(const char* absolute, std::string_view text) const {
    return util::replaceFile(path(absolute), text);
}

void Machine::setBeforeCommand(std::function<void()> hook) {
    beforeCommand_ = std::move(hook);
}

int Machine::runCommand(const char* command) {
    return std::system(withoutStuckStreams(command).c_str());
}

int Machine::runLimitedCommand(const char* command) {
    return limited_.run(command);
}

std::optional<std::string> Machine::readCommand(const char* command) {
    std::optional<std::string> line = limited_.firstLine(command);
    if (!line) {
        util::logMessage(LOG_ERR, "error opening %s: %m\n", command);
    }
    return line;
}

void Machine::waitFor(std::chrono::milliseconds time) {
    limited_.pause(time);
}

}  // namespace systemstate
