#pragma once

#include <cstdint>
#include <string>

namespace prove {

struct ProofOptions {
    std::string program;   // the daemon's name, beside this program
    int kills = 1000;      // at random moments
    uint64_t seed = 0;     // of everything left to chance; 0 takes a new one
    bool isShort = false;  // a sample of everything
};

inline constexpr const char* kWorker = "worker";  // the first word for a worker in a frame

// Every proof, by workers in frames side by side. Prints the table; gives the status to end with.
int runProofs(ProofOptions options);

// A worker's share, told by the words behind kWorker: SECTION PROGRAM KILLS NUMBER OF STEP SEED.
// Prints its books.
int runWorker(char** words);

}  // namespace prove
