#include "common_options.h"

#include <unistd.h>

#include <chrono>
#include <cstdint>

#include "program/timed_script.h"

namespace pallctl {

namespace {

using namespace std::chrono_literals;

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

std::string checkTime(const std::string& text, std::chrono::milliseconds least, const char* from) {
    const auto time = script::parseTimeOption(text);
    return time && *time >= least
               ? ""
               : "'" + text + "' is no time from " + from + " to 24 hours, such as 2s or 500ms";
}

std::string checkTimeout(const std::string& text) {
    return checkTime(text, 1ms, "1ms");
}

std::string checkWait(const std::string& text) {
    return checkTime(text, 0ms, "0s");
}

std::string secondsText(std::chrono::milliseconds time) {
    return std::to_string(std::chrono::duration_cast<std::chrono::seconds>(time).count()) + "s";
}

}  // namespace

bool takesForm(const Common& common, const char* verb) {
    const bool isPlain = common.style.format == Format::table && !common.style.raw;
    if (!isPlain) {
        complain(verb, "has no form for --json, --keyvalue and --raw");
    }
    return isPlain;
}

CommonOptions::CommonOptions(Verb program) {
    describeStyle(program);
    describeReach(program);
}

void CommonOptions::describeStyle(Verb program) {
    program.addFlag("-j,--json", json_, "Print JSON");
    program.addFlag("-k,--keyvalue", keyvalue_, "Print NAME='VALUE' for a shell")
        .excludes("--json");
    program.addFlag("-r,--raw", raw_, "Show and take values as they travel, in JSON");
}

void CommonOptions::describeReach(Verb program) {
    program.add("-o,--object", object_, "The device's name on the bus: " + Reach().object)
        .kind("OBJECT")
        .check(checkObject);
    program.add("-p,--port", port_, "Port of the bus on 127.0.0.1: " + std::to_string(port_))
        .kind("PORT")
        .check(wholeNumber(1, UINT16_MAX));
    const std::string patience =
        secondsText(Patience().read) + ", set " + secondsText(Patience().set);
    program.add("-t,--timeout", timeout_, "Longest wait for an answer: " + patience + ", wait ever")
        .kind("TIME")
        .check(checkTimeout);
    const std::string wait = secondsText(Reach().wait);
    program.add("-w,--wait", wait_, "Give bus and daemon so long to appear: " + wait)
        .kind("TIME")
        .check(checkWait);
}

Common CommonOptions::common() const {
    Common common;
    common.reach.port = port_;
    common.object = object_;
    if (!object_.empty()) {
        common.reach.object = object_;
    }
    common.reach.wait = script::parseTimeOption(wait_).value_or(common.reach.wait);
    common.reach.timeout = script::parseTimeOption(timeout_);
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
