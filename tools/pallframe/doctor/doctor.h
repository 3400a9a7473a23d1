#pragma once

#include <string>
#include <vector>

#include "pallframe/doctor/dependencies.h"
#include "pallframe/doctor/root_probe.h"

// Whether a frame, a real one or a simulated one, has what the daemon depends on, and what the
// daemon makes of it where it has not.
namespace pallframe::doctor {

// What came of one check.
struct Finding {
    std::string path;
    State state = State::ok;
    std::string reason{};                // what was found, where that is worth a word
    std::vector<Published> published{};  // what the daemon publishes then
    std::string_view effect{};           // and what else comes of it

    // A check that could not look is not a problem.
    bool isProblem() const {
        return state != State::ok && state != State::notAccessible && state != State::notRunning;
    }
};

struct Diagnosis {
    std::string product;  // as the daemon takes it
    std::vector<Finding> findings{};

    bool isWell() const;  // nothing is wrong with what could be seen
};

// Makes all checks that concern the product. Throws std::system_error.
Diagnosis diagnose(const RootProbe& root);

}  // namespace pallframe::doctor
