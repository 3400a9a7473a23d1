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
    unreadable,     // exists, but cannot be read
    notExecutable,  // a program without execute permission
    readOnly,       // a directory on a read-only file system
    undecodable,    // can be read, but lacks what the daemon needs
    notAccessible,  // this user has no permission to look
    notRunning,     // exists only while processes run in this root
};

// What was found at a path.
struct ProbeResult {
    State state = State::ok;
    std::string reason{};  // of any state but ok
    std::string text{};    // of a file that can be read
};

// A frame's files as the frame sees them: paths and links are followed below its root and nowhere
// else, and what is mounted in a frame that runs there belongs to them. Reads, and changes nothing.
class RootProbe {
  public:
    explicit RootProbe(const std::filesystem::path& directory);  // throws std::system_error

    ProbeResult file(const std::string& path) const;  // its text, at most a mebibyte of it
    // Can be executed, by its interpreter if it is a script. A name without a directory is searched
    // like a shell does.
    ProbeResult program(const std::string& name) const;
    ProbeResult directory(const std::string& path) const;
    ProbeResult unit(const std::string& name) const;  // of systemd, "ssh.service"

    // What exists only while the system runs.
    ProbeResult listener(uint16_t port) const;          // that 127.0.0.1 reaches
    ProbeResult syslog(const std::string& path) const;  // a socket that a process has open
    ProbeResult device(const std::string& path) const;  // a character device

  private:
    bool isFrame() const;
    bool isSimulated(const std::string& path) const;
    bool isFrameAtRest() const;
    ProbeResult programAt(const std::string& path) const;
    ProbeResult executable(const std::string& path) const;
    // A file of that type (stat(2)).
    ProbeResult special(const std::string& path, mode_t type, simulation::Descriptor& opened) const;
    ProbeResult open(const std::string& path, int flags, simulation::Descriptor& opened) const;

    simulation::Descriptor root_;
    std::string process_;  // the result of processIn()
};

}  // namespace pallframe::doctor
