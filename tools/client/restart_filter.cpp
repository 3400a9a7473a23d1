#include "client/restart_filter.h"

#include <utility>

namespace client {

bool RestartFilter::isNews(const std::string& name, const std::string& text, bool isRead,
                           Deadline now) {
    std::erase(held_, name);
    const auto known = known_.find(name);
    if (known != known_.end() && known->second == text) {
        return false;
    }
    isRestarting_ = isRestarting_ && isRead;
    if (isRestarting_) {
        held_.push_back(name);
        until_ = now + kSettleTime;
        return false;
    }
    known_[name] = text;
    return true;
}

std::vector<std::string> RestartFilter::takeOverdue(Deadline now) {
    return now < next() ? std::vector<std::string>() : std::exchange(held_, {});
}

}  // namespace client
