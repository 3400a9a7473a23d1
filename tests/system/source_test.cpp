// Rules for the source that no compiler checks.

#include "pallframe_process.h"

using namespace outside;
using testing::HasSubstr;
using testing::Not;

namespace {

// On 32-bit machines, the C++ library has times of 32 bits.
TEST(Source, ReadsTheTimeOfDayWithoutTheCxxLibrary) {
    size_t sources = 0;
    for (const char* part : {"src", "tools"}) {
        for (const auto& entry : std::filesystem::recursive_directory_iterator(part)) {
            const std::string path = entry.path();
            if (path.ends_with(".cpp") ||
                (path.ends_with(".h") && !path.ends_with("system_clock.h"))) {
                EXPECT_THAT(readFile(path), Not(HasSubstr("system_clock::now"))) << path;
                ++sources;
            }
        }
    }
    EXPECT_GT(sources, 100U);
}

}  // namespace
