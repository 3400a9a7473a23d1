#include "pallctl/values/assignment.h"

#include <algorithm>
#include <iterator>

#include "client/client.h"

namespace pallctl {

std::optional<std::vector<Assignment>> parseAssignments(const std::vector<std::string>& words) {
    std::vector<Assignment> assignments;
    for (const std::string& word : words) {
        const size_t equals = word.find('=');
        if (equals == std::string::npos || equals == 0) {
            client::complain(word, "needs the form NAME=VALUE");
            return std::nullopt;
        }
        assignments.push_back({word.substr(0, equals), word.substr(equals + 1)});
    }
    return assignments;
}

std::vector<std::string> namesOf(const std::vector<Assignment>& assignments) {
    std::vector<std::string> names;
    std::transform(assignments.begin(), assignments.end(), std::back_inserter(names),
                   [](const Assignment& assignment) { return assignment.name; });
    return names;
}

}  // namespace pallctl
