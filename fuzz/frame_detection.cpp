// Whatever stands in the frame detection file: what could not be read as an integer is unknown.

#include "systemstate/frame_detection.h"

#include "fuzz_target.h"

namespace {

int32_t valueUnder(const systemstate::FrameDetection& frame, const std::string& key) {
    if (key == "Frame Type") {
        return frame.frameType;
    }
    if (key == "Frame Size") {
        return frame.frameSize;
    }
    return key == "Slot Count" ? frame.slotCount : frame.plRevision;
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::vector<systemstate::Block> blocks = systemstate::decodeBlockFile(textOf(data, size));
    const std::optional<systemstate::FrameDetection> frame =
        systemstate::decodeFrameDetection(blocks);
    require(frame.has_value() == !blocks.empty());
    if (frame) {
        for (const systemstate::UnreadInteger& value : frame->unread) {
            require(blocks.front().contains(value.key));
            require(valueUnder(*frame, value.key) == -1);
        }
    }
    return 0;
}
