#include "on_product.h"

#include <syslog.h>

#include <algorithm>
#include <regex>

#include "pallframe/simulation/frame_paths.h"

using harness::BusMessage;
using harness::LogLine;
namespace paths = pallframe::simulation::paths;

namespace {

LogLine line(int priority, const std::string& text) {
    return {priority, LOG_LOCAL2, "Pallwatch", text};
}

bool isBatteryLoad(const std::string& command) {
    return command.starts_with("/sbin/devmem ");
}

bool isBatterySample(const LogLine& line) {
    return line.text.starts_with("Battery Sample = ") || line.text.starts_with("sec[");
}

bool isBatteryVoltage(const LogLine& line) {
    static const std::vector<LogLine> ofZero = logOfChange("battVoltage", "0.000000");
    return std::ranges::find(ofZero, line) != ofZero.end();
}

template <typename Item, typename Condition>
std::vector<Item> newOnes(const std::vector<Item>& all, size_t before, Condition isLeftOut) {
    std::vector<Item> left;
    std::remove_copy_if(all.begin() + static_cast<ptrdiff_t>(before), all.end(),
                        std::back_inserter(left), isLeftOut);
    return left;
}

}  // namespace

bool onAny(std::string_view) {
    return true;
}

bool onQuorane(std::string_view product) {
    return product == "Quorane";
}

bool onBrio(std::string_view product) {
    return product == "QuoraneBrio";
}

bool onKELI(std::string_view product) {
    return product == "KELI";
}

bool onTessaraFrame(std::string_view product) {
    return product.starts_with("Tessara");
}

bool onTessaraEdition(std::string_view product) {
    return !onBrio(product);
}

bool onPolled(std::string_view product) {
    return !onBrio(product);
}

std::string identifierOf(std::string_view product) {
    std::string name(product);
    std::erase(name, '-');
    return name;
}

LogLine critical(const std::string& text) {
    return line(LOG_CRIT, text);
}

LogLine error(const std::string& text) {
    return line(LOG_ERR, text);
}

LogLine warning(const std::string& text) {
    return line(LOG_WARNING, text);
}

LogLine info(const std::string& text) {
    return line(LOG_INFO, text);
}

LogLine debug(const std::string& text) {
    return line(LOG_DEBUG, text);
}

std::vector<LogLine> logOfChange(const std::string& key, const std::string& value) {
    return {debug("SystemState::valueChanged, oid=system." + key + ", val=" + value),
            debug("currentSystemState.setParamChanged_cb: param:system." + key + ", val:" + value)};
}

void makeFail(const harness::Frame& frame, std::string_view path) {
    const std::string note = "echo \"$0${*:+ $*}\" >>" + std::string(paths::kCommands);
    frame.writeProgram(path, "#!/bin/sh\n" + note + "\nexit 3\n");
}

void OnProduct::silenceVoltages() {
    hide(paths::kRegisters);
    bus.ignoreAnnouncements("battVoltage");
    voltagesAreSilent_ = true;
}

void OnProduct::silencePoll() {
    for (const std::string_view path : {paths::kBond, paths::kBondCopy, paths::kDetection}) {
        hide(path);
    }
    silenceVoltages();
}

void OnProduct::startAndSettle(const std::vector<std::string>& arguments) {
    start(arguments);
    if (!frame.exists(kAmbrixMarker)) {
        waitForAmbrix();
    }
    daemon->output().waitFor("oid=system.serial2\n");
    mark();
}

void OnProduct::waitForAmbrix() const {
    for (const char* service : {"/ambrix", "/ambrix-shutoff"}) {
        const std::string state = std::string(paths::kServices) + service;
        harness::waitUntil([&] { return frame.read(state) == "running"; }, state);
    }
}

void OnProduct::mark() {
    linesBefore_ = log.linesUntilNow().size();
    commandsBefore_ = frame.commands().size();
    outputBefore_ = daemon->output().text().size();
}

std::vector<LogLine> OnProduct::newLog() {
    return newOnes(log.linesUntilNow(), linesBefore_, [this](const LogLine& line) {
        return isBatterySample(line) || (voltagesAreSilent_ && isBatteryVoltage(line));
    });
}

std::vector<std::string> OnProduct::newCommands() const {
    return newOnes(frame.commands(), commandsBefore_, isBatteryLoad);
}

std::vector<std::string> OnProduct::waitForNewCommands(size_t count) const {
    harness::waitUntil([&] { return newCommands().size() >= count; },
                       std::to_string(count) + " new commands");
    return newCommands();
}

std::string OnProduct::newOutput() {
    static const std::regex time(R"(\d\d:\d\d:\d\d\.\d\d\d\t)");
    static const std::regex battery("BATT 0\\.000000\n");
    const std::string text = daemon->output().text().substr(outputBefore_);
    return std::regex_replace(voltagesAreSilent_ ? std::regex_replace(text, battery, "") : text,
                              time, "<time>\t");
}

std::string OnProduct::waitForAnnouncement(const std::string& name) {
    for (;;) {
        const std::string value = bus.waitFor("NOT", "system").at({"param", name.c_str()});
        if (!value.empty()) {
            return value;
        }
    }
}

void OnProduct::waitForAnnouncement(const std::string& name, const std::string& value) {
    while (waitForAnnouncement(name) != value) {
    }
}
