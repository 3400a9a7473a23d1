#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "systemstate/block_file.h"

namespace systemstate {

// The result of the frame detection of a Tessara frame. -1: not known.
struct FrameDetection {
    std::int32_t frameType = -1;
    std::int32_t frameSize = -1;
    std::int32_t slotCount = -1;
    std::int32_t plRevision = -1;
    std::vector<UnreadInteger> unread;  // values that are there and no integers
};

// Reads the first block; nothing when there is none. A missing key leaves its value unknown.
std::optional<FrameDetection> decodeFrameDetection(const std::vector<Block>& blocks);

}  // namespace systemstate
