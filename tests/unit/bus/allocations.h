#pragma once

#include <cstddef>

// Watches and refuses memory of the calling thread. The whole test program runs on the operator new
// and the malloc of allocations.cpp; shared libraries keep their own malloc.

// How often this thread has called operator new so far.
size_t allocationCount();

// While it watches, the given piece of memory that this thread asks for, counted from 1, is
// refused; one at a time.
class RefusedAllocation {
  public:
    explicit RefusedAllocation(size_t number);
    ~RefusedAllocation();
    RefusedAllocation(const RefusedAllocation&) = delete;
    RefusedAllocation& operator=(const RefusedAllocation&) = delete;

    // It does not from the beginning.
    void watch(bool watching);
    // It has been refused.
    bool happened() const;
};

// Whether the calling thread is to be refused a piece of that size.
bool isAllocationRefused(size_t size);

// While it lives, this thread gets no piece of memory of at least that many bytes.
class RefusedAllocations {
  public:
    explicit RefusedAllocations(size_t fromSize);
    ~RefusedAllocations();
    RefusedAllocations(const RefusedAllocations&) = delete;
    RefusedAllocations& operator=(const RefusedAllocations&) = delete;
};
