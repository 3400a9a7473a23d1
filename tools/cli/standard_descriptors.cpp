#include "cli/standard_descriptors.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace cli {

namespace {

struct Place {
    int descriptor;
    int mode;  // the one that nobody uses there
};
constexpr Place kPlaces[] = {
    {STDIN_FILENO, O_WRONLY}, {STDOUT_FILENO, O_RDONLY}, {STDERR_FILENO, O_RDONLY}};

}  // namespace

// The lowest that is free is the next that is missing.
void holdStandardDescriptors() {
    for (const Place& place : kPlaces) {
        if (::fcntl(place.descriptor, F_GETFD) < 0 && ::open("/dev/null", place.mode) < 0) {
            throw std::system_error(errno, std::generic_category(), "/dev/null");
        }
    }
}

}  // namespace cli
