#pragma once

#include <functional>
#include <string_view>

namespace lumo {

// Receives the payload of every frame that a NetStringStreamParser drops for its terminator, on the
// thread that feeds it.
using MisframedSink = std::function<void(std::string_view payload)>;

// Puts `sink` in the place of standard error, where such payloads are shown as they came, and gives
// the sink it replaced; an empty one means standard error. For programs that people look at. Call
// it while no parser is fed.
MisframedSink replaceMisframedSink(MisframedSink sink);

}  // namespace lumo
