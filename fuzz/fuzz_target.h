#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "util/log.h"

// Runs one input. It has to come back for every input there is; a promise that does not hold ends
// the program through require().
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

inline void require(bool promise) {
    if (!promise) {
        std::abort();
    }
}

inline std::string textOf(const uint8_t* data, size_t size) {
    return {data, data + size};
}

// Keeps what the inputs provoke out of the system log, from its making on.
struct QuietLog {
    QuietLog() {
        util::replaceLogSink([](int, const std::string&) {});
    }
};
