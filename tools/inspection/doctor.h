#pragma once

#include <string>
#include <vector>

#include "inspection/checks.h"
#include "inspection/sight.h"

// Whether a frame, a real one or a simulated one, has what the daemon depends on, and what the
// daemon makes of it where it has not.
namespace inspection {

// What came of one check.
struct Finding {
    std::string path;
    State state = State::well;
    std::string reason{};                // what was found, where that is worth a word
    std::vector<Published> published{};  // what the daemon publishes then
    std::string_view effect{};           // and what else comes of it

    // What could not be seen is none.
    bool isProblem() const {
        return state != State::well && state != State::unseen && state != State::atRest;
    }
};

struct Diagnosis {
    std::string product;  // as the daemon takes it
    std::vector<Finding> findings{};

    bool isWell() const;  // nothing is wrong with what could be seen
};

// Makes all checks that concern the product. Throws std::system_error.
Diagnosis diagnose(const Root& root);

}  // namespace inspection
