#pragma once

#include <string>

#include "client/descriptor.h"
#include "util/json.h"

// Descriptors and values for the tests of the forms that values have.
namespace client {

inline util::UniqueJSON json(const std::string& text) {
    return util::parseJSON(text.data(), text.size());
}

inline Descriptor ofType(const std::string& type) {
    Descriptor descriptor;
    descriptor.type = type;
    return descriptor;
}

inline Descriptor address() {
    Descriptor descriptor = ofType("INT32");
    descriptor.widget = "WIDGET_IP_ADDRESS";
    return descriptor;
}

inline Descriptor ofPrecision(int precision) {
    Descriptor descriptor = ofType("FLOAT");
    descriptor.precision = precision;
    return descriptor;
}

inline Descriptor switchDescriptor() {
    Descriptor descriptor = ofType("INT32");
    descriptor.choices = {{0, "Disabled"}, {1, "Enabled"}};
    return descriptor;
}

inline Parameter holding(Descriptor descriptor, const std::string& value) {
    return {std::move(descriptor), json(value)};
}

inline Parameter serialPort() {
    return holding(ofType("STRUCT"), R"({"_d_name":{"type":"STRING","value":"COM1"},)"
                                     R"("_d_level":{"type":"FLOAT","precision":1,"value":2.26},)"
                                     R"("_d_connectionPoint":{"type":"STRING","value":""}})");
}

}  // namespace client
