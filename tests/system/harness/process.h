#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "child.h"
#include "collector.h"

namespace harness {

// The directory of the programs that were built with this test.
std::filesystem::path programDirectory();

// A program started by a test. Standard output and error are collected, standard input is empty.
class Process : public Child {
  public:
    // words[0] is the program, searched like a shell does; throws std::system_error.
    explicit Process(const std::vector<std::string>& words);

    Collector& output() { return output_; }
    Collector& error() { return error_; }

    // What its descriptors refer to ("socket:[123]", a path, …), in the order of their numbers.
    std::vector<std::string> descriptors() const;

  private:
    struct Pipe {
        Pipe();
        pallframe::simulation::Descriptor readEnd;
        pallframe::simulation::Descriptor writeEnd;
    };

    Process(const std::vector<std::string>& words, Pipe output, Pipe error);

    Collector output_;
    Collector error_;
};

// The daemon, as built and unmodified.
class Daemon : public Process {
  public:
    explicit Daemon(const std::vector<std::string>& arguments = {});
};

}  // namespace harness
