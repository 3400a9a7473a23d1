#pragma once

#include <optional>
#include <string>

#include "cli/command.h"
#include "pallframe/sandbox/frame_registry.h"
#include "pallframe/simulation/frame_root.h"

namespace pallframe {

// The frame that a command works on: a named one, the one that this program runs in, or the only
// one that is running.
struct FrameSelector {
    std::string directory;  // --frame-dir
    std::string frame;      // --frame, its number

    void addTo(cli::Command command);

    // The files of the frame. Called again it is the same frame, and throws simulation::FrameError
    // once that frame has ended.
    simulation::FrameRoot tree();
};

// The frame that this program runs in, as seen from inside: its files are at "/". Empty outside of
// any frame.
std::optional<sandbox::RunningFrame> findOwnFrame();

}  // namespace pallframe
