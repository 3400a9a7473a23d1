#include "bus_frames.h"

std::string frame(const std::string& type, const std::string& object, const std::string& data) {
    const std::string payload = "[\"" + type + "\", \"" + object + "\", 5, 0, 0]\n" + data;
    return std::to_string(payload.size()) + ":" + payload + ";";
}

std::string getRequest(const std::string& names) {
    return frame("GET", "system", R"({"id":"1@bench","param":{"objectName":[)" + names + "]}}");
}

std::string setRequest(const std::string& name, int value) {
    return frame("SET", "system",
                 R"({"id":"1@bench","param":{")" + name + "\":" + std::to_string(value) + "}}");
}

size_t FrameCounter::count(const std::string& bytes) {
    pending_ += bytes;
    size_t position = 0;
    size_t counted = 0;
    for (size_t colon; (colon = pending_.find(':', position)) != std::string::npos;) {
        const size_t length = std::stoul(pending_.substr(position, colon - position));
        const size_t next = colon + 1 + length + 1;
        if (next > pending_.size()) {
            break;
        }
        counted += pending_.compare(colon + 1, start_.size(), start_) == 0 ? 1U : 0U;
        position = next;
    }
    pending_.erase(0, position);
    return counted;
}
