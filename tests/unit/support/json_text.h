#pragma once

#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "util/json.h"

// JSON from literals and back.

inline util::UniqueJSON parsed(std::string_view text) {
    util::UniqueJSON item = util::parseJSON(text.data(), text.size());
    EXPECT_NE(nullptr, item) << "not JSON: " << text;
    return item;
}

inline std::string rendered(const util::UniqueJSON& item) {
    return util::renderJSON(item.get(), false);
}

// `levels` opening texts, the inner text, as many closing texts.
inline std::string nested(size_t levels, std::string_view open, std::string_view inner,
                          std::string_view close) {
    std::string text;
    for (size_t i = 0; i < levels; ++i) {
        text += open;
    }
    text += inner;
    for (size_t i = 0; i < levels; ++i) {
        text += close;
    }
    return text;
}
