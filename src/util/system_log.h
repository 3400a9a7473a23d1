#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <ctime>
#include <list>
#include <mutex>
#include <string>
#include <string_view>

namespace util {

// The time of a line, "Jan  1 00:00:00 ", in the local zone; empty when the calendar has none for
// that moment.
class LogTime {
  public:
    LogTime(std::time_t moment);  // NOLINT(google-explicit-constructor): a moment is a time
    std::time_t moment() const { return moment_; }
    std::string_view text() const { return bytes_.data(); }

  private:
    std::time_t moment_;
    std::array<char, sizeof "Jan  1 00:00:00 "> bytes_{};
};

// The header of a line: "<134>Jan  1 00:00:00 Pallwatch: ".
class LogLineHeader {
  public:
    LogLineHeader(int priority, const LogTime& time, std::string_view ident);
    std::string_view text() const { return {bytes_.data(), size_}; }

  private:
    std::array<char, 127> bytes_;
    std::size_t size_ = 0;
};

// The socket of the system log. Any thread may write.
//
// Lines are those of syslog(3), byte for byte, and the connection is made and made again as syslog
// makes it: by datagrams, by a stream when the log has no other socket, once more when a line
// cannot be sent. But the caller never waits long. The socket of a log holds a dozen lines, so a
// slow log has a tenth of every second, altogether, to make room; a log that does not use it counts
// as blocked and gets no more. Lines that it does not take then are kept, up to 64 KiB, and sent
// before the next line or with a flush. A line without room there, or without a log, is lost and
// counted, and one line reports the number as soon as the log takes lines again.
class SystemLog {
  public:
    explicit SystemLog(std::string path);
    ~SystemLog();  // closes
    SystemLog(const SystemLog&) = delete;
    SystemLog& operator=(const SystemLog&) = delete;

    // Whose lines they are, and the facility (LOG_USER, ...) of a priority that names none.
    void setSource(std::string ident, int facility);

    // Sends one line. `priority` is LOG_EMERG ... LOG_DEBUG, alone or with a facility.
    void write(int priority, std::string_view text);

    // For a line that could not even be put together.
    void countLost();

    // Sends the kept lines and reports the lost ones, as far as the log takes them now.
    void flush();

  private:
    enum class Outcome { sent, later, never };

    Outcome sendLine(std::string_view header, std::string_view text);
    bool sendRecord(std::string_view header, std::string_view text) const;
    Outcome sendKept();
    Outcome reportLost();
    bool keep(std::string_view header, std::string_view text);
    void keepRecord(std::string_view header, std::string_view text);
    bool sendInTime(std::string_view header, std::string_view text);
    bool waitForRoom();
    LogLineHeader makeHeader(int priority);
    void connect();
    void disconnect();
    bool connectAs(int type);

    const std::string path_;
    std::mutex mutex_;
    std::string ident_;
    LogTime time_{0};  // of the last line
    int facility_;
    int type_;  // of the socket, the one that the log was last found to have
    int socket_ = -1;
    std::list<std::string> kept_;
    std::size_t keptBytes_ = 0;
    std::size_t lost_ = 0;
    bool blocked_ = false;
    std::chrono::steady_clock::time_point secondBegan_;
    std::chrono::nanoseconds waited_{0};  // in that second
};

}  // namespace util
