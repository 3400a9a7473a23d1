#pragma once

#include <sys/types.h>

#include <cstdint>
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
    atRest,         // it shows only while something runs in this root
};

// What was found at a path.
struct Sight {
    State state = State::well;
    std::string reason{};  // of a state that is not well, as the system or the doctor has it
    std::string text{};    // of a file that can be read
};

// A frame's files as the frame sees them: paths and links are followed below its root and nowhere
// else, and what is mounted in a frame that runs there belongs to them. Reads, and changes nothing.
class Root {
  public:
    explicit Root(const std::filesystem::path& directory);  // throws std::system_error

    Sight file(const std::string& path) const;  // its text, at most a mebibyte of it
    // May be run, and has something to run it with. A name without a directory is searched where a
    // shell does.
    Sight program(const std::string& name) const;
    Sight directory(const std::string& path) const;
    Sight unit(const std::string& name) const;  // of systemd, "ssh.service"

    // What a system has while it runs.
    Sight listener(uint16_t port) const;          // for who connects to 127.0.0.1
    Sight syslog(const std::string& path) const;  // a socket, with somebody behind it
    Sight device(const std::string& path) const;  // one of characters

  private:
    bool isFrame() const;
    bool isSimulated(const std::string& path) const;
    bool isFrameAtRest() const;
    Sight programAt(const std::string& path) const;
    Sight executable(const std::string& path) const;
    // What is no plain file but of that type (stat(2)).
    Sight special(const std::string& path, mode_t type, frame::Descriptor& opened) const;
    Sight open(const std::string& path, int flags, frame::Descriptor& opened) const;

    frame::Descriptor root_;
    std::string process_;  // of those that run in it, as processIn() has it
};

}  // namespace inspection
