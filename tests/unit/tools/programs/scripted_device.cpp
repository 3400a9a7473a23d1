#include "scripted_device.h"

#include <algorithm>
#include <utility>

namespace {

using namespace std::chrono_literals;

std::vector<std::string> namesIn(const cJSON* request) {
    std::vector<std::string> names;
    const cJSON* name = nullptr;
    cJSON_ArrayForEach(name, util::jsonMember(request, "objectName")) {
        names.emplace_back(util::jsonText(name));
    }
    return names;
}

}  // namespace

std::string parameterJSON(const std::string& leaf, const std::string& type, bool readOnly,
                          const std::string& attributes, const std::string& value) {
    return "{\"oid\":\"system." + leaf + "\",\"name\":\"\",\"type\":\"" + type +
           "\",\"readonly\":" + (readOnly ? "true," : "false,") + attributes +
           "\"value\":" + value + "}";
}

ScriptedDevice::ScriptedDevice(uint16_t port, Parameters parameters, std::vector<std::string> saved)
    : parameters_(std::move(parameters)), saved_(std::move(saved)), peer_(port, 8) {
    peer_.subscribe("system");
    thread_ = std::thread([this] { serve(); });
}

ScriptedDevice::~ScriptedDevice() {
    stop_ = true;
    thread_.join();
}

void ScriptedDevice::answerSets(const std::string& leaf, int status) {
    const std::lock_guard<std::mutex> lock(mutex_);
    statuses_[leaf] = status;
}

void ScriptedDevice::replace(const std::string& leaf, const std::string& json) {
    const std::lock_guard<std::mutex> lock(mutex_);
    parameters_[leaf] = json;
}

void ScriptedDevice::announce(const std::string& leaf, const std::string& value) {
    const std::lock_guard<std::mutex> lock(mutex_);
    sendAnnouncement(leaf, value);
}

void ScriptedDevice::loseDescription() {
    const std::lock_guard<std::mutex> lock(mutex_);
    losing_ = true;
}

void ScriptedDevice::overtakeDescription(const std::string& leaf, const std::string& value,
                                         const std::string& json) {
    const std::lock_guard<std::mutex> lock(mutex_);
    overtake_ = [=, this] {
        sendAnnouncement(leaf, value);
        parameters_[leaf] = json;
    };
}

int ScriptedDevice::readings() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return readings_;
}

void ScriptedDevice::sendAnnouncement(const std::string& leaf, const std::string& value) {
    peer_.send("[\"NOT\", \"system\", 8, 0, 0]\n{\"id\":\"n\",\"param\":{\"" + leaf +
               "\":" + value + "}}");
}

std::vector<std::string> ScriptedDevice::sets() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return sets_;
}

void ScriptedDevice::serve() {
    while (!stop_) {
        const std::string payload = peer_.receive(20ms);
        if (!payload.empty()) {
            const std::lock_guard<std::mutex> lock(mutex_);
            handle(payload);
        }
    }
}

void ScriptedDevice::handle(const std::string& payload) {
    const size_t line = payload.find('\n');
    const util::UniqueJSON header = util::parseJSON(payload.data(), line);
    const util::UniqueJSON data = util::parseJSON(payload.data() + line, payload.size() - line);
    const std::string type = util::jsonText(cJSON_GetArrayItem(header.get(), 0));
    const std::string source = util::renderJSON(cJSON_GetArrayItem(header.get(), 2), false);
    if (type == "GET") {
        answerGet(source, data.get());
    } else if (type == "SET") {
        sets_.push_back(payload.substr(0, line) +
                        util::renderJSON(util::jsonMember(data.get(), "param"), false));
        answerSet(source, data.get());
    }
}

void ScriptedDevice::answerGet(const std::string& source, const cJSON* data) {
    const auto values = namesIn(util::jsonMember(data, "param"));
    if (std::find(values.begin(), values.end(), "paramDescriptor") != values.end()) {
        respond(
            source, data,
            R"("statusCode":200,"param":{"paramDescriptor":{"type":"device","slot":0,"params":)" +
                described(saved_) + "}}");
    } else if (const std::string known = valuesOf(values); known != "{}") {
        respond(source, data, R"("statusCode":200,"param":)" + known);
    }
    if (util::jsonMember(data, "paramDescriptor")) {
        answerByName(source, data);
    }
}

void ScriptedDevice::answerByName(const std::string& source, const cJSON* data) {
    ++readings_;
    const std::string named = described(namesIn(util::jsonMember(data, "paramDescriptor")));
    if (const auto overtake = std::exchange(overtake_, nullptr)) {
        overtake();
    }
    if (named != "{}" && !std::exchange(losing_, false)) {
        respond(source, data, R"("statusCode":200,"paramDescriptor":)" + named);
    }
}

void ScriptedDevice::answerSet(const std::string& source, const cJSON* data) {
    const std::string leaf = util::jsonMember(data, "param")->child->string;
    const int usual = parameters_.contains(leaf) ? 200 : 404;
    const int status = statuses_.contains(leaf) ? statuses_[leaf] : usual;
    if (status != 0) {
        respond(source, data, "\"statusCode\":" + std::to_string(status));
    }
}

void ScriptedDevice::respond(const std::string& source, const cJSON* data,
                             const std::string& rest) {
    peer_.send("[\"RSP\", \"system\", 8, " + source + ", 0]\n{\"id\":" +
               util::renderJSON(util::jsonMember(data, "id"), false) + "," + rest + "}");
}

std::string ScriptedDevice::valuesOf(const std::vector<std::string>& leaves) const {
    const util::UniqueJSON values = util::jsonObject();
    for (const std::string& leaf : leaves) {
        if (const auto found = parameters_.find(leaf); found != parameters_.end()) {
            const util::UniqueJSON parameter =
                util::parseJSON(found->second.data(), found->second.size());
            util::addMember(values.get(), leaf.c_str(),
                            util::copyJSON(util::jsonMember(parameter.get(), "value")));
        }
    }
    return util::renderJSON(values.get(), false);
}

std::string ScriptedDevice::described(const std::vector<std::string>& leaves) const {
    std::string text;
    for (const std::string& leaf : leaves) {
        if (const auto found = parameters_.find(leaf); found != parameters_.end()) {
            text += (text.empty() ? "\"d_system." : ",\"d_system.") + leaf + "\":" + found->second;
        }
    }
    return "{" + text + "}";
}
