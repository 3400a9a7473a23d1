#pragma once

#include <chrono>

#include <asio/io_service.hpp>

// Runs the loop until the condition holds; false when it did not within the time.
template <typename Condition>
bool runUntil(asio::io_service& io, Condition condition,
              std::chrono::milliseconds limit = std::chrono::seconds(20)) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        io.restart();
        io.run_one_for(std::chrono::milliseconds(10));
    }
    return true;
}

// Runs the loop for as long as that takes, whatever happens in it.
inline void runFor(asio::io_service& io, std::chrono::milliseconds time) {
    io.restart();
    io.run_for(time);
}
