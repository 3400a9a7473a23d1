#include "client/restart_detector.h"

#include <utility>

#include "cli/parse_number.h"

namespace client {

void RestartDetector::observe(const std::string& id) {
    observeGreeting(id);
}

bool RestartDetector::observeGreeting(const std::string& id) {
    const size_t at = id.find('@');
    const auto number = cli::parseNumber<uint64_t>(id.substr(0, at));
    if (at == std::string::npos || !number) {
        return false;
    }
    const std::string before = std::exchange(process_, id.substr(at));
    return *number <= kMaxFirstNumber || (!before.empty() && before != process_);
}

}  // namespace client
