#pragma once

#include <string>
#include <vector>

#include "cli/escape.h"
#include "util/json.h"

namespace pallframe::doctor {

// Texts of any file as JSON; invalid UTF-8 is replaced.
inline util::UniqueJSON textItem(const std::string& text) {
    return util::jsonString(cli::validUTF8(text));
}

inline util::UniqueJSON textItems(const std::vector<std::string>& texts) {
    util::UniqueJSON all = util::jsonArray();
    for (const std::string& text : texts) {
        util::addElement(all.get(), textItem(text));
    }
    return all;
}

}  // namespace pallframe::doctor
