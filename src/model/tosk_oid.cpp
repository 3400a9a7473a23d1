#include "model/tosk_oid.h"

#include <utility>

ToskOID::ToskOID(const std::string& text, int dotIndex) : ToskObject(model::kKindOID) {
    parse(text, dotIndex);
}

ToskOID ToskOID::fromParts(std::string prefix, std::string leaf) {
    ToskOID oid;
    oid.prefix_ = std::move(prefix);
    oid.leaf_ = std::move(leaf);
    return oid;
}

bool ToskOID::parse(const std::string& text, int dotIndex) {
    size_t split = std::string::npos;
    size_t from = 0;
    for (int i = 0; i < dotIndex; ++i) {
        const size_t dot = text.find('.', from);
        if (dot == std::string::npos) {
            break;
        }
        split = dot;
        from = dot + 1;
    }
    if (split == std::string::npos) {
        return false;
    }
    prefix_ = text.substr(0, split);
    leaf_ = text.substr(split + 1);
    return true;
}

std::string ToskOID::toString() const {
    std::string text;
    text.reserve(prefix_.size() + 1 + leaf_.size());
    return text.append(prefix_).append(1, '.').append(leaf_);
}

int ToskOID::fromJSON(const cJSON* item) {
    const char* text = util::jsonText(item);
    if (!text) {
        return -1;
    }
    parse(text, 1);
    return 0;
}

util::UniqueJSON ToskOID::toJSON() const {
    return util::jsonString(toString());
}
