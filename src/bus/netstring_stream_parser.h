#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace lumo {

// Splits the byte stream of the bus, which arrives in chunks of any size, into payloads. A frame
// with an invalid length is skipped silently, one with a wrong terminator is a framing error, and
// one without memory for it is skipped. Owned by a client of the bus and used on its thread only.
//
// Two states take turns: the length of a frame is read up to its ":", then its payload up to and
// including the terminator. The payload is collected in one buffer of its final size, which is
// handed on, never copied.
class NetStringStreamParser {
  public:
    // A complete payload, followed by a NUL byte.
    using OnMessage = std::function<void(std::unique_ptr<std::vector<char>> payload)>;

    // The payload of a frame that was dropped for its terminator.
    using OnFramingError = std::function<void(std::string_view payload)>;

    virtual ~NetStringStreamParser() = default;

    // Without a receiver payloads are dropped.
    void setOnMessage(OnMessage onMessage);

    // Takes the place of the line on standard error that shows the payload's first KiB.
    void setOnFramingError(OnFramingError onFramingError);

    // Takes all `size` bytes and hands on every payload that they complete. Always 0.
    int feed(const char* data, size_t size);

    // Forgets the frame begun, as a new connection begins with a new one.
    void reset();

  protected:
    enum class State : int32_t { length = 0, payload = 1 };

    // The fields of a frame begun; open to tests that put the parser in states that no input
    // leads to.
    int32_t expected_ = 0;                       // bytes of payload; while skipping, those to come
    std::unique_ptr<std::vector<char>> buffer_;  // none between frames and while skipping
    std::string lengthText_;
    State state_ = State::length;

  private:
    size_t readLength(const char* data, size_t size);
    size_t readPayload(const char* data, size_t size);
    size_t remaining() const;
    void beginPayload(int32_t length);
    void collect(const char* data, size_t size);
    void endPayload(char terminator);
    void reportFramingError(std::string_view payload) const;

    OnMessage onMessage_;
    OnFramingError onFramingError_;
};

}  // namespace lumo
