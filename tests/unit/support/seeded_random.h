#pragma once

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <random>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

// Random input that can be had again: the seed is printed, and PALLWATCH_SEED sets it.
class SeededRandom {
  public:
    SeededRandom() : seed_(chosenSeed()), engine_(seed_) {
        std::cout << "PALLWATCH_SEED=" << seed_ << "\n";
        testing::Test::RecordProperty("seed", std::to_string(seed_));
    }

    int64_t between(int64_t low, int64_t high) {
        return std::uniform_int_distribution<int64_t>(low, high)(engine_);
    }
    bool coin() { return between(0, 1) == 1; }
    size_t below(size_t count) {
        return static_cast<size_t>(between(0, static_cast<int64_t>(count) - 1));
    }

    // Up to `longest` characters of `alphabet`.
    std::string text(size_t longest, std::string_view alphabet) {
        std::string made(below(longest + 1), ' ');
        for (char& letter : made) {
            letter = alphabet[below(alphabet.size())];
        }
        return made;
    }

    // A finite double of any size: all bit patterns are as likely as each other.
    double finite() {
        const double sign = coin() ? 1 : -1;
        const double fraction = std::uniform_real_distribution<double>(1, 2)(engine_);
        return sign * std::ldexp(fraction, static_cast<int>(between(-1022, 1023)));
    }

  private:
    static uint32_t chosenSeed() {
        const char* given = std::getenv("PALLWATCH_SEED");
        return given ? static_cast<uint32_t>(std::strtoul(given, nullptr, 10))
                     : std::random_device{}();
    }

    uint32_t seed_;
    std::mt19937 engine_;
};
