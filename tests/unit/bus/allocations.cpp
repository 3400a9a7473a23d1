#include "allocations.h"

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <new>

namespace {

thread_local size_t newCount = 0;
thread_local size_t refusedFrom = SIZE_MAX;

}  // namespace

extern "C" {
// The linker sends every call of malloc in this program to the second one.
void* __real_malloc(size_t size);
void* __wrap_malloc(size_t size);

void* __wrap_malloc(size_t size) {
    if (size >= refusedFrom) {
        errno = ENOMEM;
        return nullptr;
    }
    return __real_malloc(size);
}
}

void* operator new(size_t size) {
    ++newCount;
    void* const memory = std::malloc(size > 0 ? size : 1);
    if (!memory) {
        throw std::bad_alloc();
    }
    return memory;
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, size_t) noexcept {
    std::free(memory);
}

size_t allocationCount() {
    return newCount;
}

RefusedAllocations::RefusedAllocations(size_t fromSize) {
    refusedFrom = fromSize;
}

RefusedAllocations::~RefusedAllocations() {
    refusedFrom = SIZE_MAX;
}
