#pragma once

#include <string>
#include <vector>

#include "client/client.h"
#include "client/output.h"

namespace pallctl {

struct SetOptions {
    // Send whatever speaks against it, also to names that nobody describes.
    bool force = false;
    // Send also what is set already: a set of an equal value restarts services.
    bool always = false;
};

// Sets "NAME=VALUE" (with style.raw VALUE is JSON) in this order, each with a request of its own,
// so that every answer is known to be about one of them. Nothing at all is sent when one of them
// does not fit its parameter, there is no such parameter, or a name stands twice. Says on standard
// error what was refused and, for people, what was set already; for programs an object or lines
// with the outcome of each on standard output, however it went: "set", "unchanged", "unfit",
// "refused", "notFound", "noAnswer", and "notSent" for what was left because of another one or had
// nobody to be sent to.
ExitStatus set(const Reach& reach, const Style& style, const std::vector<std::string>& assignments,
               const SetOptions& options);

}  // namespace pallctl
