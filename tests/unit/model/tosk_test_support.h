#pragma once

#include <iostream>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "model/tosk_param.h"
#include "support/json_text.h"
#include "util/json.h"

namespace model {

// What the tests of the parameter model have in common: JSON from literals, and a listener
// and standard output that remember what they were told.

struct RecordingListener final : ToskValueChangeListener {
    void valueChanged(ToskParam* param) override { heard.push_back(param); }
    std::vector<ToskParam*> heard;
};

// What `action` prints on standard output.
template <typename Action>
std::string printedBy(Action action) {
    testing::internal::CaptureStdout();
    action();
    return testing::internal::GetCapturedStdout();
}

// Runs `action` without its traces on standard output, unless the test failed meanwhile: then what
// was printed is shown, the failures among it.
template <typename Action>
void quietly(Action action) {
    const std::string printed = printedBy(action);
    if (testing::Test::HasFailure()) {
        std::cout << printed;
    }
}

inline ToskParam makeParam(const std::string& oid, int32_t type) {
    ToskParam param;
    param.setOid(ToskOID(oid, 1));
    param.setType(type);
    return param;
}

// A struct member: its identifier is the leaf alone.
inline ToskParam makeMember(const std::string& leaf, int32_t type,
                            std::shared_ptr<ToskValue> value = nullptr) {
    ToskParam param;
    param.setOid(ToskOID::fromParts("", leaf));
    param.setType(type);
    param.setValue(std::move(value));
    return param;
}

inline int64_t integerOf(const ToskParam& param) {
    const auto* value = dynamic_cast<const ToskIntegerValue*>(param.value().get());
    EXPECT_NE(nullptr, value) << param.oid().toString() << " holds no integer";
    return value ? value->value() : 0;
}

}  // namespace model
