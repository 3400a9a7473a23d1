#pragma once

#include <cstdlib>

#include "util/json.h"

// cJSON finds no memory for pieces of `size` bytes and more while this lives.
class ExhaustedMemory {
  public:
    explicit ExhaustedMemory(size_t size) : previous_(util::replaceJSONAllocator(&allocate)) {
        limit() = size;
    }
    ~ExhaustedMemory() { util::replaceJSONAllocator(previous_); }
    ExhaustedMemory(const ExhaustedMemory&) = delete;
    ExhaustedMemory& operator=(const ExhaustedMemory&) = delete;

  private:
    static size_t& limit() {
        static size_t bytes = 0;
        return bytes;
    }
    static void* allocate(size_t size) { return size < limit() ? std::malloc(size) : nullptr; }

    util::JSONAllocator previous_;
};

// cJSON finds memory for `count` more pieces while this lives, not for the next one, and then
// again: a shortage that passes.
class OneFailedAllocation {
  public:
    explicit OneFailedAllocation(unsigned long count)
        : previous_(util::replaceJSONAllocator(&allocate)) {
        left() = count;
    }
    ~OneFailedAllocation() { util::replaceJSONAllocator(previous_); }
    OneFailedAllocation(const OneFailedAllocation&) = delete;
    OneFailedAllocation& operator=(const OneFailedAllocation&) = delete;

    // Whether it came to that piece.
    static bool happened() { return left() == kPast; }

  private:
    static constexpr unsigned long kPast = ~0UL;
    static unsigned long& left() {
        static unsigned long pieces = 0;
        return pieces;
    }
    static void* allocate(size_t size) {
        if (happened() || left()-- > 0) {
            return std::malloc(size);
        }
        return nullptr;
    }

    util::JSONAllocator previous_;
};
