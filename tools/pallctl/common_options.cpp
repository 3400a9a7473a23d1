#include "common_options.h"

#include <unistd.h>

#include <chrono>
#include <cstdint>

namespace pallctl {

namespace {

constexpr double kShortestTimeout = 0.001;
constexpr double kLongestSeconds = 86400;
constexpr size_t kLongestObject = 128;
constexpr const char* kObjectCharacters =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_.";

// A message carries the name of its object as it is, in a line of limited length.
std::string checkObject(const std::string& object) {
    const bool named = !object.empty() && object.front() != '.' && object.back() != '.';
    return named && object.size() <= kLongestObject &&
                   object.find_first_not_of(kObjectCharacters) == std::string::npos
               ? ""
               : "needs a name such as system or frameB.system";
}

// A text that stands for no number (nan) is between no two.
std::string checkSeconds(const std::string& text, double least) {
    double seconds = 0;
    const bool fits =
        CLI::detail::lexical_cast(text, seconds) && seconds >= least && seconds <= kLongestSeconds;
    return fits ? ""
                : "'" + text + "' is no number of seconds from " + (least > 0 ? "0.001" : "0") +
                      " to 86400";
}

std::string checkTimeout(const std::string& text) {
    return checkSeconds(text, kShortestTimeout);
}

std::string checkWait(const std::string& text) {
    return checkSeconds(text, 0);
}

std::chrono::milliseconds milliseconds(double seconds) {
    return std::chrono::ceil<std::chrono::milliseconds>(std::chrono::duration<double>(seconds));
}

}  // namespace

CommonOptions::CommonOptions(CLI::App& app) {
    describeStyle(app);
    describeReach(app);
}

void CommonOptions::describeStyle(CLI::App& app) {
    CLI::Option* json = app.add_flag("-j,--json", json_, "Print JSON");
    app.add_flag("-k,--keyvalue", keyvalue_, "Print NAME='VALUE' for a shell")->excludes(json);
    app.add_flag("-r,--raw", raw_, "Show and take values as they travel, in JSON");
}

void CommonOptions::describeReach(CLI::App& app) {
    app.add_option("-o,--object", object_, "The device's name on the bus: system")
        ->type_name("OBJECT")
        ->check(CLI::Validator(checkObject, ""));
    app.add_option("-p,--port", port_, "Port of the bus on 127.0.0.1: 15000")
        ->type_name("PORT")
        ->check(CLI::Range(1, UINT16_MAX).description(""));
    app.add_option("-t,--timeout", timeout_, "Longest wait for an answer: 2, set 60, wait ever")
        ->type_name("SECONDS")
        ->check(CLI::Validator(checkTimeout, ""));
    app.add_option("-w,--wait", wait_, "Give bus and daemon so long to appear: 0")
        ->type_name("SECONDS")
        ->check(CLI::Validator(checkWait, ""));
}

Common CommonOptions::common() const {
    Common common;
    common.reach.port = port_;
    common.reach.object = object_;
    common.reach.wait = milliseconds(wait_);
    if (timeout_ > 0) {
        common.reach.timeout = milliseconds(timeout_);
    }
    common.style.raw = raw_;
    if (json_) {
        common.style.format = Format::json;
    } else if (keyvalue_) {
        common.style.format = Format::keyvalue;
    }
    common.style.colour = takesColours(STDOUT_FILENO);
    return common;
}

}  // namespace pallctl
