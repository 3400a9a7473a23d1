#pragma once

#include <array>
#include <cstddef>
#include <string>

// The beginning of what a command writes: a pipe, and the line that comes through it. Owned by
// whoever runs the command; both ends are closed in the commands of others.
class CommandOutput {
  public:
    CommandOutput();  // both ends are -1, with errno set, when there is no pipe to be had
    ~CommandOutput();
    CommandOutput(const CommandOutput&) = delete;
    CommandOutput& operator=(const CommandOutput&) = delete;

    // For the command; closed here once the command has it.
    int writeEnd() const { return writeEnd_; }
    void closeWriteEnd();

    // To wait at; -1 when nothing more is to be read.
    int readEnd() const { return readEnd_; }

    // Takes what is there, without waiting. Reading ends, and the pipe is closed, at the end of the
    // output, with its 127th byte, and with a failure, whose result is printed on standard output.
    void read();

    // What was read up to the first line end or zero byte.
    std::string firstLine() const;

  private:
    static constexpr std::size_t kLongestLine = 127;

    int readEnd_ = -1;
    int writeEnd_ = -1;
    std::array<char, kLongestLine> bytes_{};
    std::size_t filled_ = 0;
};
