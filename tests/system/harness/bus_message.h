#pragma once

#include <initializer_list>
#include <string>
#include <string_view>

namespace harness {

// One message as it stood on the wire, taken apart. The texts are what was sent, byte for byte.
struct BusMessage {
    std::string header;  // without the line feed
    std::string data;
    std::string type;  // "GET", "NOT", …
    std::string objectName;
    int source = -1;
    int destination = -1;

    // A member of the data as unformatted JSON, such as {"param", "frameName"}; "" when there is
    // none.
    std::string at(std::initializer_list<const char*> keys) const;

    // The text of the data's "id", "" when there is none.
    std::string id() const;
};

// Header and data on one line; what the data has for an "id" is shown as "*".
std::string withoutId(const BusMessage& message);

// Throws std::runtime_error for a payload that is no message.
BusMessage parseBusMessage(std::string_view payload);

// "length:payload;"
std::string busFrame(std::string_view payload);

}  // namespace harness
