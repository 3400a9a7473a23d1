#include "util/relaxed.h"

#include <cstdint>
#include <thread>

#include <gtest/gtest.h>

namespace util {

namespace {

TEST(Relaxed, StartsAtZeroOrAtItsNumber) {
    EXPECT_EQ(0, Relaxed<int64_t>().get());
    EXPECT_FALSE(Relaxed<bool>().get());
    EXPECT_EQ(7, Relaxed<int64_t>(7).get());
}

TEST(Relaxed, CopyTakesTheNumberAndGoesItsOwnWay) {
    Relaxed<int64_t> original(7);
    Relaxed<int64_t> copy(original);
    original.set(8);
    EXPECT_EQ(7, copy.get());
    copy = original;
    original.set(9);
    EXPECT_EQ(8, copy.get());
}

TEST(Relaxed, ReaderOnAnotherThreadSeesOnlyNumbersThatWereWritten) {
    constexpr int64_t kLow = 0x1111111111111111;
    constexpr int64_t kHigh = 0x2222222222222222;
    Relaxed<int64_t> number(kLow);
    Relaxed<bool> done(false);
    int64_t strange = 0;
    std::thread reader([&] {
        while (!done.get()) {
            const int64_t seen = number.get();
            strange = seen == kLow || seen == kHigh ? strange : seen;
        }
    });
    for (int i = 0; i < 20000; ++i) {
        number.set(i % 2 ? kLow : kHigh);
    }
    done.set(true);
    reader.join();
    EXPECT_EQ(0, strange);
}

}  // namespace

}  // namespace util
