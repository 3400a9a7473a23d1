#include "pallctl/options.h"

#include <unistd.h>

#include <chrono>
#include <cstdint>

#include "cli/table.h"
#include "cli/timed_script.h"

namespace pallctl {

namespace {

using namespace std::chrono_literals;

constexpr size_t kMaxObjectBytes = 128;
constexpr const char* kObjectCharacters =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_.";

// The header line of a message contains the name, and has a limited length.
std::string checkObject(const std::string& object) {
    const bool named = !object.empty() && object.front() != '.' && object.back() != '.';
    return named && object.size() <= kMaxObjectBytes &&
                   object.find_first_not_of(kObjectCharacters) == std::string::npos
               ? ""
               : "invalid object '" + object + "'; use a name such as system or frameB.system";
}

cli::Validator timeFrom(std::chrono::milliseconds min, const std::string& minText) {
    return [=](const std::string& text) {
        const auto time = cli::script::parseDuration(text);
        return time && *time >= min
                   ? ""
                   : "invalid duration '" + text + "'; use 500ms, 2s, 3m or 1h, from " + minText +
                         " to 24 hours";
    };
}

std::string secondsText(std::chrono::milliseconds time) {
    return std::to_string(std::chrono::duration_cast<std::chrono::seconds>(time).count()) + "s";
}

}  // namespace

Options::Options(cli::Command program) {
    addStyleOptions(program);
    addConnectionOptions(program);
}

void Options::addStyleOptions(cli::Command program) {
    program.addFlag("-j,--json", json_, "Print JSON");
    program.addFlag("-k,--keyvalue", keyvalue_, "Print NAME='VALUE' for a shell")
        .excludes("--json");
    program.addFlag("-r,--raw", raw_, "Show and accept raw wire values, in JSON");
}

void Options::addConnectionOptions(cli::Command program) {
    const client::ConnectionOptions usual;
    program.add("-o,--object", object_, "The device's name on the bus: " + usual.object)
        .kind("OBJECT")
        .check(checkObject);
    program.add("-p,--port", port_, "Port of the bus on 127.0.0.1: " + std::to_string(port_))
        .kind("PORT")
        .check(cli::wholeNumber(1, UINT16_MAX));
    const std::string timeouts =
        secondsText(client::Timeouts().read) + ", set " + secondsText(client::Timeouts().set);
    program.add("-t,--timeout", timeout_, "Maximum wait for an answer: " + timeouts)
        .kind("TIME")
        .check(timeFrom(1ms, "1ms"));
    program
        .add("-w,--wait", wait_, "Wait up to TIME for bus and daemon: " + secondsText(usual.wait))
        .kind("TIME")
        .check(timeFrom(0ms, "0s"));
}

client::ConnectionOptions Options::connection() const {
    client::ConnectionOptions connection;
    connection.port = port_;
    if (!object_.empty()) {
        connection.object = object_;
    }
    connection.wait = cli::script::parseDuration(wait_).value_or(connection.wait);
    connection.timeout = cli::script::parseDuration(timeout_);
    return connection;
}

Style Options::style() const {
    Style style;
    style.raw = raw_;
    if (json_) {
        style.format = Format::json;
    } else if (keyvalue_) {
        style.format = Format::keyvalue;
    }
    style.colour = supportsColours(STDOUT_FILENO);
    style.columns = cli::readTerminalWidth(STDOUT_FILENO);
    return style;
}

}  // namespace pallctl
