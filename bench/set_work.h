#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

// What a set request costs any program besides its messages: log lines and a saved file. The
// programs that the daemon is compared with do it here, with plain calls of the C library.

// Connects to `port` of the loopback without delaying small segments; ends the program on failure.
int connectTo(uint16_t port);

// Lines for the system log, read from a file: a priority, a blank, the text.
class LogLines {
  public:
    explicit LogLines(const std::string& file);
    // Sends all of them with syslog(3).
    void send() const;

  private:
    std::vector<std::pair<int, std::string>> lines_;
};

// A file that each save replaces as safely as the daemon does: written and synced under another
// name, the previous file kept until the directory has been synced.
class SavedFile {
  public:
    explicit SavedFile(std::string file) : file_(std::move(file)) {}
    // Ends the program when a step fails.
    void save(const std::string& content) const;

  private:
    std::string file_;
};

// What `--log FILE` and `--save FILE SIZE` ask for; both are optional.
class SetWork {
  public:
    explicit SetWork(const std::vector<std::string>& options);
    void work() const;

  private:
    std::vector<LogLines> log_;
    std::vector<SavedFile> saved_;
    std::string content_;
};
