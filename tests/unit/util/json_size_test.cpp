#include "util/json_size.h"

#include <limits>

#include <gtest/gtest.h>

#include "support/json_text.h"
#include "util/json.h"

namespace util {

namespace {

constexpr const char* kSamples[] = {
    "null",
    "true",
    "false",
    "0",
    "-2147483648",
    "2147483647",
    "[]",
    "{}",
    R"("")",
    R"("a \" \\ \b \f \n \r \t \u0001 \u001f é /")",
    R"({"a":1,"b\n":[true,false,null,"x"],"":{"c":{}}})",
    "[[[]],[1,22,333]]",
};

TEST(JSONSize, IsExactForAllButLongNumbers) {
    for (const char* sample : kSamples) {
        SCOPED_TRACE(sample);
        const UniqueJSON item = parsed(sample);
        const size_t length = renderJSON(item.get(), false).size();
        EXPECT_EQ(length, renderedSize(item.get()).least);
        EXPECT_EQ(length, renderedSize(item.get()).most);
    }
}

TEST(JSONSize, BoundsLongNumbers) {
    for (const double number :
         {0.1, -1.0 / 3, 1e300, -5e-324, 4294967296.0, -std::numeric_limits<double>::max(),
          std::numeric_limits<double>::infinity(), std::numeric_limits<double>::quiet_NaN()}) {
        const UniqueJSON item = jsonNumber(number);
        const size_t length = renderJSON(item.get(), false).size();
        EXPECT_LE(renderedSize(item.get()).least, length);
        EXPECT_GE(renderedSize(item.get()).most, length);
    }
}

TEST(JSONSize, OfNothingIsZero) {
    EXPECT_EQ(0u, renderedSize(nullptr).most);
}

}  // namespace

}  // namespace util
