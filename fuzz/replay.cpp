// Runs every file of the given directories through a fuzz target, for compilers without libFuzzer.

#include <cstdio>
#include <exception>
#include <filesystem>
#include <string>

#include "fuzz_target.h"
#include "util/files.h"

namespace {

int replayDirectory(const std::filesystem::path& directory) {
    int count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(directory)) {
        const std::string input = util::readWholeFile(entry.path());
        // Said before it is run, so that the one that does not come back is the last one named.
        std::fprintf(stderr, "%s (%zu bytes)\n", entry.path().c_str(), input.size());
        LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(input.data()), input.size());
        ++count;
    }
    return count;
}

}  // namespace

int main(int argc, char** argv) try {
    int count = 0;
    for (int i = 1; i < argc; ++i) {
        count += replayDirectory(argv[i]);
    }
    std::fprintf(stderr, "%d inputs\n", count);
    return count > 0 ? 0 : 1;
} catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
}
