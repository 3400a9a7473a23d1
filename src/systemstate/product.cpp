#include "systemstate/product.h"

#include <strings.h>

#include <string_view>
#include <utility>

#include "systemstate/machine.h"
#include "systemstate/paths.h"
#include "util/trace.h"

namespace systemstate {

namespace {

// An unlabelled card is a controller.
constexpr const char* kDefaultProduct = "Quorane";
constexpr std::string_view kTessara = "Tessara";

}  // namespace

Product::Product(std::string name) : name_(std::move(name)) {}

bool Product::isTessaraFrame() const {
    return is(kTessara.data()) || is("Tessara-5ru");
}

bool Product::isBrio() const {
    return is("QuoraneBrio");
}

bool Product::isKeli() const {
    return is("KELI");
}

bool Product::isQuorane() const {
    return name_ == kDefaultProduct;
}

bool Product::isNamedTessara() const {
    return strncasecmp(name_.c_str(), kTessara.data(), kTessara.size()) == 0;
}

bool Product::is(const char* name) const {
    return strcasecmp(name_.c_str(), name) == 0;
}

Product readProduct(Machine& machine) {
    std::string name = machine.firstLine(kProductCommand).value_or("");
    if (name.empty()) {
        util::trace("ERROR reading product string");
        name = kDefaultProduct;
    }
    return Product(std::move(name));
}

}  // namespace systemstate
