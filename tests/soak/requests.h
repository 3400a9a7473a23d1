#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "soaking/random.h"

namespace soak {

// How the values of a writable parameter are made up.
enum class Values { text, flag, port, address, netmask, command, connectionPoint };

// One writable parameter of the device.
struct Parameter {
    const char* name;
    Values values;
    int64_t weight;  // how often it is set, beside the others
    bool saved;      // kept in the state file
    bool steady;     // nothing but a set changes it, so a GET can be held against the last set

    bool isNetwork() const { return values == Values::address || values == Values::netmask; }
};

// All of them, cheap ones with a high weight: those that run commands hold up everything else.
std::span<const Parameter> writableParameters();

// One request, and what has to come of it.
struct Request {
    uint64_t number = 0;                   // its id is "<number>@soak"
    std::string type;                      // "GET" or "SET"
    std::string data;                      // JSON text
    size_t answers = 1;                    // responses due
    int status = 200;                      // in each of them
    const Parameter* parameter = nullptr;  // what it sets, when the set is to be carried out
    std::string announced;                 // the set value as JSON text; empty: not held against
    std::string kept;                      // the value afterwards; empty: not foreseeable
    std::vector<std::string> names;        // what it gets
};

// The number in an id of this program's; nothing for another id.
std::optional<uint64_t> requestNumber(const std::string& id);

// Makes requests up, numbered in their order.
class RequestMaker {
  public:
    explicit RequestMaker(Random& random) : random_(random) {}

    // Any request; without `network` none that sets a network setting.
    Request any(bool network);
    // One whose answer does not depend on what other clients do meanwhile.
    Request amongOthers();
    Request set(const Parameter& parameter);
    Request get(std::vector<std::string> names);

  private:
    Request numbered(const char* type, const std::string& body);
    Request refused();
    Request getOfAnyKind();
    std::string valueFor(const Parameter& parameter);

    Random& random_;
    uint64_t last_ = 0;
};

}  // namespace soak
