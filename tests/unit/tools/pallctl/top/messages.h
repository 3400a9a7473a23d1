#pragma once

#include <clocale>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "bus/tarn_internal_message.h"
#include "pallctl/top/device_state.h"
#include "pallctl/top/view.h"

// What the tests of the full-screen view have in common: messages as a device sends them, and keys
// as a person presses them.
namespace pallctl::top {

inline TarnInternalMessage received(const std::string& payload) {
    auto bytes = std::make_unique<std::vector<char>>(payload.begin(), payload.end());
    bytes->push_back('\0');
    return TarnInternalMessage(std::move(bytes));
}

inline std::string announcement(const std::string& members) {
    return "[\"NOT\", \"system\", 8, 0, 0]\n{\"id\":\"1@8\",\"param\":{" + members + "}}";
}

// Members such as {"oid":"system.a","name":"A","type":"INT32","readonly":false,"value":1}.
inline std::string describeParameters(const std::vector<std::string>& descriptors) {
    std::string members;
    for (const std::string& descriptor : descriptors) {
        members += (members.empty() ? "" : ",") + ("\"d" + std::to_string(members.size())) +
                   "\":" + descriptor;
    }
    return "[\"RSP\", \"system\", 8, 5, 0]\n{\"id\":\"1@5\",\"paramDescriptor\":{" + members + "}}";
}

// A descriptor; `more` are further members, each with a comma before it.
inline std::string descriptor(const std::string& leaf, const std::string& type,
                              const std::string& value, const std::string& more = "") {
    return R"({"oid":"system.)" + leaf + R"(","name":")" + leaf + R"( label","type":")" + type +
           R"(","value":)" + value + more + "}";
}

constexpr const char* kSwitchChoices =
    R"(,"constraint":{"type":"INT_CHOICE","choices":[{"value":0,"name":"Disabled"},)"
    R"({"value":1,"name":"Enabled"}]})";
constexpr const char* kReadOnly = R"(,"readonly":true)";
constexpr const char* kAddress = R"(,"widget":"WIDGET_IP_ADDRESS")";

// A state that some parameters were described to, in a locale that shows everything.
class DeviceStateFixture : public testing::Test {
  protected:
    DeviceStateFixture() { std::setlocale(LC_CTYPE, "C.UTF-8"); }

    void describe(const std::vector<std::string>& descriptors) {
        state.take(received(describeParameters(descriptors)), now);
    }
    void announce(const std::string& members) { state.take(received(announcement(members)), now); }

    Moment now{0};
    DeviceState state;
};

inline Request press(View& view, KeyCode code, Moment now = Moment(0)) {
    return view.press({code, ""}, now);
}

// One character after the other; the request of the last.
inline Request type(View& view, const std::string& text, Moment now = Moment(0)) {
    Request request = Request::none;
    for (const char character : text) {
        request = view.press({KeyCode::character, std::string(1, character)}, now);
    }
    return request;
}

}  // namespace pallctl::top
