#pragma once

#include <cerrno>
#include <chrono>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "systemstate/machine.h"

namespace systemstate {

// A machine that runs nothing: it writes down what it was told to run, in order, and answers as it
// was told before. Its files are those under the root it is given. Any thread.
class RecordingMachine : public Machine {
  public:
    using Commands = std::vector<std::string>;

    // With a product, as /tmp/eeprom would name it, none when empty.
    explicit RecordingMachine(std::string root, const std::string& product = "Quorane")
        : Machine(std::move(root)) {
        setFirstLine(". /tmp/eeprom && echo $PRODUCT", product);
    }

    // What a run of the command gives; any other command gives 0 and leaves errno.
    void setResult(const std::string& command, int result, int errorNumber = 0) {
        results_[command] = {result, errorNumber};
    }

    // The first line of what the command prints; any other command prints nothing.
    void setFirstLine(const std::string& command, std::optional<std::string> line) {
        lines_[command] = std::move(line);
    }

    // Called with each command, in the place of running it.
    void setOnCommand(std::function<void(const std::string&)> observer) {
        onCommand_ = std::move(observer);
    }

    // The commands so far, which are forgotten.
    Commands take() {
        const std::lock_guard lock(mutex_);
        return std::exchange(commands_, {});
    }

  private:
    struct Result {
        int status = 0;
        int errorNumber = 0;
    };

    int runCommand(const char* command) override {
        record(command);
        const auto found = results_.find(command);
        if (found == results_.end()) {
            return 0;
        }
        errno = found->second.errorNumber;
        return found->second.status;
    }

    int runLimitedCommand(const char* command) override { return runCommand(command); }

    std::optional<std::string> readCommand(const char* command) override {
        record(command);
        const auto found = lines_.find(command);
        return found == lines_.end() ? std::string() : found->second;
    }

    // Nobody waits; the pause stands among the commands.
    void waitFor(std::chrono::milliseconds time) override {
        record(("pause of " + std::to_string(time.count()) + " ms").c_str());
    }

    void record(const char* command) {
        {
            const std::lock_guard lock(mutex_);
            commands_.emplace_back(command);
        }
        if (onCommand_) {
            onCommand_(command);
        }
    }

    std::mutex mutex_;
    Commands commands_;
    std::map<std::string, Result> results_;
    std::map<std::string, std::optional<std::string>> lines_;
    std::function<void(const std::string&)> onCommand_;
};

}  // namespace systemstate
