#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "deadline.h"
#include "pallframe/simulation/devices.h"
#include "pallframe/simulation/frame_root.h"

namespace harness {

// The frame that this test runs in, made to look like a product that has just been switched on. Its
// files have their real paths. Programs of the frame take no time unless told to.
class Frame {
  public:
    // Waits for programs that an earlier one left running. Throws pallframe::simulation::FrameError
    // outside of a simulated frame, before touching anything, and TimedOut.
    explicit Frame(std::string_view product = "Quorane");

    // For the devices: pallframe::simulation::setCable(frame.tree(), "eth0", false).
    const pallframe::simulation::FrameRoot& tree() const { return tree_; }

    // Whole files, replaced at once; throw std::system_error. Reading what is not there gives "".
    void write(std::string_view path, std::string_view text) const;
    void writeProgram(std::string_view path, std::string_view text) const;  // may be executed
    std::string read(std::string_view path) const { return tree_.read(path); }
    bool exists(std::string_view path) const { return tree_.exists(path); }
    void remove(std::string_view path) const { tree_.remove(path); }

    // What the frame's programs were told so far, one shell line per call, oldest first.
    std::vector<std::string> commands() const;

    // The same as soon as there are that many; throws TimedOut.
    std::vector<std::string> waitForCommands(size_t count,
                                             const Deadline& deadline = Deadline()) const;

  private:
    pallframe::simulation::FrameRoot tree_{"/"};
};

}  // namespace harness
