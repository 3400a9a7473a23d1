#include "allocations.h"

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <new>

namespace {

thread_local size_t newCount = 0;
thread_local size_t refusedFrom = SIZE_MAX;
thread_local size_t refusedIn = 0;  // so many pieces from now; 0: it has been, or there is none
thread_local bool watching = false;

}  // namespace

extern "C" {
// The linker sends every call of malloc in this program to the second one.
void* __real_malloc(size_t size);
void* __wrap_malloc(size_t size);

void* __wrap_malloc(size_t size) {
    if (isAllocationRefused(size)) {
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

bool isAllocationRefused(size_t size) {
    if (watching && refusedIn > 0 && --refusedIn == 0) {
        return true;
    }
    return size >= refusedFrom;
}

RefusedAllocation::RefusedAllocation(size_t number) {
    refusedIn = number;
}

RefusedAllocation::~RefusedAllocation() {
    watching = false;
    refusedIn = 0;
}

void RefusedAllocation::watch(bool on) {
    watching = on;
}

bool RefusedAllocation::happened() const {
    return refusedIn == 0;
}

RefusedAllocations::RefusedAllocations(size_t fromSize) {
    refusedFrom = fromSize;
}

RefusedAllocations::~RefusedAllocations() {
    refusedFrom = SIZE_MAX;
}
