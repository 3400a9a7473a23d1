// The stream parser gives the same payloads whatever chunks a stream arrives in.

#include <algorithm>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "bus/netstring.h"
#include "bus/netstring_stream_parser.h"
#include "fuzz_target.h"

namespace {

using Payloads = std::vector<std::string>;

// Feeds the stream in chunks of the sizes that `nextSize` gives.
template <typename NextSize>
Payloads feed(const std::string& stream, NextSize nextSize) {
    lumo::NetStringStreamParser parser;
    Payloads payloads;
    parser.setOnMessage([&payloads](std::unique_ptr<std::vector<char>> payload) {
        require(payload->size() > 1 && payload->back() == '\0');
        payloads.emplace_back(payload->begin(), payload->end() - 1);
    });
    for (size_t begin = 0; begin < stream.size();) {
        const size_t size = std::min(nextSize(), stream.size() - begin);
        require(parser.feed(stream.data() + begin, size) == 0);
        begin += size;
    }
    return payloads;
}

Payloads feedWhole(const std::string& stream) {
    return feed(stream, [&stream] { return stream.size(); });
}

Payloads feedByteByByte(const std::string& stream) {
    return feed(stream, [] { return size_t{1}; });
}

// The same stream is always cut in the same places, so that a failure can be run again.
Payloads feedInChunks(const std::string& stream) {
    std::seed_seq seed(stream.begin(), stream.end());
    std::mt19937 random(seed);
    return feed(stream, [&random] { return size_t{1 + random() % 24}; });
}

void requireFramedAgain(const Payloads& payloads) {
    std::string stream;
    for (const std::string& payload : payloads) {
        stream += lumo::encodeNetString(payload);
    }
    require(feedWhole(stream) == payloads);
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string stream = textOf(data, size);
    const Payloads payloads = feedWhole(stream);
    require(feedByteByByte(stream) == payloads);
    require(feedInChunks(stream) == payloads);
    requireFramedAgain(payloads);
    return 0;
}
