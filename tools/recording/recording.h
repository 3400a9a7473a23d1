#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>

#include "util/files.h"

// A recording of the messages on a bus: a text file of one JSON object per line (doc/recording.md).

namespace recording {

// A larger payload does not fit the bus.
inline constexpr size_t kMaxPayloadBytes = 20'000'000;

// The origin of a recording: its first line.
struct Header {
    std::chrono::system_clock::time_point start;  // in whole microseconds
    std::string by;                               // the program that recorded

    bool operator==(const Header&) const = default;
};

// One message: every other line.
struct Entry {
    std::chrono::microseconds at{};  // since the start, by a steady clock
    int32_t from = 0;                // connection id of the sender; 0 is the bus itself
    std::string payload;             // header line and data as bytes, without framing

    bool operator==(const Entry&) const = default;
};

// Writes a recording. The caller never waits for the disk: lines are collected, and a thread writes
// them each second, or earlier when there are many. When the disk is full, or more than
// kMaxWaitingBytes behind, the recording ends there and failure() returns the reason; nothing is
// left out in the middle. All calls are for one thread.
class Writer {
  public:
    static constexpr size_t kMaxWaitingBytes = size_t{64} * 1024 * 1024;

    // Creates or empties the file and writes the first line, with the current time. `by` is the
    // name of the recording program. Throws std::runtime_error, "PATH: reason".
    Writer(const std::string& path, std::string by);
    // The same with an open file, which is emptied; `path` is its name. Does not wait for the disk,
    // so failure() reports errors.
    Writer(util::UniqueFile file, std::string path, std::string by);
    // Calls finish() and ignores its result.
    ~Writer();
    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;

    // Adds a message with the current time.
    void record(int32_t from, std::string_view payload);
    // Adds a message of another time: not before the last entry, nor before the start.
    void write(const Entry& entry);

    // The reason why the recording has ended, "PATH: reason"; empty as long as it continues. Cheap
    // enough for each message.
    std::optional<std::string> failure() const;

    // The same as finish() for callers that cannot wait: calls `ended` on another thread when
    // finish() no longer has to wait. At most once, and not after finish().
    void end(std::function<void()> ended);
    // Writes all that was recorded, and ends the recording. Returns failure().
    std::optional<std::string> finish();

  private:
    void add(const std::string& line);
    void writeOut();
    void writeBatch(const std::string& batch);
    void fail(const std::string& reason);

    const std::string path_;
    const std::chrono::steady_clock::time_point start_;
    const util::UniqueFile file_;  // the thread's, once that runs

    mutable std::mutex mutex_;  // guards what follows
    std::condition_variable changed_;
    std::string waiting_;
    std::optional<std::string> failure_;
    bool finishing_ = false;
    std::function<void()> ended_;

    std::thread thread_;
};

// Reads a recording, line by line. An invalid line is a std::runtime_error with the text
// "PATH:LINE: problem"; next() then continues after it. Used by one thread.
class Reader {
  public:
    // Reads the first line. Throws also when the file cannot be read ("PATH: reason") and when it
    // is not a recording.
    explicit Reader(const std::string& path);
    // The same for an open file; `path` is its name.
    Reader(util::UniqueFile file, std::string path);

    const Header& header() const { return header_; }

    // The next message; empty at the end. Ignores blank lines. Throws as described above.
    std::optional<Entry> next();

    // The line number of the last entry returned.
    size_t line() const { return line_; }

    // "PATH:LINE: ..." after next() found an incomplete last line, such as a power cut leaves: the
    // recording ends before it. Otherwise empty.
    const std::optional<std::string>& truncation() const { return truncation_; }

  private:
    // One line without its line feed.
    struct Line {
        std::string text;
        bool ended = false;    // with a line feed, not with the end of the file
        bool tooLong = false;  // then text is only the beginning
    };

    std::optional<Line> readLine();
    void readHeader();
    std::optional<Entry> parseEntry(const Line& line);
    std::string place(const std::string& problem) const;

    util::UniqueFile file_;
    std::string path_;
    size_t line_ = 0;
    Header header_;
    std::chrono::microseconds last_{};
    std::optional<std::string> truncation_;
};

}  // namespace recording
