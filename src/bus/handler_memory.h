#pragma once

#include <array>
#include <cstddef>
#include <new>
#include <utility>

namespace lumo {

// Room for one operation of asio at a time, so that starting it cannot fail for lack of memory.
// An operation that is too large, or that finds the room taken, gets memory from the heap instead.
// Outlives its operations; used by one thread at a time.
class HandlerMemory {
  public:
    HandlerMemory() = default;
    HandlerMemory(const HandlerMemory&) = delete;
    HandlerMemory& operator=(const HandlerMemory&) = delete;

    void* take(std::size_t size) {
        if (taken_ || size > room_.size()) {
            return ::operator new(size);
        }
        taken_ = true;
        return room_.data();
    }
    void give(void* memory) {
        if (memory == room_.data()) {
            taken_ = false;
        } else {
            ::operator delete(memory);
        }
    }

  private:
    alignas(std::max_align_t) std::array<std::byte, 384> room_;
    bool taken_ = false;
};

// The state that an operation of the loop shares with the object that began it: the memory of the
// operation and the way back. The object clears `owner` when it goes; a handler that finds null
// does nothing. The loop's thread.
template <typename Owner>
struct SharedOperation {
    explicit SharedOperation(Owner* began) : owner(began) {}
    Owner* owner;
    HandlerMemory memory;
};

// Makes asio take the memory of operations from a HandlerMemory.
template <typename T>
class HandlerAllocator {
  public:
    using value_type = T;

    explicit HandlerAllocator(HandlerMemory& memory) : memory_(&memory) {}
    template <typename Other>
    HandlerAllocator(const HandlerAllocator<Other>& other) : memory_(other.memory_) {}

    T* allocate(std::size_t count) const {
        static_assert(alignof(T) <= alignof(std::max_align_t));
        return static_cast<T*>(memory_->take(sizeof(T) * count));
    }
    void deallocate(T* memory, std::size_t) const { memory_->give(memory); }
    bool operator==(const HandlerAllocator& other) const { return memory_ == other.memory_; }

  private:
    template <typename>
    friend class HandlerAllocator;
    HandlerMemory* memory_;
};

// A completion handler whose operation lives in `memory`. The handler itself keeps that alive.
template <typename Handler>
class HandlerInMemory {
  public:
    using allocator_type = HandlerAllocator<Handler>;

    HandlerInMemory(HandlerMemory& memory, Handler handler)
        : memory_(&memory), handler_(std::move(handler)) {}

    allocator_type get_allocator() const { return allocator_type(*memory_); }
    template <typename... Arguments>
    void operator()(Arguments&&... arguments) {
        handler_(std::forward<Arguments>(arguments)...);
    }

  private:
    HandlerMemory* memory_;
    Handler handler_;
};

}  // namespace lumo
