#include "client/name_pattern.h"

#include <fnmatch.h>

namespace client {

bool isPattern(const std::string& name) {
    return name.find_first_of("*?[") != std::string::npos;
}

bool matchesPattern(const std::string& pattern, const std::string& name) {
    return ::fnmatch(pattern.c_str(), name.c_str(), FNM_CASEFOLD) == 0;
}

}  // namespace client
