#include "util/formatted_text.h"

#include <cerrno>
#include <string>

#include <gtest/gtest.h>

namespace util {

namespace {

std::string formatted(const char* format, ...) __attribute__((format(printf, 1, 2)));

std::string formatted(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const FormattedText text(format, arguments);
    va_end(arguments);
    return std::string(text.text().value());
}

TEST(FormattedText, IsWholeWhateverItsLength) {
    for (const size_t size : {0U, 1U, 1023U, 1024U, 1025U, 100'000U}) {
        const std::string text(size, 'x');
        EXPECT_EQ(formatted("%s", text.c_str()), text);
    }
}

TEST(FormattedText, HasTheErrorOfTheCallAlsoWhenItIsLong) {
    const std::string longer(2000, 'x');
    errno = ENOENT;
    EXPECT_EQ(formatted("%d: %m", 7), "7: No such file or directory");
    EXPECT_EQ(formatted("%s: %m", longer.c_str()), longer + ": No such file or directory");
    EXPECT_EQ(errno, ENOENT);
}

}  // namespace

}  // namespace util
