#pragma once

#include <cstdlib>

#include <cjson/cJSON.h>

// cJSON finds no memory for pieces of `size` bytes and more while this lives.
class ExhaustedMemory {
  public:
    explicit ExhaustedMemory(size_t size) {
        limit() = size;
        cJSON_Hooks hooks{&ExhaustedMemory::allocate, std::free};
        cJSON_InitHooks(&hooks);
    }
    ~ExhaustedMemory() { cJSON_InitHooks(nullptr); }
    ExhaustedMemory(const ExhaustedMemory&) = delete;
    ExhaustedMemory& operator=(const ExhaustedMemory&) = delete;

  private:
    static size_t& limit() {
        static size_t bytes = 0;
        return bytes;
    }
    static void* allocate(size_t size) { return size < limit() ? std::malloc(size) : nullptr; }
};
