#pragma once

#include <cstddef>

// Watches and refuses memory of the calling thread. The whole test program runs on the operator new
// and the malloc of allocations.cpp; shared libraries keep their own malloc.

// How often this thread has called operator new so far.
size_t allocationCount();

// While it lives, this thread gets no piece of memory of at least that many bytes.
class RefusedAllocations {
  public:
    explicit RefusedAllocations(size_t fromSize);
    ~RefusedAllocations();
    RefusedAllocations(const RefusedAllocations&) = delete;
    RefusedAllocations& operator=(const RefusedAllocations&) = delete;
};
