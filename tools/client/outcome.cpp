#include "client/outcome.h"

#include "client/device.h"

namespace pallctl {

namespace {

constexpr int kNotFoundCode = 404;

}  // namespace

ExitStatus statusOf(int statusCode) {
    if (isTaken(statusCode)) {
        return kSuccess;
    }
    return statusCode == kNotFoundCode ? kNotFound : kRefused;
}

}  // namespace pallctl
