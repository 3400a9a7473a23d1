#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "soak_lib/random.h"

namespace soak {

// What kind of values a writable parameter takes.
enum class Values { text, flag, port, address, netmask, command, connectionPoint };

// One writable parameter of the device.
struct Parameter {
    const char* name;
    Values values;
    int64_t weight;  // how often it is set, compared with the others
    bool saved;      // kept in the state file
    bool steady;     // changed by sets only, so a GET has to return the last set

    bool isNetwork() const { return values == Values::address || values == Values::netmask; }
};

// All of them. Those that run commands have a low weight, because they delay all others.
const std::vector<Parameter>& writableParameters();

// One request and its expected outcome.
struct Request {
    uint64_t number = 0;                   // its id is "<number>@soak"
    std::string type;                      // "GET" or "SET"
    std::string data;                      // JSON text
    size_t answers = 1;                    // responses that are due
    int status = 200;                      // of each of them
    const Parameter* parameter = nullptr;  // what it sets; null when it is rejected or a GET
    std::string announced;                 // the value in the notification; empty: any
    std::string kept;                      // the value afterwards; empty: unpredictable
    std::vector<std::string> names;        // what it asks for
};

// The number in an id of the soak; empty for another id.
std::optional<uint64_t> parseRequestNumber(const std::string& id);

// Makes random requests, numbered in their order.
class RequestMaker {
  public:
    explicit RequestMaker(Random& random) : random_(random) {}

    // Any request; without `network` no set of a network setting.
    Request makeAny(bool network);
    // A request whose answer does not depend on other clients.
    Request makeIndependent();
    Request makeSet(const Parameter& parameter);
    Request makeGet(std::vector<std::string> names);

  private:
    Request makeNumbered(const char* type, const std::string& body);
    Request makeRejected();
    Request makeAnyGet();
    std::string makeValue(const Parameter& parameter);

    Random& random_;
    uint64_t last_ = 0;
};

}  // namespace soak
