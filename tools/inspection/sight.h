#pragma once

#include <filesystem>
#include <string>

#include "frame/system_call.h"

namespace inspection {

enum class State {
    well,
    missing,
    unreadable,     // it is there, and reading it fails
    notExecutable,  // a program that nobody may run
    readOnly,       // a directory that nothing can be written to
    undecodable,    // it can be read, and does not say what it has to
    unseen,         // this user may not look
};

// What was found at a path.
struct Sight {
    State state = State::well;
    std::string reason{};  // of a state that is not well, as the system or the doctor has it
    std::string text{};    // of a file that can be read
};

// A frame's files as the frame sees them: paths and links are followed below its root and nowhere
// else. Reads, and changes nothing.
class Root {
  public:
    explicit Root(const std::filesystem::path& directory);  // throws std::system_error

    Sight file(const std::string& path) const;  // its text, at most a mebibyte of it
    // May be run, and has something to run it with.
    Sight program(const std::string& path) const;
    Sight directory(const std::string& path) const;

  private:
    bool isSimulated(const std::string& path) const;
    bool isFrameAtRest() const;
    Sight executable(const std::string& path) const;
    Sight open(const std::string& path, int flags, frame::Descriptor& opened) const;

    frame::Descriptor root_;
};

}  // namespace inspection
