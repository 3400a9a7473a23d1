#pragma once

#include <atomic>

namespace util {

// A number or flag that the main thread and the poll thread both read and write. Each access is
// atomic on its own and orders nothing else: a reader sees one of the values written, never half.
// A copy takes the number of the moment.
template <typename Number>
class Relaxed {
  public:
    Relaxed() = default;
    explicit Relaxed(Number number) : number_(number) {}
    Relaxed(const Relaxed& other) : number_(other.get()) {}
    Relaxed& operator=(const Relaxed& other) {
        set(other.get());
        return *this;
    }
    ~Relaxed() = default;

    Number get() const { return number_.load(std::memory_order_relaxed); }
    void set(Number number) { number_.store(number, std::memory_order_relaxed); }

  private:
    std::atomic<Number> number_{};
};

}  // namespace util
