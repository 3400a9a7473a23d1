// Two states take turns: readLength() collects the text before the ":", readPayload() the payload
// and its terminator. Each consumes as much of the chunk as it can and returns how much. A payload
// without memory is counted instead of collected, so the stream stays in step.

#include "bus/netstring_stream_parser.h"

#include <algorithm>
#include <cstdlib>
#include <new>
#include <utility>

#include "util/line_limit.h"
#include "util/text.h"
#include "util/trace.h"

namespace lumo {

namespace {

constexpr long kMaxPayloadBytes = 20'000'000;
constexpr size_t kLengthTextSize = 16;
constexpr char kSeparator = ':';
constexpr char kTerminator = ';';

int clampForPrint(size_t size) {
    return static_cast<int>(std::min<size_t>(size, kMaxPayloadBytes));
}

void printPayload(std::string_view payload) {
    util::traceErrorLimited("misframed payloads", "%s\n",
                            util::shownPayload(payload, util::LineFeeds::kept).c_str());
}

// The payload of a frame with room for its terminator, null without memory for it.
std::unique_ptr<std::vector<char>> newBuffer(size_t capacity) try {
    auto buffer = std::make_unique<std::vector<char>>();
    buffer->reserve(capacity);
    return buffer;
} catch (const std::bad_alloc&) {
    return nullptr;
}

// A frame begins while another one is open: no input leads here, so the memory of this process
// cannot be trusted any more.
[[noreturn]] void stopOnOpenBuffer(const char* data, size_t size, const std::vector<char>& buffer) {
    util::trace("recv_buffer not empty. WHY?\nheader=%.*s\n", clampForPrint(size), data);
    util::trace("recv_buffer = \n%.*s\n", clampForPrint(buffer.size()), buffer.data());
    std::abort();
}

}  // namespace

void NetStringStreamParser::setOnMessage(OnMessage onMessage) {
    onMessage_ = std::move(onMessage);
}

void NetStringStreamParser::setOnFramingError(OnFramingError onFramingError) {
    onFramingError_ = std::move(onFramingError);
}

int NetStringStreamParser::feed(const char* data, size_t size) {
    if (!data) {
        return 0;
    }
    while (size > 0) {
        const size_t consumed =
            state_ == State::length ? readLength(data, size) : readPayload(data, size);
        data += consumed;
        size -= consumed;
    }
    return 0;
}

void NetStringStreamParser::reset() {
    lengthText_.clear();
    buffer_.reset();
    state_ = State::length;
    expected_ = 0;
}

size_t NetStringStreamParser::readLength(const char* data, size_t size) {
    for (size_t i = 0; i < size; ++i) {
        if (data[i] == kSeparator) {
            const long length = std::strtol(lengthText_.c_str(), nullptr, 10);
            if (length > 0 && length <= kMaxPayloadBytes) {
                if (buffer_) {
                    stopOnOpenBuffer(data, size, *buffer_);
                }
                beginPayload(static_cast<int32_t>(length));
                return i + 1;
            }
            // The separator stays as the first byte of a text that can never be a length, so that
            // what follows an unusable length is skipped until the text is full.
            reset();
        }
        if (lengthText_.size() + 1 < kLengthTextSize) {
            lengthText_ += data[i];
        } else {
            reset();
        }
    }
    return size;
}

void NetStringStreamParser::beginPayload(int32_t length) {
    expected_ = length;
    state_ = State::payload;
    buffer_ = newBuffer(static_cast<size_t>(length) + 1);
}

size_t NetStringStreamParser::remaining() const {
    return static_cast<size_t>(expected_) - (buffer_ ? buffer_->size() : 0);
}

// The terminator is looked at with the byte before it or in the next call.
size_t NetStringStreamParser::readPayload(const char* data, size_t size) {
    const size_t missing = remaining();
    if (size <= missing) {
        collect(data, size);
        return size;
    }
    collect(data, missing);
    endPayload(data[missing]);
    return missing + 1;
}

void NetStringStreamParser::collect(const char* data, size_t size) {
    if (buffer_) {
        buffer_->insert(buffer_->end(), data, data + size);
    } else {
        expected_ -= static_cast<int32_t>(size);
    }
}

void NetStringStreamParser::reportFramingError(std::string_view payload) const {
    if (onFramingError_) {
        onFramingError_(payload);
    } else {
        printPayload(payload);
    }
}

// The parser is ready for the next frame before the receiver runs, which may reset it.
void NetStringStreamParser::endPayload(char terminator) {
    std::unique_ptr<std::vector<char>> payload = std::move(buffer_);
    reset();
    if (!payload) {
        return;
    }
    if (terminator != kTerminator) {
        reportFramingError({payload->data(), payload->size()});
        return;
    }
    payload->push_back('\0');
    if (onMessage_) {
        onMessage_(std::move(payload));
    }
}

}  // namespace lumo
