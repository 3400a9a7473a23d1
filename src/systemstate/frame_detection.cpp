#include "systemstate/frame_detection.h"

#include <string_view>

namespace systemstate {

std::optional<FrameDetection> decodeFrameDetection(const std::vector<Block>& blocks) {
    if (blocks.empty()) {
        return std::nullopt;
    }
    const Block& block = blocks.front();
    FrameDetection frame;
    const auto integer = [&](std::string_view key) {
        return block.contains(key) ? blockInteger(block, key, frame.unread) : -1;
    };
    frame.frameType = integer("Frame Type");
    frame.frameSize = integer("Frame Size");
    frame.slotCount = integer("Slot Count");
    frame.plRevision = integer("PL Rev");
    return frame;
}

}  // namespace systemstate
