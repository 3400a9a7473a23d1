#pragma once

#include <string>
#include <vector>

#include "cli/escape.h"
#include "model/json.h"

namespace pallframe::doctor {

// Texts that files may hold, as JSON can: what is no UTF-8 in them is replaced.
inline UniqueJSON textItem(const std::string& text) {
    return jsonString(cli::validUTF8(text));
}

inline UniqueJSON textItems(const std::vector<std::string>& texts) {
    UniqueJSON all = jsonArray();
    for (const std::string& text : texts) {
        addElement(all.get(), textItem(text));
    }
    return all;
}

}  // namespace pallframe::doctor
