#pragma once

#include <chrono>
#include <cstdint>
#include <random>
#include <string>
#include <string_view>

namespace soak {

using Clock = std::chrono::steady_clock;

// All random choices of a run, from one seed. Used by one thread.
class Random {
  public:
    explicit Random(uint64_t seed) : engine_(seed) {}

    // A whole number from `low` to `high`, both included.
    int64_t between(int64_t low, int64_t high) {
        return std::uniform_int_distribution<int64_t>(low, high)(engine_);
    }
    // True once in `rarity` calls.
    bool onceIn(int64_t rarity) { return between(1, rarity) == 1; }

    Clock::duration milliseconds(int64_t low, int64_t high) {
        return std::chrono::milliseconds(between(low, high));
    }

    std::string text(size_t maxBytes, std::string_view alphabet) {
        std::string made(static_cast<size_t>(between(0, static_cast<int64_t>(maxBytes))), ' ');
        for (char& letter : made) {
            letter = alphabet[static_cast<size_t>(
                between(0, static_cast<int64_t>(alphabet.size()) - 1))];
        }
        return made;
    }

    // A row of a table whose rows have a `weight`: twice the weight is twice as likely.
    template <typename Rows>
    const auto& pick(const Rows& rows) {
        int64_t total = 0;
        for (const auto& row : rows) {
            total += row.weight;
        }
        int64_t left = between(1, total);
        for (const auto& row : rows) {
            left -= row.weight;
            if (left <= 0) {
                return row;
            }
        }
        return *std::begin(rows);
    }

  private:
    std::mt19937_64 engine_;
};

}  // namespace soak
