#pragma once

#include <chrono>
#include <cstdint>
#include <span>
#include <string>

namespace soak {

// Whose answers a trouble on the bus may cost.
enum class Victims { nobody, oneClient, everybody };

// A trouble of the run: what the bus is told when it begins and, if anything, when it ends. "ID" in
// the words stands for a client that is picked each time.
struct TroubleDeed {
    const char* name;
    int64_t weight;
    Victims victims;
    std::chrono::milliseconds lasts;
    const char* begin;
    const char* end = nullptr;   // nothing more
    const char* also = nullptr;  // right behind the first words
};

std::span<const TroubleDeed> troubleDeeds();

// The words with the id in its place.
std::string withID(std::string words, int connectionID);

}  // namespace soak
