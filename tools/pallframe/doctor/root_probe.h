#pragma once

#include <sys/types.h>

#include <cstdint>
#include <filesystem>
#include <string>

#include "pallframe/simulation/system_call.h"

namespace pallframe::doctor {

enum class State {
    ok,
    missing,
    unreadable,     // it is there, and reading it fails
    notExecutable,  // a program that nobody may run
    readOnly,       // a directory that nothing can be written to
    undecodable,    // it can be read, and does not say what it has to
    notAccessible,  // this user may not look
    notRunning,     // it shows only while something runs in this root
};

// What was found at a path.
struct ProbeResult {
    State state = State::ok;
    std::string reason{};  // of a state that is not well, as the system or the doctor has it
    std::string text{};    // of a file that can be read
};

// A frame's files as the frame sees them: paths and links are followed below its root and nowhere
// else, and what is mounted in a frame that runs there belongs to them. Reads, and changes nothing.
class RootProbe {
  public:
    explicit RootProbe(const std::filesystem::path& directory);  // throws std::system_error

    ProbeResult file(const std::string& path) const;  // its text, at most a mebibyte of it
    // May be run, and has something to run it with. A name without a directory is searched where a
    // shell does.
    ProbeResult program(const std::string& name) const;
    ProbeResult directory(const std::string& path) const;
    ProbeResult unit(const std::string& name) const;  // of systemd, "ssh.service"

    // What a system has while it runs.
    ProbeResult listener(uint16_t port) const;          // for who connects to 127.0.0.1
    ProbeResult syslog(const std::string& path) const;  // a socket, with somebody behind it
    ProbeResult device(const std::string& path) const;  // one of characters

  private:
    bool isFrame() const;
    bool isSimulated(const std::string& path) const;
    bool isFrameAtRest() const;
    ProbeResult programAt(const std::string& path) const;
    ProbeResult executable(const std::string& path) const;
    // What is no plain file but of that type (stat(2)).
    ProbeResult special(const std::string& path, mode_t type, simulation::Descriptor& opened) const;
    ProbeResult open(const std::string& path, int flags, simulation::Descriptor& opened) const;

    simulation::Descriptor root_;
    std::string process_;  // of those that run in it, as processIn() has it
};

}  // namespace pallframe::doctor
