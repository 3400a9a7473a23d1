// The pieces of a round trip, each by itself: framing, decoding, encoding, handling.

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "bus/messages.h"
#include "bus/netstring.h"
#include "bus/netstring_stream_parser.h"

namespace {

std::string payloadOf(size_t size) {
    std::string payload = "[\"GET\", \"system\", 5, 0, 0]\n{\"id\":\"1@bench\",\"fill\":\"";
    payload.resize(size - 2, 'x');
    return payload + "\"}";
}

void copyBytes(benchmark::State& state) {
    const std::string frame = lumo::encodeNetString(payloadOf(static_cast<size_t>(state.range(0))));
    std::vector<char> target(frame.size());
    for (auto _ : state) {
        std::memcpy(target.data(), frame.data(), frame.size());
        benchmark::DoNotOptimize(target.data());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(frame.size()));
}
BENCHMARK(copyBytes)->Arg(128)->Arg(4096)->Arg(65536);

void feedNetStrings(benchmark::State& state) {
    const std::string frame = lumo::encodeNetString(payloadOf(static_cast<size_t>(state.range(0))));
    lumo::NetStringStreamParser parser;
    size_t payloads = 0;
    parser.setOnMessage([&payloads](std::unique_ptr<std::vector<char>>) { ++payloads; });
    for (auto _ : state) {
        parser.feed(frame.data(), frame.size());
    }
    benchmark::DoNotOptimize(payloads);
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(frame.size()));
}
BENCHMARK(feedNetStrings)->Arg(128)->Arg(4096)->Arg(65536);

constexpr const char* kGet =
    "[\"GET\", \"system\", 5, 0, "
    "0]\n{\"id\":\"1@bench\",\"param\":{\"objectName\":[\"ipAddress\"]}}";

std::unique_ptr<std::vector<char>> received(const char* text) {
    return std::make_unique<std::vector<char>>(text, text + std::strlen(text) + 1);
}

void decodeMessage(benchmark::State& state) {
    for (auto _ : state) {
        TarnInternalMessage message(received(kGet));
        benchmark::DoNotOptimize(message.data());
    }
}
BENCHMARK(decodeMessage);

void encodeResponse(benchmark::State& state) {
    TarnInternalMessage request(received(kGet));
    for (auto _ : state) {
        util::UniqueJSON param = util::jsonObject();
        util::addMember(param.get(), "ipAddress", util::jsonNumber(167772165));
        const RSPMessage response(request, std::nullopt, std::move(param));
        benchmark::DoNotOptimize(response.encode());
    }
}
BENCHMARK(encodeResponse);

}  // namespace
