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

// What went over the bus, kept in a text file of one JSON object per line (doc/recording.md).

namespace recording {

// A larger payload does not fit the bus either.
inline constexpr size_t kMostPayloadBytes = 20'000'000;

// Where a recording comes from: its first line.
struct Header {
    std::chrono::system_clock::time_point start;  // in whole microseconds
    std::string by;                               // the program that recorded

    bool operator==(const Header&) const = default;
};

// One message: every other line.
struct Entry {
    std::chrono::microseconds at{};  // since the start, by a clock that nobody sets
    int32_t from = 0;                // connection id of the sender; 0 is the bus itself
    std::string payload;             // exactly the bytes, header line and data, without framing

    bool operator==(const Entry&) const = default;
};

// A recording being made. Whoever records never waits for the disk: lines are collected and a
// thread writes them out each second, and sooner when there are many. Once the disk is full, or
// further behind than kMostWaitingBytes, the recording ends where it is and failure() tells;
// nothing is left out in the middle. All calls are for one thread, the owner's.
class Writer {
  public:
    static constexpr size_t kMostWaitingBytes = size_t{64} * 1024 * 1024;

    // Makes the file, or empties the one that is there, and begins it with the first line, which
    // says now. `by` is the recording program's name. Throws std::runtime_error, "PATH: reason".
    Writer(const std::string& path, std::string by);
    // The same with an open file, which `path` is only the name of, and which is emptied. Does not
    // wait for the disk, and so does not throw: failure() tells.
    Writer(util::UniqueFile file, std::string path, std::string by);
    // Like finish(), for those who do not want to know.
    ~Writer();
    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;

    // Adds a message that was seen just now.
    void record(int32_t from, std::string_view payload);
    // Adds one of another time: not before the entry added last, nor before the start.
    void write(const Entry& entry);

    // Why nothing is recorded any more, "PATH: reason"; nothing while all is well. Costs little
    // enough to be asked after each message.
    std::optional<std::string> failure() const;

    // The same as finish() for those who cannot wait: calls `ended` on another thread when finish()
    // has nothing to wait for any more. At most once, and not after finish().
    void end(std::function<void()> ended);
    // Brings all that was recorded to the file, which takes no more from then on. Gives failure().
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

// A recording being read, line by line. What it does not understand is a std::runtime_error with
// the text "PATH:LINE: problem"; the reader has then passed that line and next() goes on behind it.
// Used by one thread.
class Reader {
  public:
    // Reads the first line. Throws also when the file cannot be read ("PATH: reason") and when it
    // is no recording.
    explicit Reader(const std::string& path);
    // The same for a file already open, which `path` is only the name of.
    Reader(util::UniqueFile file, std::string path);

    const Header& header() const { return header_; }

    // The next message; nothing at the end. Lines may be blank. Throws as said above.
    std::optional<Entry> next();

    // The line of the entry given last.
    size_t line() const { return line_; }

    // "PATH:LINE: ..." once next() came to a last line that is not whole, as a power cut leaves
    // it: the recording ends before it. Nothing when the last line is whole.
    const std::optional<std::string>& truncation() const { return truncation_; }

  private:
    // One line without its line feed.
    struct Line {
        std::string text;
        bool ended = false;    // by a line feed, not by the end of the file
        bool tooLong = false;  // and text is only the beginning
    };

    std::optional<Line> readLine();
    void readHeader();
    std::optional<Entry> entryOf(const Line& line);
    std::string place(const std::string& problem) const;

    util::UniqueFile file_;
    std::string path_;
    size_t line_ = 0;
    Header header_;
    std::chrono::microseconds last_{};
    std::optional<std::string> truncation_;
};

}  // namespace recording
